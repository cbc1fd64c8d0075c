# bash completion for ZelDiag(8): the front options, flags and groups, then the tests and options of the
# groups named so far. tests/docs compares the words with those that the tool knows.

# The words of the command line up to the cursor, in `words`. bash breaks "-dw=B" into "-dw", "=" and "B";
# here it is one word again.
_ZelDiag_words() {
    local i piece glue=
    words=()
    for ((i = 0; i <= COMP_CWORD; i++)); do
        piece=${COMP_WORDS[i]}
        if [[ ${#words[@]} -gt 1 && ($piece == =* || $glue) ]]; then
            words[${#words[@]} - 1]+=$piece
        else
            words+=("$piece")
        fi
        glue=
        [[ $piece != *= ]] || glue=yes
    done
}

# The numbers of this host's cards that the list in front does not hold yet: "0," is followed by 1.
_ZelDiag_cards() {
    local list=$1 head link card
    head=${list%"${list##*,}"}
    for link in /sys/class/zel/zel[0-9]*; do
        card=${link##*/zel}
        [[ -L $link && ,$head != *,$card,* ]] && echo "$head$card"
    done
}

# What may stand behind "NAME=", one a line.
_ZelDiag_values() {
    case ${1,,} in
        -dw | -datawidth) printf '%s\n' BYTE B WORD W DWORD DW QWORD QW ;;
        -dbglvl | -debuglevel) printf '%s\n' 4 8 12 ;;
        -dp | -datapattern | -data) compgen -f -- "$2" ;;
    esac
}

# What may stand at the end of `words`, one a line.
_ZelDiag_offers() {
    local flags='-exitOnFail -skipOnFail -noExitOnFail -quietMode'
    local groups='-pcie -PcieDiag -mem -MemDiag -core -CoreDiag -dma -DmaDiag -smc -SmcDiag'
    local common='-help -all -breakOnFail -brkOnFail -continueOnFail -contOnFail -dbgLvl= -debugLevel='
    local -A of_group=(
        [pcie]='-vls -verifyLinkSpeed -vlw -verifyLinkWidth -vdi -verifyDeviceId
            -vrs -verifyRevSubSysID -vbs -verifyBootStrap -vsrdv -verifySBoxRegDefaultValues'
        [mem]='-full -fullRange -wr -write -info -gddrInfo
            -startAddress= -endAddress= -memSize= -datawidth= -dw= -datapattern= -dp= -data=
            -testchannel= -tc='
        [core]='-gec -GetEnabledCores -gnt -GetNumThreads -gid -GetCPUID -c -Cache -v -Vpu'
        [dma]='-vdh2l -verifyDMAHostToCoprocessor -vdl2h -verifyDMACoprocessorToHost'
        [smc]='-fwv -fwversion -hwr -hwrevision -uuid -uniqueid'
    )
    local i word group front='-summary -devicelist' named=
    for ((i = 1; i < ${#words[@]} - 1; i++)); do
        word=${words[i]}
        if [[ " $front " == *" $word "* ]]; then
            front=${front/"$word"/}
            [[ $word != -devicelist ]] || ((i++))
            continue
        fi
        front=
        case ${word,,} in
            -help) return ;;
            -pcie | -pciediag) group=pcie ;;
            -mem | -memdiag) group=mem ;;
            -core | -corediag) group=core ;;
            -dma | -dmadiag) group=dma ;;
            -smc | -smcdiag) group=smc ;;
            *) continue ;;
        esac
        [[ " $named " == *" $group "* ]] || named+=" $group"
    done
    # shellcheck disable=SC2086  # lists of words
    printf '%s\n' $front $flags $groups
    if [[ ! $named ]]; then
        echo -help
        return
    fi
    # shellcheck disable=SC2086
    printf '%s\n' $common
    for group in $named; do
        # shellcheck disable=SC2086
        printf '%s\n' ${of_group[$group]}
    done
}

_ZelDiag() {
    local words cur name='' offer
    _ZelDiag_words
    cur=${words[-1]}
    COMPREPLY=()
    local -a offers
    if [[ ${words[-2]} == -devicelist ]]; then
        mapfile -t offers < <(_ZelDiag_cards "$cur")
        compopt -o nospace 2> /dev/null
    elif [[ $cur == *=* ]]; then
        name=${cur%%=*}=
        cur=${cur#*=}
        mapfile -t offers < <(_ZelDiag_values "${name%=}" "$cur")
        # Where bash takes "=" for the end of a word, only what is behind it is replaced.
        [[ $COMP_WORDBREAKS != *=* ]] || name=
    else
        mapfile -t offers < <(_ZelDiag_offers)
    fi
    local -a others=()
    for offer in "${offers[@]}"; do
        if [[ $offer == "$cur"* ]]; then
            COMPREPLY+=("$name$offer")
        elif [[ ${offer,,} == "${cur,,}"* ]]; then
            others+=("$offer")
        fi
    done
    # Letter case is corrected when nothing else fits. bash puts the beginning that all offers share in
    # place of the word: where they differ in what has been typed, the typed letters stay.
    if [[ ${#COMPREPLY[@]} -eq 0 ]]; then
        local beginning=${others[0]:0:${#cur}}
        for offer in "${others[@]}"; do
            [[ $offer == "$beginning"* ]] || beginning=$cur
        done
        for offer in "${others[@]}"; do
            COMPREPLY+=("$name$beginning${offer:${#cur}}")
        done
    fi
    [[ ${#COMPREPLY[@]} -ne 1 || ${COMPREPLY[0]} != *= ]] || compopt -o nospace 2> /dev/null
}

complete -F _ZelDiag ZelDiag
