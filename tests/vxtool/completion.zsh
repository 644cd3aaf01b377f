#!/usr/bin/env zsh
# Checks the generated completions in an interactive zsh: completion.zsh DIRECTORY

emulate -R zsh
setopt err_exit
zmodload zsh/zpty
zpty shell env TERM=dumb zsh -f -i
zpty -w shell "PROMPT='> '; fpath=(${(q)1} \$fpath); autoload -Uz compinit; compinit -u -D; print read''y"
zpty -r shell output '*ready*' # ctest limits the time.

check() { # a part of what comes, the line that is typed
    zpty -w -n shell $'\x15'"$2"$'\t\t'
    zpty -r shell output "*$1*"
}

check 'contact *device *sip *-- check, parse' 'vxtool '
check 'check *-- *parse *-- ' 'vxtool sip '
check 'set *-- *show *-- ' 'vxtool help json '
check '--columns *--json *--log-level' 'vxtool sip check --'
check '_vxtool' "vxtool gzip ${(q)1}/_vx"
zpty -d shell
