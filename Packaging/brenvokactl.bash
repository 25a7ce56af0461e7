# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Completion of brenvokactl for bash.

_brenvokactl() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} options='--format --help'
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W 'listen check compare plan save report --help --version' -- "$word")
        return
    fi
    case $previous in
    --format)
        mapfile -t COMPREPLY < <(compgen -W 'text csv json' -- "$word")
        return
        ;;
    --for | --timeout | --folder | --slot) return ;;
    esac
    case $command in
    listen) options+=' --for --share' ;;
    check) options+=' --stream --timeout' ;;
    compare | save) options+=' --timeout' ;;
    plan) options+=' --folder --slot --timeout' ;;
    report) options+=' --for --share --timeout' ;;
    esac
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word") ;;
    *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    esac
}
complete -o filenames -F _brenvokactl brenvokactl
