#!/usr/bin/env bash
# Runs the sample "exchange" as its users do, between processes, and with other programs.
#
#   exchange.sh CASE WINE-SESSION BUILD-FOLDER BIN-FOLDER SOURCE-FOLDER
#
# Each CASE is a function below. Exit status: 0 passed, 77 skipped, otherwise failed.
# shellcheck source=tests/samples/case.sh
. "$(dirname "${BASH_SOURCE[0]}")/case.sh"

xclip_pid=
finish() {
    if [ -n "$xclip_pid" ]; then kill "$xclip_pid" 2>/dev/null || true; fi
    rm -rf "$work"
}
exchange() { wine_run exchange "$@"; }

# -- between two processes

text_round_trip() {
    exchange copy text $'Größe 5 €\tfür 早瀬 \U1F600'
    same $'Größe 5 €\tfür 早瀬 \U1F600' "$(exchange paste text)"
}

code_round_trip() {
    exchange copy code --type B ORLO28.B
    same "ORLO28.B of type B" "$(exchange paste code)"
    same "ORLO28.B" "$(exchange paste text)"
}

code_from_plain_text() {
    exchange copy text eurtlr=
    same "EURTLR= (without a type)" "$(exchange paste code)"
}

rtf_round_trip() {
    printf '%s' '{\rtf1\ansi\ansicpg1252{\fonttbl{\f0 Arial;}}\b Gr\'"'"'f6\u223?e\b0\par\tab 5 \u8364?\par}' >note.rtf
    exchange copy rtf note.rtf
    same "$(cat note.rtf)" "$(exchange paste rtf)"
    same $'Größe\r\n\t5 €\r' "$(exchange paste text)"
}

csv_round_trip() {
    printf 'Name,Last\r\n"a, ""b""",é\r\n' >values.csv
    exchange copy csv values.csv
    exchange paste csv >pasted
    cmp values.csv pasted
}

xml_round_trip() {
    printf '<?xml version="1.0" encoding="UTF-8"?><news date="today">Gr\xc3\xb6\xc3\x9fe &amp; mehr</news>' >news.xml
    exchange copy xml news.xml
    exchange paste xml >pasted
    shows '<news date="today">Größe &amp; mehr</news>' pasted
}

xml_in_utf16() {
    printf '<news>Größe</news>' | iconv -t UTF-16 >news.xml
    exchange copy xml news.xml
    exchange paste xml >pasted
    shows '<news>Größe</news>' pasted
}

portfolio_round_trip() {
    cat >depot.csv <<'END'
ItemCode,KeyLetter,Datafeed,Name:3,Last:6,Comment

ALVEK.F,S,EUROFEED,"Alvek, ""AG""",84.12,
EURTLR=,C,FXFEED,,1.0931,"two
lines"
END
    exchange copy portfolio depot.csv
    same 'Portfolio depot
ItemCode  KeyLetter  Fields
ALVEK.F   S          Name:3 Last:6
EURTLR=   C          Last:6 Comment' "$(exchange paste portfolio)"
    exchange paste xml | tr -d '\t\r' >pasted
    shows '<Value>Alvek, "AG"</Value>' pasted
    shows '<Datafeed>FXFEED</Datafeed>' pasted
    sed -i 's/$/\r/' depot.csv
    exchange copy portfolio depot.csv
    exchange paste portfolio >pasted
    shows 'EURTLR=   C          Last:6 Comment' pasted
}

portfolio_of_the_sample() {
    exchange copy portfolio "$source/samples/exchange/portfolio.csv"
    exchange paste portfolio >pasted
    same 14 "$(wc -l <pasted)"
    shows 'NORD30.I   I          Name:3 Last:6 Comment' pasted
}

