#!/usr/bin/env bash
# Runs scripts/demo.sh, scripts/test.sh and the commands of docs/getting-started.md on a fresh Debian system, in a
# clean clone of the current commit. Prints the time that each takes: scripts/try-fresh.sh bookworm|trixie
# With "guide" after the release, runs only the commands of docs/getting-started.md.
# With "packages" after the release, installs the packages from build/packages instead, builds and runs
# examples/consumer, and removes the packages. They must have been built on that release.
# Needs root. The new system is created below TMPDIR and removed at the end. Its packages come from
# VXCOMMON_DEBIAN_MIRROR or, if that is not set, from this machine's Debian mirror. If VXCOMMON_WINDOWS_SDK is set,
# the Windows tests are included.

source "$(dirname "$0")/lib.sh"

case "$*" in
bookworm | trixie | "bookworm packages" | "trixie packages" | "bookworm guide" | "trixie guide") suite=$1 ;;
*) die "name one of the supported releases of Debian: bookworm or trixie" ;;
esac
[ "$(id -u)" -eq 0 ] || die "only root can create and enter another system"
scripts/setup.sh fresh
apt_mirror() { apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Label: Debian' | sed -n 1p; }
mirror=${VXCOMMON_DEBIAN_MIRROR:-$(apt_mirror)}
[ -n "$mirror" ] || die "apt has no Debian mirror configured: set VXCOMMON_DEBIAN_MIRROR to the address of one"

work_dir=$(mktemp -d)
trap 'rm -rf --one-file-system "$work_dir"' EXIT
root=$work_dir/$suite
say "Installing a fresh $suite"
quietly unshare --mount debootstrap --variant=minbase "$suite" "$root" "$mirror"
quietly git clone --no-hardlinks "$project_dir" "$root/root/vxcommon"
mkdir "$root/sdk"

windows_sdk=
[ -z "${VXCOMMON_WINDOWS_SDK:-}" ] || windows_sdk=$(find_windows_sdk)

# Runs a command in the new system, in separate mount and process namespaces that end with the command.
inside() {
    unshare --mount --pid --fork --kill-child bash -ec '
        mount -t proc proc "$0/proc"
        mount --rbind /dev "$0/dev"
        [ -z "$1" ] || mount --bind "$1" "$0/sdk"
        exec chroot "$0" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
            ${1:+VXCOMMON_WINDOWS_SDK=/sdk} "${@:2}"' "$root" "$windows_sdk" "$@"
}
if [ "${2:-}" = packages ]; then
    cp build/packages/*.deb "$root/root"
    rm "$root"/root/*-dbgsym_*.deb
    say "Installing and using the packages"
    inside /bin/bash -ec '
        cd /root
        apt-get update -q
        apt-get install -y -q --no-install-recommends ./*.deb cmake g++ ninja-build pkgconf python3
        vxtool --version
        vxphone --version
        c++ $(pkg-config --cflags vxcommon) vxcommon/examples/consumer/main.cpp -o consumer $(pkg-config --libs vxcommon)
        vxcommon/examples/consumer/run.sh --no-install ""
        apt-get purge -y -q "*vxcommon*" vxtool vxphone
        [ -z "$(find /usr -name "*vxcommon*" -o -name "vxtool*" -o -name "vxphone*")" ]' || die "failed on $suite"
    say "All packages were installed, used and removed"
    exit 0
fi
# Prints a script that creates the guide's files and runs its commands.
guide_as_script() {
    echo 'set -ex; cd ~/vxcommon'
    awk '
        /^```cmake/ { print "mkdir ~/fetch; cd ~/fetch; cat >CMakeLists.txt <<\\END"; copy = 1; next }
        /^```cpp/ { print "cat >main.cpp <<\\END"; copy = 1; next }
        /^```/ && copy { print "END"; copy = 0 }
        copy
        sub(/^\$ /, "") { print $0 "\nsleep 1" }' docs/getting-started.md
    echo 'cmp hello.txt copy.txt; grep "the file is verified" fetch.log'
}

run_inside() {
    local begin=$SECONDS took
    inside "${@:2}" || die "$1 failed on $suite"
    took=$((SECONDS - begin))
    say "$1 on $suite: $((took / 60)) min $((took % 60)) s"
}
if [ $# -eq 1 ]; then
    run_inside scripts/demo.sh /root/vxcommon/scripts/demo.sh
    run_inside scripts/test.sh /root/vxcommon/scripts/test.sh
fi
guide_as_script >"$root/root/guide.sh"
run_inside docs/getting-started.md bash /root/guide.sh
