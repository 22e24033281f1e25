#!/usr/bin/env bash
# Tests the "sheet" sample as users would run it: between processes, and together with other
# programs.
#
#   sheet.sh CASE WINE-SESSION BUILD-FOLDER BIN-FOLDER SOURCE-FOLDER
#
# CASE is the name of a function below. Exit status: 0 if the case passes, 77 if it is skipped, any
# other value if it fails.
# shellcheck source=tests/samples/case.sh
. "$(dirname "${BASH_SOURCE[0]}")/case.sh"

sheet() { wine_run sheet "$@"; }

# same_cells EXPECTED ACTUAL: checks that two CSV files contain the same cells. Quotation marks
# around cells are ignored, and so are empty cells.
same_cells() {
    python3 - "$@" <<'END'
import csv, sys

def cells(path):
    with open(path, encoding='utf-8', newline='') as file:
        rows = list(csv.reader(file))
    return {(r, c): text for r, row in enumerate(rows, 1) for c, text in enumerate(row, 1) if text}

expected, actual = (cells(path) for path in sys.argv[1:])
for place in sorted(expected.keys() | actual.keys()):
    if expected.get(place) != actual.get(place):
        print(f'{place}: {expected.get(place)!r} expected, {actual.get(place)!r} found')
if not expected or expected != actual:
    sys.exit(1)
END
}

# Writes cells.csv. The file contains various kinds of text, empty rows at the beginning, and empty
# cells between the other cells.
write_cells_csv() {
    cat >cells.csv <<'END'


,,"begins ""here""",,Größe
"a, b",<&>,,,早瀬
one,two,three,four,five

,,,"deep",
007,1e5,TRUE,2024-01-02,-
END
}

# -- files

written_and_read() {
    cat >book.csv <<'END'
Feed,,EUROFEED

,LAST,"=QkGet(R[-2]C,""A.X"",RC[-1])"
END
    sheet write book.csv book.xml
    same 'Cell  Text      Formula
R1C1  Feed
R1C3  EUROFEED
R3C2  LAST
R3C3            =QkGet(R[-2]C,"A.X",RC[-1])

1 request, the last by QkGet
Result in  Instrument  Feed      Field
R3C3       A.X         EUROFEED  LAST' "$(sheet read book.xml)"
}

# The output code page of the console is not UTF-8.
console_shows_all_characters() {
    write_cells_csv
    sheet write cells.csv book.xml
    on_console sheet read book.xml >shown
    shows 'R3C5Größe' shown
    shows 'R4C5早瀬' shown
}

gaps_are_kept() {
    write_cells_csv
    sheet write cells.csv book.xml
    same 'Cell  Text           Formula
R3C3  begins "here"
R3C5  Größe
R4C1  a, b
R4C2  <&>
R4C5  早瀬
R5C1  one
R5C2  two
R5C3  three
R5C4  four
R5C5  five
R7C4  deep
R8C1  007
R8C2  1e5
R8C3  TRUE
R8C4  2024-01-02
R8C5  -' "$(sheet read book.xml)"
}

size_is_declared() {
    printf 'a,b,c,,\n\nd\n' >book.csv
    sheet write book.csv book.xml
    shows '<Table ss:ExpandedColumnCount="3" ss:ExpandedRowCount="3">' book.xml
}

of_the_sample() {
    sheet read "$source/samples/sheet/requests.xml" >cells_shown
    shows '4 requests, the last by QData' cells_shown
    shows 'R5C4       BORNH.F     EUROFEED  BID' cells_shown
    shows '2 requests, the last by QkGet' cells_shown
    sheet write "$source/samples/sheet/watchlist.csv" book.xml
    sheet read book.xml >cells_shown
    shows '12 requests, the last by QData' cells_shown
    shows 'R7C5       HAYASE.T    NIPPONFEED  Ask' cells_shown
}

