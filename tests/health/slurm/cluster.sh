# shellcheck shell=bash
# A cluster of Slurm's real daemons on this machine, whose nodes have simulated cards of their own. To be read by a
# test in bash, which calls
#
#   cluster_host "$0" "$@"      first of all: begins the test again on a host of its own, whose network is a loopback
#                               device and whose processes end with it; the cluster's folder is $cluster from here
#   cluster_start 8 [LINE...]   eight nodes, n1 to n8, each with two healthy cards, all idle when it returns; the
#                               lines go into slurm.conf. From here srun, scontrol and sinfo reach the cluster
#   give_cards n3 [LINE...]     node n3 gets the cards of this fleet file (see zelsim(1)) instead; without lines,
#                               healthy ones
#   on_node n3 COMMAND...       what n3 would run: inside the host that holds its cards
#   cluster_wait n3 PATTERN     until the state of n3, such as "idle" or "drained", is like the pattern: 30 seconds
#                               at most
#   cluster_reason n3           why it is drained
#   cluster_end                 is called when the test ends, however it does
#
# Programs that Slurm runs on a node (health check, prolog, epilog, the tasks of a job) find the zelhealth of
# $cluster/bin, which enters the node's host by SLURMD_NODENAME. Its configuration is $cluster/nodes/NODE/etc, and what
# it stores is in $cluster/nodes/NODE/state. Files outside of /etc, /run and /var are the same on all nodes and in the
# test, so `srun --output=$PWD/%t.jsonl zelhealth run --output -` leaves its streams where the test finds
# them; %N would be the name of the machine on all nodes.
#
# Slurm's programs on nodes do not inherit PATH: settings name zelhealth as $cluster/bin/zelhealth.

# Of a network that is set aside for documents, on the loopback device.
cluster_address=192.0.2.1

