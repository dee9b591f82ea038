#!/usr/bin/env bats
# A network-boot directory that is served on a network of the test's own.
# shellcheck disable=SC2016,SC2154 # what is quoted is for other shells, and a variable is of words.bash
load words

# Starts the call "$server", with a log in /srv/log.
serving() { # ARGUMENT...
    rm -f /srv/log
    unshare --net sh -c 'ip link set lo up && ip link add eth1 up type bridge && ip address add 10.7.0.1/24 dev eth1 &&
        exec "$@"' sh "$VELACREATE" serve out --interface eth1 --yes --log /srv/log "$@" &
    server=$!
}
logged() { await "grep -q '$1' /srv/log" || fails "not logged: $1"; }
ended() {
    await '! kill -0 "$server" 2>/dev/null' || fails "the call still runs"
    wait "$server"
}

@test "a server has nothing but its program, its libraries and the files, and a clock" {
    made pxe a.txt
    TZ=AAA-5 serving
    logged "TFTP root"
    local process
    process=$(pgrep -x dnsmasq)
    (cd out && printf 'mnt/package/%s\n' * && printf '%s\n' dev/null dev/urandom usr/sbin/dnsmasq) | sort >expected
    find "/proc/$process/root/" ! -type d ! -name '*.so*' -printf '%P\n' | sort | diff - expected
    not grep -v ' ro,nosuid,' "/proc/$process/mountinfo"
    [ "$(ps -o sid=,tty= "$process" | xargs)" = "$process ?" ]
    grep -q '^Seccomp:.2$' "/proc/$process/status"
    grep -qE '^\S+ (..):..:.. 2 \S+ +\S+ \1:..:.. dnsmasq-tftp' /srv/log
    kill "$server"
    ended
    [ -z "$(ls -A /srv/scratch)" ]
}

# Each row: what is done to the directory, and why it is no longer served.
@test "a server gives what was there at the start, and ends when that has changed" {
    local change reason rows status
    rows=$(sed -E 's/ *\| */|/' "$project/tests/tables/served-changes.txt")
    while IFS='|' read -r change reason; do
        echo "$change"
        setup
        made pxe a.txt
        serving 2>/srv/err
        logged "TFTP root"
        exec 7<"/proc/$(pgrep -x dnsmasq)/root/mnt/package/grub.cfg"
        made eval "$change"
        status=0
        ended || status=$?
        [ "$status $(cat <&7)" = "4 grub.cfg" ]
        last "the network-boot directory '/srv/job/out' is not served any more: $reason"
    done <<<"$rows"
}

@test "Ctrl-C ends a server when nobody reads what is said" {
    made pxe a.txt
    mkfifo unread
    exec 8<>unread
    serving --verbose >&8
    logged "TFTP root"
    nsenter --net="/proc/$server/ns/net" bash -c 'for ((; n++ < 3000; )); do
        printf "\0\1gone\0octet\0" >/dev/udp/10.7.0.1/69; done' # by TFTP
    kill -INT "$server"
    ended
    serving >&8
    logged "Every machine"
    kill -INT "$server"
    ended
}