# FormatXML4Spdsheet stores a row or column number that is greater than INT_MAX as INT_MAX. The
# numbers are zero-based, but the numbers in a cell name such as R1C1 are one-based.
cells_at_the_greatest_place() {
    cat >far.xml <<'END'
<Workbook xmlns="urn:schemas-microsoft-com:office:spreadsheet" xmlns:ss="urn:schemas-microsoft-com:office:spreadsheet">
<Worksheet ss:Name="far"><Table>
<Row ss:Index="2147483647"><Cell ss:MergeAcross="2147483647"><Data ss:Type="String">a</Data></Cell><Cell><Data ss:Type="String">b</Data></Cell></Row>
<Row><Cell><Data ss:Type="String">c</Data></Cell></Row>
</Table></Worksheet></Workbook>
END
    same 'Cell Text Formula
R2147483647C1 a
R2147483647C2147483648 b
R2147483648C1 c' "$(sheet read far.xml | tr -s ' ' | sed 's/ $//')"
}

# -- the clipboard

round_trip() {
    write_cells_csv
    sheet write cells.csv book.xml
    sheet copy cells.csv
    same "$(sheet read book.xml)" "$(sheet paste)"
    wine_run exchange list | tr -s ' ' >listed
    shows 'XML Spreadsheet HGLOBAL' listed
}

to_xclip() {
    need_xclip
    printf 'a,,Größe\n' >cells.csv
    sheet copy cells.csv
    from_xclip "XML Spreadsheet" received
    tr -d '\0' <received >book.xml
    same 'Cell  Text   Formula
R1C1  a
R1C3  Größe' "$(sheet read book.xml)"
}

# -- failures

nothing_of_the_kind() {
    wine_run exchange copy text plain
    fails 4 "the clipboard holds no workbook" sheet paste
}

bad_files() {
    fails 1 "a file needs a name" sheet read ""
    fails 2 "missing.csv: there is no such file" sheet write missing.csv book.xml
    fails 2 "missing.xml: there is no such file" sheet read missing.xml
    printf 'a,"b\n' >bad.csv
    fails 2 "bad.csv, line 1: the closing quote is missing" sheet write bad.csv book.xml
    printf 'a\n\nb\x01\n' >bad.csv
    fails 2 "bad.csv, line 3: contains a control character" sheet write bad.csv book.xml
    fails 2 "bad.csv, line 3: contains a control character" sheet copy bad.csv
    [ ! -e book.xml ] || { echo "a workbook was written"; exit 1; }
    echo a >good.csv
    fails 2 "folder/book.xml: cannot be written" sheet write good.csv folder/book.xml
    echo '<Workbook><Worksheet/></Workbook>' >empty.xml
    fails 2 'empty.xml: is not a workbook (Workbook/Worksheet/Table); save it as "XML Spreadsheet 2003"' sheet read empty.xml
    echo '<Workbook>' >broken.xml
    fails 2 "broken.xml" sheet read broken.xml
}

other_functions() {
    printf '4,=SUM(RC[-1])\n' >book.csv
    sheet write book.csv book.xml
    same 'Cell  Text  Formula
R1C1  4
R1C2        =SUM(RC[-1])' "$(sheet read book.xml)"
    fails 5 "a formula is not a readable call of QkGet or QData" sheet read --strict book.xml
    shows 'R1C2        =SUM(RC[-1])' output
}

both_readings() {
    local workbooks=$source/tests/samples/workbooks
    same '1 request, the last by QkGet
Result in  Instrument  Feed  Field
R4C2       A.X         FD    LAST

2 requests, the last by QData
Result in  Instrument  Feed  Field
R9C7       A.X         FD    LAST
R10C7      B.Y         FD    LAST' "$(sheet read "$workbooks/excel.xml" | sed '1,/^$/d')"
    sheet read "$workbooks/prefixed.xml" >cells_shown
    shows 'R1C3   next' cells_shown
    fails 2 "is not a workbook" sheet read --strict "$workbooks/prefixed.xml"
    sheet read --strict "$workbooks/excel.xml" >cells_shown || true
    shows 'R1C2  after three columns' cells_shown
}

pasted_in_both_readings() {
    printf 'a,=SUM(RC[-1])\n' >cells.csv
    sheet copy cells.csv
    same "$(sheet write cells.csv book.xml && sheet read book.xml)" "$(sheet paste)"
    fails 5 "a formula is not a readable call of QkGet or QData" sheet paste --strict
}

# -- other programs

# libreoffice ARGUMENT...: runs LibreOffice with a home folder in the build folder. The user's home
# folder is not used, because LibreOffice moves all files in the home folder to another folder if it
# cannot read its profile folder.
libreoffice() {
    mkdir -p "$build/libreoffice"
    env -u XDG_CONFIG_HOME "HOME=$build/libreoffice" soffice --headless "$@" >soffice.log 2>&1 ||
        { cat soffice.log; exit 1; }
}

