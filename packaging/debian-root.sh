# For the scripts beside this one: a Debian root made from the network's package source, in $root, which goes
# when the script ends. Needs root, debootstrap, and about 2 GB below TMPDIR.
# shellcheck shell=bash
root=$(mktemp -d --tmpdir zeldiag-root.XXXXXX)
trap 'rm -rf -- "$root"' EXIT

# make_root PACKAGES: those of Debian's minimal set, and these, with commas between them.
make_root() {
    local file
    debootstrap --variant=minbase --include="$1" bookworm "$root" > "$root.log" ||
        { tail "$root.log" >&2; exit 1; }
    rm -f -- "$root.log"
    chmod 755 "$root"   # it is the command's /, which other users than root see too
    rm -f -- "$root/etc/apt/sources.list"   # the machine's are taken
    for file in /etc/apt/sources.list /etc/apt/sources.list.d /etc/apt/apt.conf.d /etc/apt/auth.conf.d \
        /etc/apt/keyrings /etc/ssl/certs/ca-certificates.crt /etc/resolv.conf /etc/hosts; do
        [ ! -e "$file" ] || cp -rL --remove-destination --parents "$file" "$root"
    done
}

# run_in_root COMMAND: shell text. Mounts live in namespaces of their own and vanish with the command.
run_in_root() {
    unshare --mount --pid --fork --kill-child bash -euc '
        mount --bind "$1" "$1"
        mount -t proc proc "$1/proc"
        mount -t sysfs sysfs "$1/sys"
        mount --rbind /dev "$1/dev"
        # Nothing of this machine is to be of help, its environment neither.
        exec env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin chroot "$1" sh -c "$2"
    ' sh "$root" "$1"
}
