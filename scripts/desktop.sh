# A user at a virtual display, with windows, mouse and keys. Whoever sources this, after common.sh, sets
# "work", a temporary folder, and calls stop_display at the end. Places in a window are counted from its
# upper left corner, negative ones from its lower right one.

display_jobs=()

# await SECONDS WHAT COMMAND...: until the command succeeds.
await() {
    local seconds=$1 what=$2 end=$((SECONDS + $1))
    shift 2
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$end" ] || fail "$what did not come within $seconds s"
        sleep 0.2
    done
}

start_display() {
    Xvfb -displayfd 3 -ac -screen 0 1280x900x24 3>"$work/display" >"$work/xvfb.log" 2>&1 &
    display_jobs+=($!)
    await 30 "the display" test -s "$work/display"
    DISPLAY=:$(tr -d '\n' <"$work/display")
    export DISPLAY
    openbox --sm-disable >"$work/openbox.log" 2>&1 &
    display_jobs+=($!)
    await 30 "a window manager" manager_is_up
}
manager_is_up() { xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 0x; }

stop_display() {
    local job
    for job in ${display_jobs[@]+"${display_jobs[@]}"}; do
        kill "$job" 2>/dev/null || true
    done
}

window_titled() { xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | tail -n1 | grep .; }
no_window_titled() { ! window_titled "$1"; }

# front TITLE: waits for the window, raises it, and waits until it has drawn itself; then it is "window".
front() {
    await 60 "the window \"$1\"" window_titled "$1"
    await 30 "the window \"$1\" in front" come_to_front "$1"
    await 60 "a picture of \"$1\" that stands still" stands_still
}
come_to_front() {
    window=$(window_titled "$1") || return
    timeout 5 xdotool windowactivate --sync "$window"
    [ "$(xdotool getactivewindow)" = "$window" ]
}
# A caret that blinks counts as a picture that changes, but not for long.
stands_still() {
    local before
    before=$(xwd -silent -id "$window" | md5sum)
    sleep 0.2
    [ "$before" = "$(xwd -silent -id "$window" | md5sum)" ]
}

# click X Y: in that window.
click() {
    local x=$1 y=$2 WIDTH=0 HEIGHT=0 line
    while IFS= read -r line; do
        case $line in WIDTH=* | HEIGHT=*) declare "$line" ;; esac
    done < <(xdotool getwindowgeometry --shell "$window")
    [ "$x" -ge 0 ] || x=$((WIDTH + x))
    [ "$y" -ge 0 ] || y=$((HEIGHT + y))
    xdotool mousemove --window "$window" "$x" "$y" sleep 0.3 mousedown 1 sleep 0.1 mouseup 1 sleep 0.3
}

# type_file FILE, press KEY: into the window that has the keyboard. A text comes from a file, so that no
# argument shows it.
type_file() { xdotool sleep 0.3 type --delay 25 --file "$1"; }
press() { xdotool sleep 0.3 key --delay 60 "$1" sleep 0.3; }

# choose_path TITLE PATH: types it into the panel of this title.
choose_path() {
    front "$1"
    press ctrl+a
    printf '%s' "$2" >"$work/typed"
    type_file "$work/typed"
    press Return
    await 30 "the end of the panel \"$1\"" no_window_titled "$1"
}
