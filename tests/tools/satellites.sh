#!/usr/bin/env bash
# Runs i18nres-satellites from the command line, together with other programs that translators use.
#
#   satellites.sh CASE WINE-SESSION BUILD-FOLDER BIN-FOLDER SOURCE-FOLDER
#
# CASE is the name of a function below. The exit status is 0 if the case passes, 77 if it is
# skipped, and any other value if it fails.
. "$(dirname "${BASH_SOURCE[0]}")/../samples/case.sh"

tool() { wine_run i18nres-satellites "$@" | tr -d '\r'; }
tool_fails() { fails "$1" "$2" wine_run i18nres-satellites "${@:3}"; }
# Copies the module that the samples use, and its satellites, to the folder of the case.
charts() { cp "$bin"/charts*.dll .; }

# Debian's packages install Python modules only for /usr/bin/python3.
python() { /usr/bin/python3 "$@"; }
need_module() {
    python -c "import $1" 2>/dev/null && return
    echo "skipped: python3-$1 is not installed (scripts/install-packages.sh peers)"
    exit $skipped
}

# -- the command line

help_is_shown() {
    tool --help >help; shows 'usage: i18nres-satellites COMMAND' help
    local command
    for command in check export apply pseudo resolve; do
        shows "i18nres-satellites $command" help
        tool help $command >one; shows "usage: i18nres-satellites $command" one
        same "$(<one)" "$(tool $command --help)"
    done
    tool --version >version; grep -qE '^i18nres-satellites [0-9.]+$' version
}

wrong_usage() {
    charts
    tool_fails 2 'no command is given'
    tool_fails 2 'unknown command chek' chek charts.dll
    tool_fails 2 'unknown option --cultur; see "i18nres-satellites help check"' check charts.dll --cultur fr
    tool_fails 2 'unknown option --id' check charts.dll --id 7
    tool_fails 2 '--culture needs a value' check charts.dll --culture
    tool_fails 2 'needs --culture TAG' pseudo charts.dll
    tool_fails 2 'takes MODULE' check
    tool_fails 2 'takes MODULE FILE.po; 1 given' apply charts.dll --culture fr
    tool_fails 2 '--format takes text or json, not xml' check charts.dll --format xml
    tool_fails 2 '--growth takes a number' check charts.dll --growth many
    tool_fails 2 'a culture consists of letters, digits' pseudo charts.dll --culture ../fr
    tool_fails 2 'xx-YY is not a culture' resolve charts.dll --culture xx-YY
}

bad_files() {
    charts
    tool_fails 3 'nosuch.dll' check nosuch.dll
    echo text >text.dll
    tool_fails 3 'not a DLL or program' check text.dll
    tool_fails 3 'the file does not exist' check charts.dll --culture sv
    tool_fails 3 'the folder does not exist' check charts.dll --path nosuch
    tool_fails 3 'nosuch.po' apply charts.dll nosuch.po --culture sv
    printf 'msgctxt "STRING.7"\nmsgid "Open\n' >bad.po
    tool_fails 3 'bad.po:2:12: the quote at the end of the text is missing' \
        apply charts.dll bad.po --culture sv
    [ ! -e charts_sv.dll ]
}

# -- check

mistakes_are_found() {
    charts
    rm charts_*.dll
    tool export charts.dll -o charts.pot
    # The satellite with mistakes is compiled from a resource script, because the apply command
    # would refuse its strings.
    cat >broken.rc <<'RC'
STRINGTABLE
BEGIN
    1    "Charts"
    7    "Öppna"
    40   "%1 av %3"
    41   "%2!d! värden från %3"
    42   "%s delar"
END
RC
    x86_64-w64-mingw32-windres -c 65001 broken.rc broken.o
    x86_64-w64-mingw32-gcc-posix -shared -nostdlib -Wl,--entry=0 -o charts_sv.dll broken.o
    tool check charts.dll >report || true
    shows 'charts_sv.dll (sv): 5 of 10 strings (50 %), 1 identical, 5 missing, 0 extra; 2 errors' report
    shows 'error: STRING 40: %3 is not an insert' report
    shows 'error: STRING 42: the conversions are %s' report
    shows 'warning: STRING 41: %1 of the module' report
    shows 'advice: STRING 1: the text "Charts" is the same as the module' report
    tool_fails 1 '2 errors' check charts.dll
    tool check charts.dll --format json >report.json || true
    python - <<'END'
import json
report = json.load(open('report.json', encoding='utf-8'))
assert list(report) == ['module', 'satellites', 'errors', 'warnings', 'advice'], report
satellite, = report['satellites']
assert satellite['strings'] == {'total': 10, 'translated': 4, 'identical': 1, 'missing': 5, 'extra': 0}
found = [(each['resource'], each['id'], each['code']) for each in satellite['findings']]
assert found == sorted(found), found
assert ('STRING', 40, 'insert-mismatch') in found
assert report['errors'] == 2
END
}

