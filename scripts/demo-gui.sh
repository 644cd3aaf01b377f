#!/usr/bin/env bash
# Starts vxphone on the display that there is. Without one, or with --screenshots, it shows the window on a display of
# its own, goes through its main states and keeps pictures of them in docs/images.

source "$(dirname "$0")/lib.sh"

pictures=docs/images
work=build/demo/vxphone
vxphone=$project_dir/build/release/examples/vxphone/vxphone

case "${1:-}" in
"") ;;
--screenshots) ;;
*) die "unknown argument \"$1\"; the script takes --screenshots or nothing" ;;
esac

scripts/setup.sh demo
say "Configuring and building (release)"
quietly cmake --preset release
quietly cmake --build --preset release --target vxphone

if [ "${1:-}" = "" ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    say "Starting vxphone"
    exec "$vxphone"
fi

scripts/setup.sh gui-demo
say "Showing vxphone on a display of its own"
rm -rf "$work"
mkdir -p "$work/web" "$work/home" "$work/tmp" "$pictures"

pids=()
stop_all() {
    for ((i = ${#pids[@]} - 1; i >= 0; --i)); do
        kill "${pids[i]}" 2>/dev/null || true
        wait "${pids[i]}" 2>/dev/null || true
    done
}
trap stop_all EXIT

Xvfb -displayfd 3 -screen 0 1280x900x24 -nolisten tcp 3>"$work/display" 2>/dev/null &
pids+=($!)
until [ -s "$work/display" ]; do sleep 0.1; done
DISPLAY=:$(cat "$work/display")
export DISPLAY
# Nothing of the user's own is touched, and an instance that runs already is not met.
export HOME=$project_dir/$work/home TMPDIR=$project_dir/$work/tmp QT_QPA_PLATFORM=xcb
unset XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME DBUS_SESSION_BUS_ADDRESS WAYLAND_DISPLAY

openbox --sm-disable --startup "touch $project_dir/$work/ready" >/dev/null 2>&1 &
pids+=($!)
until [ -e "$work/ready" ]; do sleep 0.1; done

# Stands in for the system's bus, which tells of sleep.
dbus-daemon --session --nofork --print-address >"$work/bus" 2>/dev/null &
pids+=($!)
until [ -s "$work/bus" ]; do sleep 0.1; done
DBUS_SYSTEM_BUS_ADDRESS=$(cat "$work/bus")
export DBUS_SYSTEM_BUS_ADDRESS

# A server that takes its time, for a download that can be watched.
python3 scripts/slow-server.py 48 6 >"$work/port" &
pids+=($!)
until [ -s "$work/port" ]; do sleep 0.1; done
download="http://127.0.0.1:$(cat "$work/port")/skins.zip"

"$vxphone" --data "$work/data" >"$work/output" 2>&1 &
phone=$!
pids+=($phone)
window=$(timeout 30 xdotool search --sync --onlyvisible --pid "$phone" | head -n 1)

# The window reacts at once; what it shows is settled after a moment.
type_text() { xdotool type --delay 10 "$1"; }
key() { xdotool key --delay 30 "$@"; }
picture() {
    sleep 1
    import -window "$window" "$pictures/$1.png"
    say "Written: $pictures/$1.png"
}

picture vxphone-empty
for contact in "Ann Lind/ann@office.quollsip.test" "Front desk/+74951234567" "Bob/bob.gray@example.com"; do
    key ctrl+a
    type_text "${contact#*/}"
    key alt+k
    sleep 0.5
    type_text "${contact%%/*}"
    key Return
    sleep 0.5
done
key alt+h
type_text "Slides: https://example.com/slides.pdf (or call tel:+74957654321)"
key Return
# A second process hands its address over.
"$vxphone" --callto "sip:ann@office.quollsip.test"
picture vxphone-call-address

key alt+f
type_text "$download"
key Return
sleep 2
picture vxphone-download

key alt+v d
"$vxphone" --callto "tel:+74951234567"
key alt+c
picture vxphone-dark
key alt+b