# cluster_host SCRIPT WORD...
cluster_host() {
    if [ -z "${cluster-}" ]; then
        cluster=$(mktemp -d --tmpdir zeldiag-cluster.XXXXXX) || exit
        chmod 755 "$cluster"
        export cluster
        echo '[host]' > "$cluster/no-cards.toml"
        trap 'rm -rf -- "$cluster"' EXIT
        setpriv --pdeathsig KILL zelsim run --fleet "$cluster/no-cards.toml" -- "$@" < /dev/null &
        host=$!
        # What runs in the background is deaf to a terminal's Ctrl-C.
        trap 'kill "$host"; wait "$host"; exit 130' INT TERM HUP
        wait "$host"
        exit
    fi
    trap cluster_end EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

cluster_start() {
    local count=$1 i
    shift
    mkdir "$cluster/bin" "$cluster/nodes" "$cluster/munge" "$cluster/slurmctld"
    export SLURM_CONF=$cluster/slurm.conf
    # With addresses of 127.0.0.0/8 alone a host counts as one without a network, and Slurm resolves none.
    busybox ip address add "$cluster_address/32" dev lo
    cluster_programs
    cluster_configuration "$count" "$@" > "$SLURM_CONF"
    head -c 1024 /dev/urandom > "$cluster/munge/key"
    chmod 400 "$cluster/munge/key"
    # Forced, because a folder of TMPDIR may be closed to others.
    cluster_daemon munged /usr/sbin/munged --foreground --force \
        --key-file="$cluster/munge/key" --socket="$cluster/munge/socket" \
        --pid-file="$cluster/munge/pid" --log-file="$cluster/munge/log" --seed-file="$cluster/munge/seed"
    cluster_until 10 test -S "$cluster/munge/socket" || cluster_give_up "munged does not listen"
    cluster_daemon slurmctld /usr/sbin/slurmctld -D -i
    for ((i = 1; i <= count; i++)); do
        mkdir -p "$cluster/nodes/n$i"/{etc,state,spool}
        give_cards "n$i"
        cluster_slurmd "n$i"
    done
    cluster_until 30 cluster_all "$count" idle || cluster_give_up "not all nodes are idle"
}

# A zelhealth that enters the host of the node on which it is called; elsewhere it is the plain one.
cluster_programs() {
    cat > "$cluster/bin/zelhealth" << end
#!/bin/sh
[ -n "\${SLURMD_NODENAME-}" ] || exec $(type -P zelhealth) "\$@"
node=$cluster/nodes/\$SLURMD_NODENAME
export ZELHEALTH_STATE_FOLDER="\$node/state" ZELHEALTH_CONFIGURATION_FOLDER="\$node/etc"
# nsenter waits for its child, which gets a task's signal as well and has its own mind about it.
trap '' TERM
exec nsenter --target "\$(cat "\$node/host")" --mount --net --pid --wd="\$PWD" -- $(type -P zelhealth) "\$@"
end
    chmod 755 "$cluster/bin/zelhealth"
    PATH=$cluster/bin:$PATH
}

cluster_configuration() {
    local count=$1 name
    name=$(uname -n)
    shift
    cat << end
ClusterName=cards
SlurmctldHost=$name($cluster_address)
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket=$cluster/munge/socket
CredType=cred/munge
StateSaveLocation=$cluster/slurmctld
SlurmctldPidFile=$cluster/slurmctld/pid
SlurmctldLogFile=$cluster/slurmctld/log
SlurmdSpoolDir=$cluster/nodes/%n/spool
SlurmdPidFile=$cluster/nodes/%n/pid
SlurmdLogFile=$cluster/nodes/%n/log
MpiDefault=none
MailProg=/bin/true
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
SlurmdTimeout=10
KillWait=5
NodeName=n[1-$count] NodeHostname=$name NodeAddr=$cluster_address Port=[7001-$((7000 + count))] CPUs=1 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES State=UP
end
    [ $# -eq 0 ] || printf '%s\n' "$@"
}

# cluster_daemon NAME COMMAND...: in the background; what it says is $cluster/NAME.out.
cluster_daemon() {
    local name=$1
    shift
    "$@" > "$cluster/$name.out" 2>&1 < /dev/null &
    echo "$!" > "$cluster/$name.pid"
}

cluster_slurmd() { SLURMD_NODENAME=$1 cluster_daemon "slurmd-$1" /usr/sbin/slurmd -D -N "$1"; }

# cluster_until SECONDS COMMAND...
cluster_until() {
    local end=$((SECONDS + $1))
    shift
    until "$@" > /dev/null 2>&1; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.1
    done
}

cluster_state() { sinfo --noheader --Node --nodes="$1" --format=%T; }

# shellcheck disable=SC2053  # a pattern it is meant to be
cluster_is() { [[ $(cluster_state "$1") = $2 ]]; }

cluster_all() { [ "$(sinfo --noheader --Node --format=%T | grep -cx "$2")" -eq "$1" ]; }

cluster_wait() {
    cluster_until "${3:-30}" cluster_is "$1" "$2" && return
    echo "wrong: $1 is not $2, but $(cluster_state "$1"): $(cluster_reason "$1")"
    return 1
}

cluster_reason() { scontrol show node "$1" | sed -n 's/^ *Reason=\(.*\) \[.*@.*\]$/\1/p'; }

# give_cards NODE [LINE...]: another host for the node's cards, as if it had been started anew.
give_cards() {
    local node=$cluster/nodes/$1 old
    old=$(cat "$node/zelsim" 2> /dev/null)
    shift
    [ $# -gt 0 ] || set -- '[[card]]' '[[card]]'
    printf '%s\n' "$@" > "$node/fleet.toml"
    rm -f "$node/ready"
    # shellcheck disable=SC2016
    zelsim run --fleet "$node/fleet.toml" -- sh -c ': > "$1"; exec sleep infinity' sh "$node/ready" \
        > "$node/zelsim.out" 2>&1 < /dev/null &
    echo "$!" > "$node/zelsim"
    cluster_until 10 test -e "$node/ready" || cluster_give_up "no cards for $node: $(cat "$node/zelsim.out")"
    cluster_inside "$(cat "$node/zelsim")" > "$node/host.new"
    mv "$node/host.new" "$node/host"
    [ -z "$old" ] || { kill "$old"; wait "$old"; } 2> /dev/null
    return 0
}

# The innermost process of those that one has started.
cluster_inside() {
    local pid=$1 children
    while children=$(cat "/proc/$pid/task/$pid/children") && [ -n "$children" ]; do
        pid=${children%% *}
    done
    echo "$pid"
}

on_node() {
    local host
    host=$(cat "$cluster/nodes/$1/host")
    shift
    nsenter --target "$host" --mount --net --pid --wd="$PWD" -- "$@"
}

cluster_give_up() {
    echo "wrong: $*"
    sinfo --Node --long 2>&1 | head -20
    tail -n 5 "$cluster"/*.out "$cluster"/*/log "$cluster"/nodes/*/log 2> /dev/null
    exit 1
}

# The daemons end first those that they have started.
cluster_end() {
    local file pids=()
    for file in "$cluster"/slurmd-*.pid "$cluster"/slurmctld.pid "$cluster"/munged.pid "$cluster"/nodes/*/zelsim; do
        [ ! -e "$file" ] || pids+=("$(cat "$file")")
    done
    [ ${#pids[@]} -eq 0 ] || { kill "${pids[@]}"; wait "${pids[@]}"; } 2> /dev/null
}
