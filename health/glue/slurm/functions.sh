# shellcheck shell=sh disable=SC2034,SC2154
# What the health check, prolog and epilog have in common: the settings, the answer of zelhealth, the journal.

# Slurm calls its programs without a PATH. Theirs are $here, $program and $wrong_settings, the
# status with which they end when their settings are wrong; the variables that are left behind are for them.
PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
export PATH LC_ALL=C
node=${SLURMD_NODENAME:-$(uname -n)}

# tell PRIORITY TEXT: to the journal, where there is one, or to syslog; and to who looks on.
tell() {
    echo "$program: $2" >&2
    if [ -S /run/systemd/journal/socket ]; then
        timeout --signal=KILL 2 logger --journald << end
MESSAGE=$program: $2
PRIORITY=$1
SYSLOG_IDENTIFIER=zeldiag-slurm
MESSAGE_ID=5f0c0c6c1d9e4d0d8a4b3f5be1ab9a52
ZEL_NODE=$node
end
    else
        timeout --signal=KILL 2 logger --tag zeldiag-slurm --priority "daemon.$1" -- "$program: $2"
    fi > /dev/null 2>&1 9>&- || :
}

info() { tell 6 "$1"; }
warning() { tell 4 "$1"; }

# refuse_settings LINE WHAT
refuse_settings() {
    warning "$settings:$1: $2; nothing is done"
    exit "$wrong_settings"
}

is_yes_or_no() { [ "$1" = yes ] || [ "$1" = no ]; }
is_absolute() { [ "${1#/}" != "$1" ]; }
is_percentage() {
    case $1 in
        '' | *[!0-9]* | 0?* | ????*) return 1 ;;
    esac
    [ "$1" -le 100 ]
}

# take LINE KEY VALUE: one setting.
take() {
    case $2 in
        report_only | drain_on_unknown) is_yes_or_no "$3" || refuse_settings "$1" "$2 is yes or no" ;;
        partition_cap) is_percentage "$3" || refuse_settings "$1" "$2 is a number from 0 to 100" ;;
        zelhealth | slurm_conf | slurm_programs) is_absolute "$3" || refuse_settings "$1" "$2 begins with /" ;;
        *) refuse_settings "$1" "there is no setting \"$2\"" ;;
    esac
    # The name is one of those above, and the value is not looked into.
    eval "$2=\$3"
}

# The settings are read, never executed: KEY=VALUE, comments, empty lines.
read_settings() {
    report_only=yes
    drain_on_unknown=no
    partition_cap=10
    zelhealth=$here/../bin/zelhealth
    slurm_conf=
    slurm_programs=
    settings=${ZELHEALTH_CONFIGURATION_FOLDER:-/etc/zeldiag}/slurm.conf
    [ -e "$settings" ] || return 0
    if [ ! -f "$settings" ] || [ ! -r "$settings" ]; then
        refuse_settings 0 "it cannot be read"
    fi
    number=0
    while IFS= read -r line || [ -n "$line" ]; do
        number=$((number + 1))
        case $line in
            '' | '#'*) ;;
            *=*) take "$number" "${line%%=*}" "${line#*=}" ;;
            *) refuse_settings "$number" "a line is KEY=VALUE" ;;
        esac
    done < "$settings"
    [ -z "$slurm_conf" ] || export SLURM_CONF="$slurm_conf"
    [ -z "$slurm_programs" ] || PATH=$slurm_programs:$PATH
}

# ask SECONDS LIMIT OPTION...: asks zelhealth, which has so many seconds, and until the limit to end what hangs; then it
# is killed with all that it has started. Leaves its one line in $answer, which is the last that it says, and its
# status in $verdict: all that is none of its statuses is 3, and so is one without a line. It stores nothing in the
# history, for which it would wait as long as another program reads there.
ask() {
    seconds=$1 limit=$2
    shift 2
    answer=$({ timeout --signal=KILL "$limit" "$zelhealth" check --reason --no-history --deadline "$seconds" "$@"; } \
        2>&1 < /dev/null 9>&-)
    verdict=$?
    answer=$(printf '%s\n' "$answer" | tail -n 1)
    case $verdict in
        0 | 1 | 2 | 3) [ -n "$answer" ] || answer="it said nothing" verdict=3 ;;
        137) answer="no answer within $limit seconds" verdict=3 ;;
        126 | 127) answer="$zelhealth cannot be started" verdict=3 ;;
        *) answer="it ended with status $verdict" verdict=3 ;;
    esac
    # One line that begins as reasons of cards do, whatever it was that answered.
    answer=$(printf '%s' "$answer" | tr -c '[:print:]' '?' | cut -c 1-200)
    case $answer in
        zel[0-9]*[\ :]* | zelhealth:*) ;;
        *) answer="zelhealth: $answer" ;;
    esac
    # What could not be answered counts as a bad card where the operator wants it so.
    [ "$verdict" -ne 3 ] || [ "$drain_on_unknown" = no ] || verdict=2
}
