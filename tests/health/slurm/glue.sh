# shellcheck shell=bash disable=SC2034,SC2154
# What the tests of Slurm's programs have in common, behind cluster.sh: cards, settings, the journal, and calls as
# slurmd makes them.

wrong=0

fail() {
    echo "wrong: $*"
    wrong=1
}

glue=$build/slurm
bad=('[[card]]' '[[card]]' 'link_width = 8')
bad_reason="zel1 pcie.vlw: Link trained down to 8 Lanes"
hanging=('[[card]]' '[[card]]' 'hang_on_kill = true' '[[card.fault]]'
    'call = "ZelGetPostCode"' 'block = true' 'count = 0')

# settings LINE...: of Slurm's programs on all nodes. What a node calls is the zelhealth that enters its host.
settings() {
    mkdir -p /etc/zeldiag
    printf '%s\n' "zelhealth=$cluster/bin/zelhealth" "slurm_conf=$cluster/slurm.conf" "$@" > /etc/zeldiag/slurm.conf
}

# start_checked COUNT [LINE...]: a cluster whose nodes are checked each fifteen seconds.
start_checked() {
    local count=$1
    shift
    cluster_start "$count" "HealthCheckProgram=$glue/health-check" HealthCheckInterval=15 HealthCheckNodeState=ANY "$@"
}

# start_journal: the system's journal of this host. `told` leaves what Slurm's programs told it in the file told.
start_journal() {
    local folder
    for folder in /run/systemd /run/log; do
        mkdir -p "$folder"
        mount -t tmpfs none "$folder" || exit 2
    done
    mkdir /run/systemd/journal
    cluster_daemon journald /lib/systemd/systemd-journald
    cluster_until 10 test -S /run/systemd/journal/socket || cluster_give_up "the journal does not listen"
}

told() {
    journalctl --sync
    journalctl --directory=/run/log/journal -t zeldiag-slurm -o json 2> /dev/null |
        jq -r '"\(.ZEL_NODE) \(.PRIORITY) \(.MESSAGE)"' > told
}

has_told() { told && grep -qxF -- "$1" told; }

# will_tell TEXT [SECONDS]
will_tell() {
    cluster_until "${2:-30}" has_told "$1" || fail "the journal lacks \"$1\": $(cat told)"
}

reason_is() {
    [ "$(cluster_reason "$1")" = "$2" ] || fail "$1 is drained for \"$(cluster_reason "$1")\", not \"$2\""
}

# resume NODE: with a state that is "idle*" until the node has answered.
resume() {
    scontrol update NodeName="$1" State=RESUME
    cluster_wait "$1" idle || wrong=1
}

# call_health_check NODE: as slurmd calls it. Leaves err.
call_health_check() { env -i SLURMD_NODENAME="$1" "$glue/health-check" > out 2> err; }

# Theirs and what they start.
no_checks() { ! pgrep -f 'health-check|ZelDiag|zelkeeper'; }

# As slurmd calls it. Leaves err.
call_prolog() { env -i SLURMD_NODENAME="$1" SLURM_JOB_ID=7 "$glue/prolog" > out 2> err; }

# What was last said on standard error.
says() { [ "$(cat err)" = "$1" ] || fail "says: $(cat err)"; }