# Cells as another program reads them, in their columns.
portfolio_to_spreadsheets() {
    need_xclip
    printf '%s\n' ItemCode,KeyLetter,Datafeed,Name:3,Last:6,Comment 'A&B,S,F,"Alvek, ""AG""",,x' \
        B,,F,,5, >depot.csv
    exchange copy portfolio depot.csv
    from_xclip "XML Spreadsheet" received
    tr -d '\0' <received >book.xml
    python3 - >cells <<'END'
import xml.etree.ElementTree as xml
ss = "{urn:schemas-microsoft-com:office:spreadsheet}"
table = xml.parse("book.xml").getroot().find(f"{ss}Worksheet/{ss}Table")
print(table.get(ss + "ExpandedRowCount"), table.get(ss + "ExpandedColumnCount"))
for row in table.iter(ss + "Row"):
    cells = row.findall(ss + "Cell")
    assert not any(cell.get(ss + "Index") for cell in [row, *cells])
    print("|".join(cell.findtext(ss + "Data") for cell in cells))
END
    same '3 6
ItemCode|KeyLetter|Datafeed|Name:3|Last:6|Comment
A&B|S|F|Alvek, "AG"| |x
B| |F| |5' "$(cat cells)"
}

list_names_what_there_is() {
    exchange copy portfolio "$source/samples/exchange/portfolio.csv"
    exchange list | tr -s ' ' >listed
    shows 'DALVO_XML_FORMAT HGLOBAL 1 portfolio, 12 instruments' listed
    shows 'DALVO_SYMFID_FORMAT HGLOBAL 1 portfolio, 12 instruments' listed
    shows 'XML Spreadsheet HGLOBAL workbook, 13 rows' listed
    shows '13 CF_UNICODETEXT HGLOBAL "ItemCode,KeyLetter,' listed
    shows '1 CF_TEXT HGLOBAL' listed
    exchange copy code --type C EURTLR=
    exchange list | tr -s ' ' >listed
    shows 'DALVO_RECORD_FORMAT HGLOBAL code EURTLR= of type C' listed
}

# -- what goes wrong

nothing_of_the_kind() {
    exchange copy text plain
    fails 4 "the clipboard holds no rich text" exchange paste rtf
    fails 4 "the clipboard holds no comma-separated values" exchange paste csv
    fails 4 "the clipboard holds no XML document" exchange paste xml
    fails 4 "the clipboard holds no portfolio" exchange paste portfolio
}

a_document_that_is_no_portfolio() {
    echo '<news/>' >news.xml
    exchange copy xml news.xml
    fails 5 "the clipboard holds a portfolio that cannot be read" exchange paste portfolio
    exchange list | tr -s ' ' >listed
    shows 'DALVO_XML_FORMAT HGLOBAL document news' listed
}

# csv_fails TEXT LINE...: a portfolio file of these lines is refused with TEXT.
csv_fails() {
    printf '%b\n' "${@:2}" >bad.csv
    fails 2 "$1" exchange copy portfolio bad.csv
}

bad_portfolio_files() {
    local header=ItemCode,KeyLetter,Datafeed,Last
    exchange copy text before
    csv_fails "bad.csv, line 1: there is no header" ""
    csv_fails "bad.csv, line 1: the header lacks the column KeyLetter" ItemCode,Datafeed
    csv_fails "bad.csv, line 1: the column Last stands there twice" $header,Last:6
    csv_fails "bad.csv, line 1: column 5 has no name" $header,
    csv_fails "bad.csv, line 1: holds a control character" "$header,Bid\x02" A,S,F,1,2
    csv_fails "bad.csv, line 1: no instruments follow the header" $header
    csv_fails "bad.csv, line 3: has 3 cells where the header has 4" $header A,S,F,1 B,S,F
    csv_fails "bad.csv, line 2: has no ItemCode" $header ,S,F,1
    csv_fails "bad.csv, line 3: a quote is opened and not closed" $header A,S,F,1 'B,S,F,"1' C,S,F,2
    csv_fails "bad.csv, line 4: a comma must follow the closing quote" $header 'A,S,F,"1' '"' 'B,S,F,"1"2'
    csv_fails "bad.csv, line 2: a quote inside a cell needs quotes around the cell" $header 'A,S,F,1"'
    csv_fails "bad.csv, line 2: is not UTF-8" $header 'A,S,F,\xe9'
    csv_fails "bad.csv, line 2: holds a control character" $header 'A,S,F,\x01'
    csv_fails "bad.csv, line 3: holds a NUL" $header A,S,F,1 'B\x00,S,F,1'
    csv_fails "bad.csv, line 2: holds a carriage return that ends no line" $header 'A,S\rF,F,1'
    same before "$(exchange paste text)"
}

