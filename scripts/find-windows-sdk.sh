#!/usr/bin/env bash
# Prints the directory of the Windows SDK, which contains either qt6/ and openssl/, or sdk.tar.xz. Prints nothing if no
# SDK is found. The directory is VXCOMMON_WINDOWS_SDK or, if that is not set, ../shared/windows-sdk.

source "$(dirname "$0")/lib.sh"

if [ -n "${VXCOMMON_WINDOWS_SDK:-}" ]; then
    cd "$caller_dir"
    [ -d "$VXCOMMON_WINDOWS_SDK" ] || die "VXCOMMON_WINDOWS_SDK is \"$VXCOMMON_WINDOWS_SDK\", which is not a directory"
    (cd "$VXCOMMON_WINDOWS_SDK" && pwd)
elif [ -d ../shared/windows-sdk ]; then
    (cd ../shared/windows-sdk && pwd)
fi