code_and_damage_are_found() {
    charts
    rm charts_*.dll
    cp "$bin/localize.exe" charts_fr.dll
    head -c 700 charts.dll >charts_de.dll
    echo text >charts_sv.dll
    tool_fails 1 'has code, an entry point or imports' check charts.dll --culture fr
    tool_fails 1 'cut off or damaged' check charts.dll --culture de
    tool_fails 1 'not a DLL or program' check charts.dll --culture sv
    tool check charts.dll --culture sv --format json >report.json || true
    shows '"code": "unreadable", "resource": "FILE", "id": 0' report.json
}

warnings_count_when_strict() {
    charts
    tool check charts.dll --culture fr >report
    shows '0 errors' report
    tool_fails 1 'missing-string' check charts.dll --culture fr --strict
}

satellites_are_sorted() {
    charts
    tool check charts.dll --culture fr --culture de-DE --culture fr --format json >report.json
    same $'charts_de-DE.dll\ncharts_fr.dll' "$(grep -o 'charts_.*\.dll' report.json)"
}

no_satellites() {
    charts
    rm charts_*.dll
    same 'charts.dll has no satellites' "$(tool check charts.dll)"
}

paths_of_all_kinds() {
    mkdir 'mes projets été'
    cp "$bin"/charts*.dll 'mes projets été'
    tool check "$PWD/mes projets été/charts.dll" --culture fr >report  # a Unix path
    shows 'charts_fr.dll (fr): 9 of 10' report
    cd 'mes projets été'
    tool check charts.dll --culture fr --path . >../report
    shows 'charts_fr.dll (fr): 9 of 10' ../report
}

# Messages quote text from files. A terminal would interpret control characters in this text.
control_characters_are_shown() {
    charts
    printf 'msgctxt "STRING.\\033[2J"\nmsgid "a"\nmsgstr "b"\n' >sv.po
    tool_fails 3 'the module has no text STRING.\x1b[2J' apply charts.dll sv.po --culture sv
    if grep -q $'\033' output; then cat -v output; exit 1; fi
}

# Runs the tool without wine-session.sh, because that script redirects the output to a pipe.
full_disks_are_reported() {
    "$session" start "$build"
    charts
    local command status
    for command in 'export charts.dll' 'check charts.dll --format json' --version; do
        status=0
        # shellcheck disable=SC2086
        WINEPREFIX=$build/wine WINEDEBUG=-all wine "$bin/i18nres-satellites.exe" $command \
            >/dev/full 2>output </dev/null || status=$?
        same 3 $status
        shows 'standard output cannot be written' output
    done
}

# The output code page of the console is not UTF-8.
consoles_show_all_characters() {
    charts
    on_console i18nres-satellites resolve charts.dll --culture fr --id 8 >shown
    shows 'answers"Enregistrersous…"' shown
    on_console i18nres-satellites apply charts.dll 'été.po' --culture fr >shown || true  # the file does not exist
    shows 'été.po:' shown
}

progress_gives_way_to_reports() {
    charts
    on_console i18nres-satellites check charts.dll >shown
    shows 'checking1of' shown
    if grep -q 'dllcharts_' shown; then cat -v shown; exit 1; fi
}

# -- PO files

exported_files_are_accepted() {
    need msgfmt gettext
    need_module polib
    charts
    tool export charts.dll -o charts.pot
    tool export charts.dll --culture fr -o fr.po
    msgfmt -c -o /dev/null charts.pot
    msgfmt -c --check-accelerators='&' -o /dev/null fr.po
    shows 'msgstr "Enregistrer sous…"' fr.po
    python - <<'END'
import polib
po = polib.pofile('fr.po')
texts = {each.msgctxt: (each.msgid, each.msgstr, each.flags) for each in po}
assert texts['STRING.40'] == ('%1 of %2', '%1 sur %2', []), texts['STRING.40']
assert texts['STRING.42'][2] == ['c-format'], texts['STRING.42']
assert po.metadata['Language'] == 'fr'
END
}

