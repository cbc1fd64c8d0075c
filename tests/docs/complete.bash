#!/usr/bin/env bash
# Prints what bash offers at the end of a command line, one a line.
#
#   complete.bash [--bash-completion] COMPLETION_FILE... LINE
#
# With --bash-completion the package of that name is loaded first, as most hosts do.
if [[ $1 == --bash-completion ]]; then
    shift
    # shellcheck disable=SC1091  # of the machine
    source /usr/share/bash-completion/bash_completion
fi
set -euo pipefail

line=${!#}
for file in "${@:1:$#-1}"; do
    # shellcheck disable=SC1090  # the file that is tested
    source "$file"
done

# Breaks the line as bash does before it calls a completion: at blanks, and around COMP_WORDBREAKS.
COMP_WORDBREAKS=$' \t\n"\'><=;|&(:'
COMP_WORDS=()
word=
kind=
for ((i = 0; i < ${#line}; i++)); do
    char=${line:i:1}
    case $char in
        [[:blank:]]) new= ;;
        [=:]) new="break" ;;
        *) new=plain ;;
    esac
    if [[ $kind && $new != "$kind" ]]; then
        COMP_WORDS+=("$word")
        word=
    fi
    kind=$new
    [[ ! $new ]] || word+=$char
done
# A word that nothing has been typed of yet is one too.
COMP_WORDS+=("$word")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
COMP_LINE=$line
COMP_POINT=${#line}

registered=$(complete -p -- "${COMP_WORDS[0]}")
function=${registered#* -F }
COMPREPLY=()
set +eu
"${function%% *}" "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
[[ ${#COMPREPLY[@]} -eq 0 ]] || printf '%s\n' "${COMPREPLY[@]}"
