#!/usr/bin/env bash
# Checks the completions that the generated script offers: completion.bash FILE

set -euo pipefail

source "$1"
compopt() { asked=$*; } # The real compopt fails outside a completion.

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