merged_files_are_applied() {
    need msgmerge gettext
    charts
    tool export charts.dll -o charts.pot
    tool export charts.dll --culture fr -o fr.po
    sed -i 's/msgid "Zoom in"/msgid "Zoom inn"/' fr.po  # simulates an earlier version of the module
    msgmerge --quiet --update fr.po charts.pot
    grep -q '^#, fuzzy' fr.po
    tool apply charts.dll fr.po --culture fr -o charts_fr-BE.dll
    tool check charts.dll --culture fr-BE >report
    shows 'charts_fr-BE.dll (fr-BE): 8 of 10 strings' report
    shows 'STRING 15: the satellite does not have "Zoom in"' report
}

files_of_other_writers_are_applied() {
    need_module polib
    charts
    rm charts_*.dll
    tool export charts.dll -o charts.pot
    python - <<'END'
import polib
po = polib.pofile('charts.pot')
for entry in po:
    entry.msgstr = entry.msgid + ' ✓ é 早'
po.metadata['Language'] = 'sv'
po.save('sv.po')
END
    tool apply charts.dll sv.po --culture sv
    tool check charts.dll --culture sv --format json >report.json
    shows '"strings": {"total": 10, "translated": 10, "identical": 0, "missing": 0, "extra": 0}' report.json
    # The output of the localize sample is ignored, because the sample loads charts.dll from the
    # folder of localize.exe, not from the folder of the case.
    wine_run localize charts.dll --culture sv --id 7 >/dev/null
    tool resolve charts.dll --culture sv --id 7 >steps
    shows 'answers "Open ✓ é 早"' steps
}

# Weblate reads and writes PO files with the Translate Toolkit.
toolkit_keeps_exported_files() {
    need_module translate
    charts
    tool export charts.dll --culture fr -o fr.po
    python - <<'END'
from translate.storage import pypo
po = pypo.pofile.parsefile('fr.po')
assert po.parseheader()['Language'] == 'fr'
for unit in po.units:
    if unit.getcontext() == 'STRING.7':
        unit.target = 'Ouvrir tout'
po.savefile('edited.po')
END
    diff fr.po edited.po >changes || true
    [ "$(grep -c '^[<>]' changes)" -eq 2 ] || { cat changes; exit 1; }
    tool apply charts.dll edited.po --culture fr -o charts_fr.dll
    tool resolve charts.dll --culture fr --id 7 >steps
    shows 'answers "Ouvrir tout"' steps
}

wrong_translations_are_refused() {
    charts
    rm charts_*.dll
    echo old >charts_sv.dll
    cat >sv.po <<'END'
msgid ""
msgstr "Content-Type: text/plain; charset=UTF-8\n"

msgctxt "STRING.40"
msgid "%1 of %2"
msgstr "%1 av %3"

msgctxt "STRING.4711"
msgid "Nothing"
msgstr "Ingenting"
END
    tool_fails 3 'sv.po:4: STRING.40: %3 is not an insert' apply charts.dll sv.po --culture sv
    shows 'sv.po:8: the module has no text STRING.4711' output
    same old "$(<charts_sv.dll)"
    same '' "$(find . -iname '*.tmp')"
}

read_only_targets_are_kept() {
    charts
    rm charts_*.dll
    tool export charts.dll -o charts.pot
    echo old >charts_sv.dll
    chmod a-w charts_sv.dll
    tool_fails 3 'read-only' apply charts.dll charts.pot --culture sv
    same old "$(<charts_sv.dll)"
}

long_paths_are_reported() {
    charts
    tool export charts.dll -o charts.pot
    local folder
    folder=$(printf '%0120d/%0120d' 0 0)
    mkdir -p "$folder"
    tool_fails 3 'the path of its folder has more than 246 characters' \
        apply charts.dll charts.pot --culture sv -o "$folder/charts_sv.dll"
}

