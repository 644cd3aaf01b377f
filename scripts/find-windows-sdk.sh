#!/usr/bin/env bash
# Prints the directory of the Windows SDK (with qt6/ and openssl/, or with sdk.tar.xz), or nothing. VXCOMMON_WINDOWS_SDK
# names it; otherwise it is searched for beside the project.

source "$(dirname "$0")/lib.sh"

if [ -n "${VXCOMMON_WINDOWS_SDK:-}" ]; then
    cd "$caller_dir"
    [ -d "$VXCOMMON_WINDOWS_SDK" ] || die "VXCOMMON_WINDOWS_SDK is \"$VXCOMMON_WINDOWS_SDK\", which is not a directory"
    (cd "$VXCOMMON_WINDOWS_SDK" && pwd)
elif [ -d ../shared/windows-sdk ]; then
    (cd ../shared/windows-sdk && pwd)
fi
