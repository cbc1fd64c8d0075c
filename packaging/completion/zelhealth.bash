# bash completion for zelhealth(8): commands, their options, plans, this host's cards and modes, and the tests as
# zelhealth lists them. tests/docs compares the words with the help of each command.

_zelhealth_options() {
    local reports='--html --junit --metrics --csv'
    local both="--plan --cards --jobs --expect-cards --no-history --output $reports --deadline --wait --tool"
    case $1 in
        '') echo '--help --version' ;;
        run) echo "--help $both --repeat --quiet" ;;
        check) echo "--help $both --reason --max-age" ;;
        explain | cards) echo '--help --json' ;;
        baseline) echo '--help --write --fleet --force' ;;
        mode) echo '--help --deadline --wait --force' ;;
        recover) echo '--help --deadline' ;;
        report) echo "--help $reports --text" ;;
        history) echo '--help --card --test --since --html --json' ;;
        fleet)
            echo "--help --from --nodes --partition --plan --time --folder --program --srun --shared --wait --quiet $reports --"
            ;;
        *) echo --help ;;
    esac
}

_zelhealth_choose() {
    local cur=$1
    shift
    mapfile -t COMPREPLY < <(compgen -W "$*" -- "$cur")
}

# Files of the ending, and the folders on the way to them.
_zelhealth_files() {
    compopt -o filenames 2> /dev/null
    mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -d -- "$1"; compgen -f -X "!*$2" -- "$1")
}

# A built-in plan, or a file.
_zelhealth_plans() {
    _zelhealth_choose "$1" prolog check standard thorough
    _zelhealth_files "$1" .toml
}

_zelhealth_cards() {
    local link
    for link in /sys/class/zel/zel[0-9]*; do
        [[ ! -L $link ]] || echo "${link##*/}"
    done
}

# The cards that the list in front does not hold yet: "zel0," is followed by zel1.
_zelhealth_card_list() {
    local list=$1 head card
    local -a offers=()
    head=${list%"${list##*,}"}
    for card in $(_zelhealth_cards); do
        [[ ,$head == *,$card,* ]] || offers+=("$head$card")
    done
    _zelhealth_choose "$list" "${offers[@]}"
    compopt -o nospace 2> /dev/null
}

# As the program tells them: "pcie.vlw", one a line.
_zelhealth_tests() {
    "${COMP_WORDS[0]}" list 2> /dev/null | while read -r name _; do
        [[ $name != *.* ]] || echo "$name"
    done
}

_zelhealth_takes_value() {
    case $1 in
        --plan | --cards | --card | --test | --output | --html | --junit | --metrics | --csv | --tool) ;;
        --program | --from | --folder | --jobs | --expect-cards | --deadline | --wait | --repeat | --max-age) ;;
        --since | --nodes | --partition | --time | --srun) ;;
        *) return 1 ;;
    esac
}

# The value of an option, as far as there is something to choose from.
_zelhealth_value() {
    local option=$1 cur=$2 tests
    case $option in
        --plan) _zelhealth_plans "$cur" ;;
        --cards) _zelhealth_card_list "$cur" ;;
        --card) _zelhealth_choose "$cur" "$(_zelhealth_cards)" ;;
        --test)
            tests=$(_zelhealth_tests)
            _zelhealth_choose "$cur" "$tests" "$(sed 's/\..*//' <<< "$tests" | sort -u)"
            ;;
        --output | --html | --junit | --metrics | --csv | --tool | --program | --from) _zelhealth_files "$cur" ;;
        --folder)
            compopt -o filenames 2> /dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$cur")
            ;;
    esac
}

# The n-th word of a command that is no option's.
_zelhealth_word() {
    local command=$1 n=$2 cur=$3
    case $command:$n in
        :1)
            _zelhealth_choose "$cur" run check list explain cards baseline config mode recover report history \
                fleet plan
            ;;
        config:1 | plan:1) _zelhealth_choose "$cur" check ;;
        plan:2) _zelhealth_plans "$cur" ;;
        mode:1) _zelhealth_choose "$cur" "$(_zelhealth_cards)" ;;
        mode:2) _zelhealth_choose "$cur" normal offline maintenance memdiag ;;
        explain:*)
            _zelhealth_choose "$cur" "$(_zelhealth_tests)" passed failed unsupported skipped timed_out crashed \
                not_run setup healthy degraded unknown broken_off lost not_asked
            ;;
        report:*) _zelhealth_files "$cur" .jsonl ;;
    esac
}

_zelhealth() {
    local cur=${COMP_WORDS[COMP_CWORD]} command='' option='' i n=1
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        if [[ $option ]]; then
            # bash breaks "--plan=FILE" into three words.
            [[ ${COMP_WORDS[i]} == = ]] || option=
        elif [[ $command == fleet && ${COMP_WORDS[i]} == -- ]]; then
            # What is behind goes to the runs on the nodes.
            command=run
        elif [[ ${COMP_WORDS[i]} == -* ]]; then
            ! _zelhealth_takes_value "${COMP_WORDS[i]}" || option=${COMP_WORDS[i]}
        elif [[ ! $command ]]; then
            command=${COMP_WORDS[i]}
        else
            ((n++))
        fi
    done
    if [[ $option ]]; then
        _zelhealth_value "$option" "${cur#=}"
    elif [[ $cur == -* ]]; then
        _zelhealth_choose "$cur" "$(_zelhealth_options "$command")"
    else
        _zelhealth_word "$command" "$n" "$cur"
    fi
}

complete -F _zelhealth zelhealth