# of_libreoffice WORKBOOK: uses LibreOffice to convert the workbook to a CSV file with the same base
# name.
of_libreoffice() {
    libreoffice --infilter="MS Excel 2003 XML Orcus" \
        --convert-to "csv:Text - txt - csv (StarCalc):44,34,76,1" "$1" --outdir .
    [ -e "${1%.xml}.csv" ] || { cat soffice.log; echo "LibreOffice wrote no CSV file"; exit 1; }
}

cells_to_libreoffice() {
    need soffice LibreOffice
    write_cells_csv
    sheet write cells.csv book.xml
    of_libreoffice book.xml
    same_cells cells.csv book.csv
}

formulas_to_libreoffice() {
    need soffice LibreOffice
    printf 'abcd,,"=LEN(RC[-2])"\n,,"=R[-1]C[-2]&""x"""\n' >formulas.csv
    sheet write formulas.csv book.xml
    of_libreoffice book.xml
    printf 'abcd,,4\n,,abcdx\n' >expected.csv
    same_cells expected.csv book.csv
}

cells_to_gnumeric() {
    need ssconvert Gnumeric
    write_cells_csv
    sed -i '1s/^/top/' cells.csv # Gnumeric's CSV files begin with the first row that has cells
    sheet write cells.csv book.xml
    ssconvert -I Gnumeric_Excel:excel_xml book.xml out.csv
    same_cells cells.csv out.csv
}

formulas_to_gnumeric() {
    need ssconvert Gnumeric
    printf 'abcd,,"=LEN(RC[-2])"\n,,"=R[-1]C[-2]&""x"""\n' >formulas.csv
    sheet write formulas.csv book.xml
    ssconvert --recalc -I Gnumeric_Excel:excel_xml book.xml out.csv
    printf 'abcd,,4\n,,abcdx\n' >expected.csv
    same_cells expected.csv out.csv
}

need_sheetjs() {
    need node Node
    export NODE_PATH=$source/build/peers/node_modules
    [ -d "$NODE_PATH/xlsx" ] && return
    echo "skipped: SheetJS is not installed (scripts/install-sheetjs.sh)"
    exit $skipped
}

# cells_as_sheetjs WORKBOOK: checks that the library reads the same cells as SheetJS.
cells_as_sheetjs() {
    wine_run workbook_cells "$1" >cells.txt
    node "$source/tests/samples/sheetjs/compare-cells.js" "$1" cells.txt
}

from_sheetjs() {
    need_sheetjs
    node "$source/tests/samples/sheetjs/write-workbook.js" >book.xml
    cells_as_sheetjs book.xml
    sheet read book.xml >cells_shown
    shows 'R1C1   Größe & <Wert>' cells_shown
    same '4 requests, the last by QData
Result in  Instrument  Feed  Field
R11C3      B.Y         FD    LAST
R11C4      B.Y         FD    BID
R12C3      C.Z         FD    LAST
R12C4      C.Z         FD    BID

1 request, the last by QkGet
Result in  Instrument  Feed  Field
R14C3      A.X         FD    LAST

1 request, the last by QkGet
Result in  Instrument  Feed  Field
R15C3      D.W         FD    LAST' "$(sed '1,/^$/d' cells_shown)"
}

cells_of_excel() {
    need_sheetjs
    cells_as_sheetjs "$source/tests/samples/workbooks/excel.xml"
}

cells_with_prefixes() {
    need_sheetjs
    cells_as_sheetjs "$source/tests/samples/workbooks/prefixed.xml"
}

cells_of_libreoffice() {
    need soffice LibreOffice
    need_sheetjs
    libreoffice --convert-to "xml:MS Excel 2003 XML" \
        "$source/tests/samples/workbooks/libreoffice.fods" --outdir .
    shows 'ss:MergeAcross="2"' libreoffice.xml
    shows '<ss:Data' libreoffice.xml
    cells_as_sheetjs libreoffice.xml
    # Only the cells are checked, because the formulas are not in R1C1 notation.
    sheet read libreoffice.xml >cells_shown
    shows 'R1C4  after three columns' cells_shown
}

"$case"