earlier_texts_are_left_out() {
    charts
    rm charts_*.dll
    tool export charts.dll -o sv.po
    sed -i '/^msgid "Open"$/{s/Open/Opened/;n;s/""/"Öppna"/}' sv.po
    fails 0 'STRING.7 is left out, because the module' wine_run i18nres-satellites apply charts.dll sv.po --culture sv
}

others_come_from_the_base() {
    charts
    tool export charts.dll --culture fr -o fr.po
    tool apply charts.dll fr.po --culture fr-BE --base charts_fr.dll
    tool check charts.dll --culture fr-BE >report
    if grep -q 'HTML 1' report; then cat report; exit 1; fi
}

# -- satellites

satellites_are_read_by_others() {
    need wrestool icoutils
    need 7z p7zip-full
    need_module pefile
    charts
    tool pseudo charts.dll --culture en-BZ --growth 40
    wrestool -l charts_en-BZ.dll >resources
    shows '--type=6 --name=1 --language=10249' resources
    7z l charts_en-BZ.dll >listing
    shows 'version.txt' listing
    python - <<'END'
import pefile
pe = pefile.PE('charts_en-BZ.dll')
assert pe.FILE_HEADER.Machine == 0x8664 and pe.is_dll()
assert pe.OPTIONAL_HEADER.AddressOfEntryPoint == 0
assert not hasattr(pe, 'DIRECTORY_ENTRY_IMPORT')
types = {entry.id for entry in pe.DIRECTORY_ENTRY_RESOURCE.entries}
assert types == {6, 16}, types
END
}

satellites_load() {
    charts
    rm charts_*.dll
    tool pseudo charts.dll --culture fr --growth 0
    # Windows searches for DLLs first in the folder that contains the program, so the program is
    # copied to the folder of the case.
    cp "$bin/localize.exe" "$bin/I18nResource.dll" .
    "$session" run "$build" ./localize.exe charts.dll --culture fr --id 7 </dev/null >shown
    shows '[Öpéñ]' shown
}

texts_of_wine_survive() {
    local module texts=0
    for module in shell32 comdlg32 user32 winmm mshtml; do
        local path=$build/wine/drive_c/windows/system32/$module.dll
        [ -e "$path" ] || continue
        cp "$path" "$module.dll"
        tool export $module.dll -o $module.pot
        python - $module <<'END'
import sys
module = sys.argv[1]
# Copies each msgid to its msgstr, except in the header.
lines, result, text, inside = open(module + '.pot', encoding='utf-8').read().split('\n'), [], [], False
header = True
for line in lines:
    if line.startswith('msgid '):
        text, inside = [line[6:]], True
    elif line.startswith('msgstr '):
        if header:
            header = False
        else:
            line = 'msgstr ' + '\n'.join(text)
        inside = False
    elif inside:
        text.append(line)
    result.append(line)
open(module + '.po', 'w', encoding='utf-8', newline='').write('\n'.join(result).replace('#, fuzzy\n', '', 1))
END
        tool apply $module.dll $module.po --culture sv
        tool export $module.dll --culture sv >again.po
        # Except for the header, the exported file must be equal to the applied file.
        same "$(sed 1,/X-Generator/d $module.po)" "$(sed 1,/X-Generator/d again.po)"
        texts=$((texts + $(grep -c ^msgctxt $module.po)))
    done
    [ $texts -gt 200 ] || { echo "only $texts texts"; exit 1; }
}

# -- resolve

steps_are_shown() {
    charts
    tool resolve charts.dll --culture fr-CA --id 41 --path-only --format json >steps.json
    python - <<'END'
import json
found = json.load(open('steps.json', encoding='utf-8'))
assert list(found) == ['module', 'culture', 'default', 'id', 'steps', 'answer'], found
results = [(step['role'], step['result']) for step in found['steps']]
assert results == [('culture', 'no-string'), ('default', 'answers'), ('module', 'not-asked')], results
assert found['answer']['text'] == '%1: %2!d! values from %3'
assert found['answer']['file'].endswith('charts_en-US.dll')
END
    tool_fails 1 'no library has the string' resolve charts.dll --culture fr --id 4711
    tool resolve charts.dll --culture sv >steps
    shows 'culture  not-there      charts_sv.dll' steps
    shows 'is searched first' steps
}

declare -F "$case" >/dev/null || { echo "no case $case"; exit 1; }
"$case"
