# bash completion for zelsim(1): commands, options, fleet files, this host's cards and modes; behind run, the
# command is completed as it is without zelsim. tests/docs compares the words with those that zelsim knows.

# Fleet files and the folders on the way to them.
_zelsim_fleets() {
    compopt -o filenames 2> /dev/null
    mapfile -t COMPREPLY < <(compgen -d -- "$1"; compgen -f -X '!*.toml' -- "$1")
}

_zelsim_choose() {
    local cur=$1
    shift
    mapfile -t COMPREPLY < <(compgen -W "$*" -- "$cur")
}

_zelsim_cards() {
    local link
    for link in /sys/class/zel/zel[0-9]*; do
        [[ ! -L $link ]] || echo "${link##*/}"
    done
}

# The command line from word `$1` on, completed for itself.
_zelsim_command() {
    local first=$1 cur=${COMP_WORDS[COMP_CWORD]} spec
    local -a programs=()
    # A simulated host finds them wherever they lie.
    ((first != COMP_CWORD)) || mapfile -t programs < <(compgen -W 'ZelDiag zelsim' -- "$cur")
    if declare -F _command_offset > /dev/null; then
        _command_offset "$first"
    elif ((first == COMP_CWORD)); then
        mapfile -t COMPREPLY < <(compgen -c -- "$cur")
    elif spec=$(complete -p -- "${COMP_WORDS[first]##*/}" 2> /dev/null) && [[ $spec == *" -F "* ]]; then
        spec=${spec#* -F }
        COMP_WORDS=("${COMP_WORDS[@]:first}")
        ((COMP_CWORD -= first))
        "${spec%% *}" "${COMP_WORDS[0]}" "$cur" "${COMP_WORDS[COMP_CWORD - 1]}"
    else
        compopt -o filenames 2> /dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    fi
    COMPREPLY+=("${programs[@]}")
}

_zelsim_run() {
    local cur=${COMP_WORDS[COMP_CWORD]} i=2
    while ((i < COMP_CWORD)); do
        case ${COMP_WORDS[i]} in
            --)
                _zelsim_command $((i + 1))
                return
                ;;
            --fleet)
                # bash breaks "--fleet=FILE" into three words.
                [[ ${COMP_WORDS[i + 1]} != = ]] || ((i++))
                if ((i + 1 >= COMP_CWORD)); then
                    _zelsim_fleets "${cur#=}"
                    return
                fi
                ((i += 2))
                ;;
            -*) return ;;
            *)
                _zelsim_command "$i"
                return
                ;;
        esac
    done
    if [[ $cur == -* ]]; then
        _zelsim_choose "$cur" --fleet --help --
    else
        _zelsim_command "$i"
    fi
}

_zelsim() {
    local cur=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        _zelsim_choose "$cur" run mode status check --help --version
        return
    fi
    case ${COMP_WORDS[1]}:$COMP_CWORD in
        run:*) _zelsim_run ;;
        mode:2) _zelsim_choose "$cur" --help "$(_zelsim_cards)" ;;
        mode:3)
            _zelsim_choose "$cur" \
                normal maintenance zombie memdiag normal_restricted offline in_transition
            ;;
        check:2)
            if [[ $cur == -* ]]; then
                _zelsim_choose "$cur" --help
            else
                _zelsim_fleets "$cur"
            fi
            ;;
        status:2) _zelsim_choose "$cur" --help ;;
    esac
}

complete -F _zelsim zelsim
