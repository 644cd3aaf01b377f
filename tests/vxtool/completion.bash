#!/usr/bin/env bash
# Completes command lines with the completion that the build made: completion.bash FILE

set -euo pipefail

source "$1"
compopt() { asked=$*; } # Only readline can really take it.

check() { # EXPECTED, the words that are typed
    local expected=$1
    shift
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    asked=
    _vxtool
    [ "${COMPREPLY[*]}$asked" = "$expected" ] || { echo "\"$*\": got \"${COMPREPLY[*]}$asked\"" >&2; exit 1; }
}

check 'contact' vxtool cont
check 'register state unregister' vxtool extension ''
check 'show' vxtool help json sh
check '--columns' vxtool -q device --log x --co
check '--timing' vxtool copy a b --ti
check '-o default' vxtool gzip ''
check '-o default' vxtool get --ca ''
check '-o dirnames' vxtool start --directory ''
check '' vxtool process list --parent ''
