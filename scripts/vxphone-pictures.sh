#!/usr/bin/env bash
# Takes a screenshot of each state of vxphone on a separate display and stores it in build/demo/vxphone/pictures.
#   scripts/vxphone-pictures.sh           in light and dark colours, and at the scales 1.5 and 2
#   scripts/vxphone-pictures.sh --renew   also copies the two README screenshots to docs/images

source "$(dirname "$0")/lib.sh"

work=$project_dir/build/demo/vxphone
pictures=$work/pictures
vxphone=${VXPHONE:-$project_dir/build/release/examples/vxphone/vxphone}

pids=()
stop_all() {
    for ((i = ${#pids[@]} - 1; i >= 0; --i)); do
        kill "${pids[i]}" 2>/dev/null || true
        wait "${pids[i]}" 2>/dev/null || true
    done
    pids=()
}
trap stop_all EXIT

type_text() { xdotool type --delay 10 "$1"; }
key() { xdotool key --delay 30 "$@"; }
picture() {
    sleep 1 # The window reacts at once, but its content settles after a moment.
    import -window "${2:-$window}" "$pictures/$mode-$1.png"
    say "Written: ${pictures#"$project_dir"/}/$mode-$1.png"
}

# Sets dark colours in KDE's configuration file.
dark_colours() {
    mkdir -p "$HOME/.config"
    local section
    for section in Window View Button Tooltip Complementary; do
        printf '[Colors:%s]\nBackgroundNormal=%s\nBackgroundAlternate=42,46,50\nForegroundNormal=240,240,240\n' \
            "$section" "$([ "$section" = View ] && echo 27,30,32 || echo 49,54,59)"
        printf 'ForegroundInactive=161,169,177\nForegroundLink=99,179,255\nForegroundVisited=155,89,182\n'
    done >"$HOME/.config/kdeglobals"
    printf '[Colors:Selection]\nBackgroundNormal=61,134,214\nForegroundNormal=255,255,255\n' >>"$HOME/.config/kdeglobals"
    export XDG_CURRENT_DESKTOP=KDE KDE_SESSION_VERSION=5 KDE_FULL_SESSION=true
}

slow_server() { echo "server { listen 127.0.0.1:$port; limit_rate 6m; }"; }

# Starts a window manager and a server, which is slow so that the pictures show a running download. Uses separate
# directories, so that neither the user's files nor running instances interfere.
start_surroundings() {
    export HOME=$work/home-$mode TMPDIR=$work/tmp QT_QPA_PLATFORM=xcb QT_SCALE_FACTOR=$1
    export LANG=en_GB.UTF-8
    unset LC_ALL XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME XDG_CURRENT_DESKTOP KDE_SESSION_VERSION KDE_FULL_SESSION
    unset WAYLAND_DISPLAY
    mkdir -p "$HOME/Music"
    rm -f "$work"/{ready,nginx.pid}
    openbox --sm-disable --startup "touch $work/ready" >/dev/null 2>&1 &
    pids+=($!)
    until [ -e "$work/ready" ]; do sleep 0.1; done
    # The session bus also serves as the system bus.
    export DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS
    unset DBUS_SESSION_BUS_ADDRESS
    serve "$work" slow_server
    pids+=("$server_pid")
    [ "$mode" != dark ] || dark_colours
}

add_contact() {
    "$vxphone" --callto "$1"
    key alt+a
    sleep 0.5
    type_text "$2"
    key Return
    sleep 0.3
}

call() { # ADDRESS [SECONDS]
    "$vxphone" --callto "$1"
    sleep 0.3
    key Return
    sleep "${2:-1}"
}

download() {
    key ctrl+d
    sleep 0.5
    key ctrl+a
    type_text "$1"
    key Return
}

tour() { # MODE SCALE
    mode=$1
    start_surroundings "$2"
    "$vxphone" --data "$work/data-$mode" >"$work/output-$mode" 2>&1 &
    local phone=$!
    pids+=("$phone")
    window=$(timeout 30 xdotool search --sync --onlyvisible --pid "$phone" | head -n 1)
    picture empty
    for address in +1-212-555-0100 ann@office.quollsip.test bob@example.com skype:carla.rossi; do
        key ctrl+a
        type_text "$address"
        picture "typing-$address"
    done
    add_contact "sip:ann@office.quollsip.test" "Ann Lind"
    add_contact "tel:+1-212-555-0100" "Front desk"
    add_contact "sip:bob.gray@example.com" "Bob Gray"
    add_contact "skype:carla.rossi" "Carla Rossi"
    picture contacts
    call sip:bob.gray@example.com
    key alt+n
    call tel:+1-415-555-0119
    key alt+n
    call tel:+1-212-555-0100
    picture in-call
    "$vxphone" --callto "sip:ann@office.quollsip.test"
    key alt+u alt+k
    sleep 0.5
    key 4 2
    picture keypad
    key alt+k alt+u
    key alt+m
    type_text "Slides: https://example.com/slides.pdf (questions: tel:+1-415-555-0119)"
    key Return
    sleep 1
    type_text "Thanks. I am back at ten, and then we go through the list of open points one by one until everybody has had a say; bring the figures."
    key Return
    download "http://127.0.0.1:$port/skins.zip"
    sleep 2
    picture call
    key alt+n
    picture next-call
    download "http://127.0.0.1:1/missing.zip"
    key ctrl+b
    sleep 1
    picture choose-folder root
    type_text "$HOME/Music"
    key Return
    sleep 1
    picture transfers
    key F12
    picture log
    key F12
    key alt+a
    sleep 0.5
    picture duplicate root
    key Escape
    key alt+o Down Delete
    picture deleted
    stop_all
}

case "${1:-}" in
"" | --renew) ;;
tour) # Called by the loop at the end of this script.
    tour "$2" "$3"
    exit
    ;;
*) die "unknown argument \"$1\"; the script takes --renew or nothing" ;;
esac
if [ -z "${VXPHONE:-}" ]; then
    scripts/setup.sh demo gui-demo
    build release --target vxphone
fi
rm -rf "$work"
mkdir -p "$pictures" "$work"/{root,tmp}
truncate --size=48M "$work/root/skins.zip"
for look in "light 1" "dark 1" "larger 1.5" "double 2"; do
    # shellcheck disable=SC2086
    xvfb-run --auto-servernum --server-args="-screen 0 1600x1200x24" dbus-run-session -- "$0" tour $look
done
if [ "${1:-}" = --renew ]; then
    cp "$pictures/light-call.png" docs/images/vxphone-call.png
    cp "$pictures/dark-next-call.png" docs/images/vxphone-dark.png
fi
say "The pictures are in ${pictures#"$project_dir"/}"
