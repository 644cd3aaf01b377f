#!/usr/bin/env bash
# Installs the missing Debian packages of one or more tasks: scripts/setup.sh TASK...
# The tasks: build, demo, gui-demo, test, clang, windows, bench, fuzz, docs, package, lint, fresh.
# Runs unattended, as root or through sudo.

source "$(dirname "$0")/lib.sh"

# Prints the packages listed in a field of debian/control, apart from those of debhelper.
depends_of() { sed -n "/^$1:/,/^[^ ]/ s/^ \([a-z0-9.+-]*\).*/\1/p" debian/control | grep -v debhelper; }

packages_of() {
    local build docs
    build="ccache $(depends_of Build-Depends)"
    docs=$(depends_of Build-Depends-Indep)
    # Programs used by the tests.
    local servers="nginx-light openssl"
    local desktop="dbus-daemon dbus-bin libglib2.0-bin desktop-file-utils xdg-utils
        xvfb xauth xdotool openbox pulseaudio libfaketime"
    local packers="pigz nodejs"
    local readers="mandoc zsh" # For the manual page and the completions of vxtool.
    case $1 in
    demo) echo "$build nginx-light openssl python3" ;;
    gui-demo) echo "xvfb xauth openbox xdotool imagemagick dbus-daemon fonts-dejavu-core" ;;
    test) echo "$build valgrind python3 $servers $desktop $packers $readers" ;;
    build) echo "$build" ;;
    windows) echo "$build $servers g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 xvfb xauth" ;;
    bench) echo "$build $servers curl libbenchmark-dev libspdlog-dev libdeflate-dev nodejs python3" ;;
    clang | fuzz) echo "$build clang" ;;
    docs) echo "$docs" ;;
    package) echo "$build $docs binutils dpkg-dev debhelper fakeroot lintian" ;;
    lint) echo "$build clang clang-format clang-tidy cppcheck libbenchmark-dev libspdlog-dev libdeflate-dev" ;;
    fresh) echo "debootstrap git" ;;
    *) die "unknown group \"$1\"; known are: build demo gui-demo test clang windows bench fuzz docs package lint fresh" ;;
    esac
}

[ -z "${VXCOMMON_NO_INSTALL:-}" ] || exit 0
[ $# -gt 0 ] || die "name what to set up: build, demo, test, clang, windows, bench, fuzz, docs, package, lint or fresh"

missing=()
for group in "$@"; do
    for package in $(packages_of "$group"); do
        if ! dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed; then
            missing+=("$package")
        fi
    done
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || die "packages are missing and sudo is not installed; install as root: ${missing[*]}"
    as_root=(sudo)
fi
say "Installing packages: ${missing[*]}"
# Wait if another apt process is running, such as an unattended upgrade.
wait_for_lock=(-o DPkg::Lock::Timeout=600)
quietly "${as_root[@]}" apt-get "${wait_for_lock[@]}" update -q
quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get "${wait_for_lock[@]}" install -y -q --no-install-recommends "${missing[@]}"
