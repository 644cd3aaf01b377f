#!/usr/bin/env bash
# Demonstrates URL scheme registration and the sleep and idle watchers on a temporary desktop with its own home
# directory, X server and system bus.
# Takes more than a minute, because the user must first become idle: scripts/show-desktop.sh [VXTOOL]

source "$(dirname "$0")/lib.sh"

vxtool=${1:-}
if [ -z "$vxtool" ]; then
    scripts/setup.sh test
    build release --target vxtool
    vxtool=$project_dir/build/release/examples/vxtool/vxtool
fi

# Run this script again with a display and a bus that end with it.
if [ -z "${VXCOMMON_THROWAWAY_DESKTOP:-}" ]; then
    exec env VXCOMMON_THROWAWAY_DESKTOP=1 xvfb-run --auto-servernum dbus-run-session -- "$0" "$vxtool"
fi
# The session bus also serves as the system bus.
export DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS
work=$(mktemp -d)
children=()
trap 'kill "${children[@]}" 2>/dev/null || true; wait; rm -rf "$work"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
unset XDG_CURRENT_DESKTOP WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME/applications"

expect() { [ "$2" = "$3" ] || die "$1: expected \"$3\", got \"$2\""; }

# Waits until FILE has a line that matches PATTERN, and prints the line: wait_for SECONDS FILE PATTERN.
wait_for() {
    local end=$((SECONDS + $1))
    until grep -m 1 -e "$3" "$2" 2>/dev/null; do
        [ "$SECONDS" -lt "$end" ] || die "no \"$3\" in time"
        sleep 0.2
    done
}

say "A click on a telephone number starts the registered program"
names=(--application "Vx Line" --organization "Maker & Söhne")
cat >"$XDG_DATA_HOME/applications/other.desktop" <<END
[Desktop Entry]
Type=Application
Name=Other
Exec=true %u
END
printf '[Default Applications]\ntext/plain=other.desktop;\n' | tee "$XDG_CONFIG_HOME/mimeapps.list" >"$work/before"
"$vxtool" protocols register "${names[@]}"
expect "the program that xdg-open starts" "$(xdg-open tel:+4912345)" "--callto tel:+4912345"
expect "state after registering" "$("$vxtool" protocols state "${names[@]}" tel)" $'true\ttel'
xdg-mime default other.desktop x-scheme-handler/tel
expect "state with another choice" "$("$vxtool" protocols state "${names[@]}" tel || true)" $'false\ttel'
xdg-mime default "$(xdg-mime query default x-scheme-handler/sip)" x-scheme-handler/tel
"$vxtool" protocols unregister "${names[@]}"
"$vxtool" protocols unregister-app "${names[@]}"
cmp "$work/before" "$XDG_CONFIG_HOME/mimeapps.list"
expect "entries left" "$(cd "$XDG_DATA_HOME/applications" && echo *.desktop)" "other.desktop"
say "Its entries are removed, and those of other programs are unchanged"

say "The system announces sleep and wake"
"$vxtool" watch --sleep --for 20 >"$work/sleep" &
watch=$!
wait_for 10 "$work/sleep" watching >/dev/null
for value in true false; do
    dbus-send --system --type=signal /org/freedesktop/login1 \
        org.freedesktop.login1.Manager.PrepareForSleep "boolean:$value"
done
wait_for 10 "$work/sleep" wake >/dev/null
kill "$watch"
cat "$work/sleep"
expect "events" "$(cut -f 2 "$work/sleep" | paste -sd ' ')" "watching sleep wake"

say "The user rests for more than a minute, then moves the pointer"
"$vxtool" watch --idle --for 130 >"$work/idle" &
children+=($!)
wait_for 10 "$work/idle" watching
wait_for 80 "$work/idle" 'idle('
moved=$(date +%s%3N)
xdotool mousemove 50 50
wait_for 10 "$work/idle" active
returned=$(date --date "$(grep active "$work/idle" | cut -f 1)" +%s%3N)
seconds=$(sed -n 's/.*idle(\([0-9]*\)).*/\1/p' "$work/idle" | head -n 1)
say "idle($seconds), active $((returned - moved)) ms after the pointer moved"
[ "$seconds" -ge 60 ] && [ "$seconds" -le 63 ] || die "idle came at $seconds"
[ $((returned - moved)) -le 1500 ] || die "active came late"
