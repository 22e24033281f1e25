#!/usr/bin/env bash
# Tests the "exchange" sample as users would run it: between processes, and together with other
# programs.
#
#   exchange.sh CASE WINE-SESSION BUILD-FOLDER BIN-FOLDER SOURCE-FOLDER
#
# CASE is the name of a function below. Exit status: 0 if the case passes, 77 if it is skipped, any
# other value if it fails.
# shellcheck source=tests/samples/case.sh
. "$(dirname "${BASH_SOURCE[0]}")/case.sh"

peer_pid=
finish() {
    if [ -n "$peer_pid" ]; then kill "$peer_pid" 2>/dev/null || true; fi
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

# After a \u control word, RTF text contains substitute characters for programs that do not support
# Unicode. A brace ends the substitute characters.
rtf_without_substitutes() {
    printf '%s' '{\rtf1\ansi {\u8364}bc\uc3 {\uc1\u8364{}de}f\u8364?{gh}}' >note.rtf
    exchange copy rtf note.rtf
    same '€bc€def€gh' "$(exchange paste text)"
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

# Checks that an XML parser finds the cells in the correct columns.
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

# -- list, show, save and watch

# offered HOW COMMAND...: runs exchange while clipboard_offerer owns the clipboard. HOW is the first
# argument of clipboard_offerer.
offered() { wine_run clipboard_offerer "$1" "$bin/exchange.exe" "${@:2}"; }

show_text() {
    exchange copy text $'Größe 5 €\n\tfür 早瀬'
    local format
    for format in CF_UNICODETEXT cf_unicodetext 13 CF_TEXT; do
        exchange show $format >shown
        shows 'Größe 5 €' shown
        same 2 "$(wc -l <shown)"
    done
    exchange show CF_UNICODETEXT >shown
    shows $'\tfür 早瀬' shown
}

show_without_controls() {
    exchange copy text $'a\x1b[31mred\x7f'
    same 'a.[31mred.' "$(exchange show 13)"
}

show_code() {
    exchange copy code --type B ORLO28.B
    same 'Code      Type
ORLO28.B  B' "$(exchange show DALVO_RECORD_FORMAT)"
}

show_portfolio() {
    printf '%s\n' ItemCode,KeyLetter,Datafeed,Name:3,Last A,S,F,Alvek,1 B,C,F,,2 >depot.csv
    exchange copy portfolio depot.csv
    local format
    for format in DALVO_XML_FORMAT DALVO_SYMFID_FORMAT; do
        same 'Portfolio depot
ItemCode  KeyLetter  Fields
A         S          Name:3 Last
B         C          Last' "$(exchange show $format)"
    done
}

show_workbook() {
    printf '%s\n' 'EURTLR=,"=QkGet(""FXFEED"",RC[-1],""Bid"")",=SUM(RC[-1])' ',5' >book.csv
    wine_run sheet copy book.csv
    same 'Cell Text Formula Instrument Feed Field
R1C1 EURTLR=
R1C2 =QkGet("FXFEED",RC[-1],"Bid") EURTLR= FXFEED Bid
R1C3 =SUM(RC[-1])
R2C2 5' "$(exchange show 'xml spreadsheet' | tr -s ' ')"
    exchange show --json 'XML Spreadsheet' >shown
    same "workbook ['R1C2', '', '=QkGet(\"FXFEED\",RC[-1],\"Bid\")', 'EURTLR=', 'FXFEED', 'Bid']" \
        "$(json shown 'value["kind"] + " " + str(value["rows"][1])')"
    printf '%s\n' 'A,"=QkGet(""FXFEED"",RC[-1]"' >book.csv
    wine_run sheet copy book.csv
    exchange show 'XML Spreadsheet' >shown
    same '(a formula cannot be read: requests are missing)' "$(head -n 1 shown)"
}

show_document() {
    printf '<news date="a>b"><!-- <b> --><text>R&amp;D</text><empty/><list><i>1</i><i/></list></news>' >news.xml
    exchange copy xml news.xml
    exchange show DALVO_XML_FORMAT | grep -v '^<?xml' >shown
    same '<news date="a>b">
  <!-- <b> -->
  <text>R&amp;D</text>
  <empty/>
  <list>
    <i>1</i>
    <i/>
  </list>
</news>' "$(sed 's/date="a&gt;b"/date="a>b"/' shown)"
}

show_bytes() {
    offered lies show dalvo_bytes >shown
    same '00000000  73 69 78 74 65 65 6e 20 6c 65 74 74 65 72 73 2c  sixteen letters,
00000010  20 7f 80 ff 00 35                                 ....5' "$(tail -n 2 shown)"
}

show_cuts_at_a_screen() {
    exchange copy text "$(seq 30)"
    exchange show 13 >shown 2>told
    same "$(seq 24)" "$(cat shown)"
    shows '6 more lines; --all shows everything' told
    same "$(seq 30)" "$(exchange show --all 13)"
    exchange copy text "$(printf 'x%.0s' $(seq 200))"
    same "$(printf 'x%.0s' $(seq 160))..." "$(exchange show 13)"
    same "$(printf 'x%.0s' $(seq 200))" "$(exchange show --all 13)"
    exchange copy text "$(printf 'x%.0s' $(seq 500))"
    exchange show CF_OEMTEXT >shown 2>told
    same 24 "$(wc -l <shown)"
    exchange save CF_OEMTEXT saved
    shows "$((($(wc -c <saved) + 15) / 16 - 24)) more lines" told
    exchange show --all CF_OEMTEXT >shown
    same "$((($(wc -c <saved) + 15) / 16))" "$(wc -l <shown)"
}

save_exact_bytes() {
    printf '{\\rtf1 \\b bold\\b0}' >note.rtf
    exchange copy rtf note.rtf
    exchange save 'rich text format' saved
    printf '{\\rtf1 \\b bold\\b0}\0' | cmp - saved
    exchange copy text 'a€'
    exchange save CF_UNICODETEXT saved
    printf 'a\0\xac\x20\0\0' | cmp - <(head -c 6 saved)
    same 24 "$(wc -c <saved)"
    fails 2 "missing/saved: cannot be written" exchange save CF_TEXT missing/saved
}

# json FILE EXPRESSION: evaluates a Python expression and prints the result. In the expression,
# `value` is the JSON value in the file.
json() { python3 -c 'import json, sys; value = json.load(open(sys.argv[1])); print(eval(sys.argv[2]))' "$@"; }

json_of_list() {
    exchange copy text $'a"b\\c\td \U1F600'
    exchange list --json >listed
    same "None ['formats', 'owner']" "$(json listed 'str(value["owner"]) + " " + str(sorted(value))')"
    same $'"a"b\\c\td \U1F600"' "$(json listed '[f["summary"] for f in value["formats"] if f["number"] == 13][0]')"
    same "['name', 'number', 'storage', 'summary']" "$(json listed 'sorted(value["formats"][0])')"
}

json_of_show() {
    printf '%s\n' ItemCode,KeyLetter,Datafeed,Name:3,Last A,S,F,Alvek,1 B,C,F,,2 >depot.csv
    exchange copy portfolio depot.csv
    exchange show --json dalvo_xml_format >shown
    same "['columns', 'format', 'kind', 'lines', 'linesLeftOut', 'owner', 'readable', 'rows', 'size']" "$(json shown 'sorted(value)')"
    same "DALVO_XML_FORMAT instruments ['Portfolio depot'] ['ItemCode', 'KeyLetter', 'Fields'] [['A', 'S', 'Name:3 Last'], ['B', 'C', 'Last']]" \
        "$(json shown '" ".join(str(v) for v in [value["format"]["name"], value["kind"], value["lines"], value["columns"], value["rows"]])')"
    exchange copy text "$(seq 30)"
    exchange show --json 13 >shown
    same "24 6" "$(json shown '"%d %d" % (len(value["lines"]), value["linesLeftOut"])')"
    exchange show --json --all 13 >shown
    same "30 0" "$(json shown '"%d %d" % (len(value["lines"]), value["linesLeftOut"])')"
}

# Starts the watch command and waits until it is ready. The output is written to the file "watched".
start_watch() {
    exchange watch >watched 2>told &
    watching=$!
    until grep -q 'watching the clipboard' told; do sleep 0.1; done
    peer_pid=$(pgrep -f "^$bin/exchange.exe watch")
}

# watched TEXT: waits until the watch command has printed a line that contains TEXT.
watched() {
    local until=$((SECONDS + 30))
    until grep -qF "$1" watched; do
        [ $SECONDS -lt $until ] || { cat watched told; echo "watch does not print $1"; exit 1; }
        sleep 0.1
    done
}

# Ends the watch command with Ctrl+C. Wine translates SIGINT to a Ctrl+C event.
end_watch() {
    kill -INT "$peer_pid"
    wait "$watching"
    peer_pid=
}

watch_prints_changes() {
    exchange copy text before
    start_watch
    exchange list >/dev/null
    exchange show 13 >/dev/null
    exchange save 13 saved
    offered nothing list >/dev/null
    watched clipboard_offerer.exe
    end_watch
    # The first line that the watch command prints must show clipboard_offerer.exe as the owner.
    # Otherwise, the list, show or save command has changed the clipboard.
    head -n 1 watched | grep -qE '^[0-9]{2}:[0-9]{2}:[0-9]{2}  clipboard_offerer.exe \(process [0-9]+\)  CF_UNICODETEXT'
}

names_the_owner() {
    offered lies list --json >listed
    local process
    process=$(sed -n 's/^clipboard_offerer is process \([0-9]*\)\r*$/\1/p' listed)
    sed -i 1d listed
    same "{'program': 'clipboard_offerer.exe', 'process': $process}" "$(json listed 'value["owner"]')"
    offered lies show 13 2>told >/dev/null
    grep -qE 'the clipboard belongs to clipboard_offerer.exe \(process [0-9]+\)' told
    exchange copy text after
    exchange paste text 2>told >/dev/null
    shows 'the clipboard belongs to no running program' told
}

# -- failures

formats_that_lie() {
    offered lies show CF_UNICODETEXT >shown
    same ab "$(tail -n 1 shown)"
    offered lies show DALVO_RECORD_FORMAT >shown
    same 'ORLO28.B  B' "$(tail -n 1 shown)"
    offered lies show DALVO_XML_FORMAT >shown 2>told
    shows "the contents do not match the name of the format: shown as bytes" told
    shows '<TarloData><Inst' shown
    offered lies save CF_DIB saved >/dev/null
    same 40 "$(wc -c <saved)"
    fails 5 "CF_BITMAP is a handle: it has no bytes to read" offered lies show CF_BITMAP
    offered lies list >listed
    shows '(cannot be read)' listed
}

data_that_is_never_delivered() {
    fails 6 "CF_UNICODETEXT is not delivered within 5 seconds by clipboard_offerer.exe" offered stuck show 13
    offered stuck list >listed
    shows '(CF_UNICODETEXT is not delivered within 5 seconds by clipboard_offerer.exe' listed
    shows 'CF_LOCALE' listed
    fails 6 "CF_UNICODETEXT is not delivered within 5 seconds" offered stuck save 13 saved
    [ ! -e saved ]
}

data_that_is_not_there() {
    fails 5 "CF_UNICODETEXT is not delivered by clipboard_offerer.exe" offered nothing show 13
    fails 4 "the clipboard does not offer the format CF_DIB; exchange list shows those" offered nothing show CF_DIB
}

paste_data_that_is_not_delivered() {
    fails 5 "the clipboard holds text that cannot be read" offered nothing paste text
    fails 5 "the clipboard holds an instrument code that cannot be read" offered nothing paste code
    fails 5 "the clipboard holds rich text that cannot be read" offered nothing paste rtf
    fails 5 "the clipboard holds comma-separated values that cannot be read" offered nothing paste csv
}

nothing_of_the_kind() {
    exchange copy text plain
    fails 4 "the clipboard holds no rich text" exchange paste rtf
    fails 4 "the clipboard holds no comma-separated values" exchange paste csv
    fails 4 "the clipboard holds no XML document" exchange paste xml
    fails 4 "the clipboard holds no portfolio" exchange paste portfolio
    printf '{\\rtf1}' >empty.rtf
    exchange copy rtf empty.rtf
    fails 4 "the clipboard holds no instrument code" exchange paste code
}

a_document_that_is_no_portfolio() {
    echo '<news/>' >news.xml
    exchange copy xml news.xml
    fails 5 "the clipboard holds a portfolio that cannot be read" exchange paste portfolio
    exchange list | tr -s ' ' >listed
    shows 'DALVO_XML_FORMAT HGLOBAL document news' listed
}

# csv_fails TEXT LINE...: checks that copying a portfolio file with these lines fails with a message
# that contains TEXT.
csv_fails() {
    printf '%b\n' "${@:2}" >bad.csv
    fails 2 "$1" exchange copy portfolio bad.csv
}

bad_portfolio_files() {
    local header=ItemCode,KeyLetter,Datafeed,Last
    exchange copy text before
    csv_fails "bad.csv, line 1: there is no header" ""
    csv_fails "bad.csv, line 1: the header lacks the column KeyLetter" ItemCode,Datafeed
    csv_fails "bad.csv, line 1: the header has the column Last twice" $header,Last:6
    csv_fails "bad.csv, line 1: column 5 has no name" $header,
    csv_fails "bad.csv, line 1: contains a control character" "$header,Bid\x02" A,S,F,1,2
    csv_fails "bad.csv, line 1: no instruments follow the header" $header
    csv_fails "bad.csv, line 3: has 3 cells, but the header has 4" $header A,S,F,1 B,S,F
    csv_fails "bad.csv, line 2: has no ItemCode" $header ,S,F,1
    csv_fails "bad.csv, line 3: the closing quote is missing" $header A,S,F,1 'B,S,F,"1' C,S,F,2
    csv_fails "bad.csv, line 4: a comma must follow the closing quote" $header 'A,S,F,"1' '"' 'B,S,F,"1"2'
    csv_fails "bad.csv, line 2: a quote inside a cell needs quotes around the cell" $header 'A,S,F,1"'
    csv_fails "bad.csv, line 2: is not UTF-8" $header 'A,S,F,\xe9'
    csv_fails "bad.csv, line 2: contains a control character" $header 'A,S,F,\x01'
    csv_fails "bad.csv, line 3: contains a NUL" $header A,S,F,1 'B\x00,S,F,1'
    csv_fails "bad.csv, line 2: contains a carriage return that does not end a line" $header 'A,S\rF,F,1'
    same before "$(exchange paste text)"
}

nothing_to_copy() { fails 1 "there is nothing to copy" exchange copy text ""; }

bad_files() {
    fails 2 "missing.rtf: there is no such file; the current folder is" exchange copy rtf missing.rtf
    echo plain >plain.txt
    fails 2 "plain.txt: is not RTF" exchange copy rtf plain.txt
    echo '<news>' >news.xml
    fails 2 "news.xml" exchange copy xml news.xml
    truncate -s 65M huge.csv
    fails 2 "huge.csv: is larger than 64 MB" exchange copy csv huge.csv
}

# held COMMAND...: runs exchange while clipboard_holder has the clipboard open. The caller sets the
# options of clipboard_holder in the `holding` array.
held() { wine_run clipboard_holder "${holding[@]}" "$bin/exchange.exe" "$@"; }

busy_clipboard() {
    local holding=() command
    exchange copy text before
    for command in "copy text x" "paste text" list "show 13" "save 13 saved"; do
        fails 3 "exchange: the clipboard is held open by process" held $command
        local holder
        holder=$(sed -n 's/^clipboard_holder is process \([0-9]*\)\r*$/\1/p' output)
        shows "process $holder, window \"Clipboard holder\", of clipboard_holder.exe" output
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
    peer_pid=$!
    # Wine does not detect a new owner of the X11 selection immediately.
    local pasted
    for _ in $(seq 100); do
        pasted=$(exchange paste text | tr -d '\r')
        [ "$pasted" = before ] || break
    done
    same $'von X11: 5 € 早瀬\nzweite Zeile' "$pasted"
}

# show_workbook_of FILE: offers the workbook with xclip, and writes the output of the show command
# to the file "shown".
show_workbook_of() {
    need_xclip
    exchange copy text before
    xclip -quiet -selection clipboard -t 'XML Spreadsheet' -i "$1" >/dev/null 2>&1 &
    peer_pid=$!
    for _ in $(seq 100); do
        if exchange show --all 'XML Spreadsheet' 2>/dev/null | tr -s ' ' >shown; then return; fi
    done
    exchange list
    exit 1
}

show_workbook_of_xclip() {
    show_workbook_of "$source/samples/sheet/requests.xml"
    # The show command prints one line for each cell that is filled by a request for a range.
    same 'R4C1 ALVEK.F
R4C3 84.12 =QData(RC[-2]:R[1]C[-2],R[-1]C:R[-1]C[1],"FX:EUROFEED") ALVEK.F EUROFEED LAST
R4C4 84.1 ALVEK.F EUROFEED BID
R5C1 BORNH.F
R5C3 17.905 BORNH.F EUROFEED LAST
R5C4 17.9 BORNH.F EUROFEED BID' "$(grep -E '^R[45]' shown)"
}

show_workbook_of_sheetjs() {
    need node Node
    export NODE_PATH=$source/build/peers/node_modules
    if [ ! -d "$NODE_PATH/xlsx" ]; then
        echo "skipped: SheetJS is not installed (scripts/install-sheetjs.sh)"
        exit $skipped
    fi
    node "$source/tests/samples/sheetjs/write-workbook.js" >book.xml
    show_workbook_of book.xml
    shows 'R1C1 Größe & <Wert>' shown
    grep -qE '^R14C3 .* A\.X FD LAST$' shown || { cat shown; exit 1; }
}

image_from_gtk() {
    need_xclip
    exchange copy text before
    "$source/tests/samples/gtk-clipboard.py" 2>/dev/null &
    peer_pid=$!
    local status=0
    for _ in $(seq 100); do
        exchange list >listed
        if grep -q CF_DIB listed; then break; fi
        if ! kill -0 "$peer_pid" 2>/dev/null; then
            wait "$peer_pid" || status=$?
            peer_pid=
            echo "skipped: python3-gi or GTK 3 is not installed (scripts/install-packages.sh peers)"
            exit $status
        fi
    done
    exchange save CF_DIB saved
    same '4 2 32' "$(od -An -td4 -j4 -N8 saved | xargs) $(od -An -td2 -j14 -N2 saved | xargs)"
    exchange show CF_DIB >shown
    shows '00000000  28 00 00 00 04 00 00 00 02 00 00 00' shown
    exchange show --all PNG >shown
    shows '89 50 4e 47 0d 0a 1a 0a' shown
}

show_text_of_xclip() {
    need_xclip
    exchange copy text before
    printf 'von X11: 5 € 早瀬' | xclip -quiet -selection clipboard -i >/dev/null 2>&1 &
    peer_pid=$!
    local shown
    for _ in $(seq 100); do
        shown=$(exchange show CF_UNICODETEXT)
        [ "$shown" = before ] || break
    done
    same 'von X11: 5 € 早瀬' "$shown"
}

# paste_into PROGRAM: pastes into the edit control of the program, and writes the text of the
# control to the file "edited".
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
