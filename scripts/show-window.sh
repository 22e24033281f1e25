#!/usr/bin/env bash
# Shows the window of the workstation sample on the caller's display until the user closes it. If
# there is no display, shows the window on the hidden display of the build folder's Wine session and
# saves a picture of the window.
#
#   show-window.sh BUILD-FOLDER [CULTURE]
#
# The picture is BUILD-FOLDER/workstation-CULTURE.png, or workstation.png without a culture.
set -euo pipefail
build=$(readlink -f "$1") culture=${2:-}
session=$(dirname "$0")/wine-session.sh
picture=$build/workstation${culture:+-$culture}.png
program=("$build/bin/workstation.exe")
[ -z "$culture" ] || program+=(--culture "$culture")

# Wine on Debian does not search the folder of the fonts-wine package, so this function links the
# fonts to the Wine prefix. Wine also has no Japanese font, so the function registers VL PGothic for
# drawn text and for edit controls.
use_fonts() {
    ln -sf /usr/share/wine/fonts/{marlett,tahoma,tahomabd}.ttf "$build/wine/drive_c/windows/Fonts/"
    local font links='HKLM\Software\Microsoft\Windows NT\CurrentVersion\FontLink\SystemLink'
    for font in Tahoma "Tahoma Bold"; do
        reg add "$links" /v "$font" /t REG_MULTI_SZ /d 'VL-PGothic-Regular.ttf,VL PGothic' /f
    done
    reg add 'HKCU\Software\Wine\Fonts\Replacements' /v SimSun /d 'VL PGothic' /f
}
reg() { "$session" run "$build" reg "$@" >/dev/null 2>&1 </dev/null; }

# frame Y|N: sets whether the window manager of the display (Y) or Wine (N) draws the window frame.
frame() { reg add 'HKCU\Software\Wine\AppDefaults\workstation.exe\X11 Driver' /v Managed /d "$1" /f; }

if [ -n "${DISPLAY:-}" ]; then
    export WINE_SESSION_DISPLAY=$DISPLAY
    "$session" start "$build"
    use_fonts
    frame Y
    "$session" run "$build" "${program[@]}"
    exit
fi

"$session" start "$build"
use_fonts
frame N
# Copy a portfolio, so that the window's clipboard pane shows it.
"$session" run "$build" "$build/bin/exchange.exe" copy portfolio \
    "$(dirname "$0")/../samples/exchange/portfolio.csv" </dev/null
"$session" run "$build" "${program[@]}" </dev/null >/dev/null 2>&1 &
running=$!
DISPLAY=:$(<"$build/wine-session/display")
export DISPLAY
window=$(timeout 30 xdotool search --sync --onlyvisible --class workstation.exe | head -n 1) || true
[ -n "$window" ] || { echo "workstation shows no window" >&2; exit 1; }
xdotool windowfocus "$window" mousemove 0 0

# The parts of the window appear one after another. The picture is complete when it no longer
# changes.
previous=$picture.previous
for _ in $(seq 30); do
    maim --hidecursor --window="$window" "$picture"
    if cmp -s "$picture" "$previous"; then break; fi
    mv "$picture" "$previous"
    sleep 0.5
done
rm -f "$previous"
xdotool key alt+F4
timeout 20 tail --pid=$running -f /dev/null || { echo "workstation has not ended" >&2; exit 1; }
wait $running
echo "the picture: $picture"