nothing_to_copy() { fails 1 "there is nothing to copy" exchange copy text ""; }

bad_files() {
    fails 2 "missing.rtf: there is no such file" exchange copy rtf missing.rtf
    echo plain >plain.txt
    fails 2 "plain.txt: is no RTF" exchange copy rtf plain.txt
    echo '<news>' >news.xml
    fails 2 "news.xml" exchange copy xml news.xml
    truncate -s 65M huge.csv
    fails 2 "huge.csv: is larger than 64 MB" exchange copy csv huge.csv
}

# held COMMAND...: exchange runs while another process has the clipboard open.
held() { wine_run clipboard_holder "${holding[@]}" "$bin/exchange.exe" "$@"; }

busy_clipboard() {
    local holding=() command
    exchange copy text before
    for command in "copy text x" "paste text" list; do
        fails 3 "exchange: the clipboard is held open by process" held $command
        local holder
        holder=$(sed -n 's/^clipboard_holder is process \([0-9]*\)\r*$/\1/p' output)
        shows "process $holder, window \"Clipboard holder\"" output
    done
    same before "$(exchange paste text)"
}

busy_clipboard_without_window() {
    local holding=(--without-window)
    fails 3 "the clipboard is held open by a program without a window" held paste text
}

clipboard_busy_for_a_moment() {
    local holding=(--milliseconds 400)
    held copy text afterwards
    same afterwards "$(exchange paste text)"
}

# -- other programs

text_to_xclip() {
    need_xclip
    exchange copy text $'Größe 5 €\tfür 早瀬'
    from_xclip UTF8_STRING received
    printf 'Größe 5 €\tfür 早瀬' >expected
    cmp expected received
}

text_from_xclip() {
    need_xclip
    exchange copy text before
    printf 'von X11: 5 € 早瀬\nzweite Zeile' | xclip -quiet -selection clipboard -i >/dev/null 2>&1 &
    xclip_pid=$!
    # The new owner of the selection comes to Wine's notice some time after it took it.
    local pasted
    for _ in $(seq 100); do
        pasted=$(exchange paste text | tr -d '\r')
        [ "$pasted" = before ] || break
    done
    same $'von X11: 5 € 早瀬\nzweite Zeile' "$pasted"
}

# paste_into PROGRAM: what stands there goes to the file "edited".
paste_into() {
    local status=0
    wine_run editor_peer "$1" >edited || status=$?
    [ $status -eq 0 ] || { cat edited; exit $status; }
}

text_to_notepad() {
    exchange copy text 'Größe 5 € für 早瀬'
    paste_into notepad.exe
    same $'plain\nGröße 5 € für 早瀬' "$(cat edited)"
}

code_to_notepad() {
    exchange copy code --type B ORLO28.B
    paste_into notepad.exe
    same $'plain\nORLO28.B' "$(cat edited)"
}

rtf_to_wordpad() {
    printf '%s' '{\rtf1\ansi\ansicpg1252\b Gr\'"'"'f6\u223?e 5 \u8364?}' >note.rtf
    exchange copy rtf note.rtf
    paste_into "$wordpad"
    same $'bold\nGröße 5 €' "$(tr -d '\r' <edited)"
}

text_to_wordpad() {
    exchange copy text 'Größe 5 € für 早瀬'
    paste_into "$wordpad"
    same $'plain\nGröße 5 € für 早瀬' "$(tr -d '\r' <edited)"
}
wordpad='C:\Program Files\Windows NT\Accessories\wordpad.exe'

"$case"
