#!/usr/bin/env bats
# A network-boot directory that is served on a network of the test's own.
load words

# Starts the call "$server", with a log in /srv/log.
serving() { # ARGUMENT...
    rm -f /srv/log
    # shellcheck disable=SC2016 # for the inner shell
    unshare --net sh -c 'ip link set lo up && ip link add eth1 up type bridge && ip address add 10.7.0.1/24 dev eth1 &&
        exec "$@"' sh "$VELACREATE" serve out --interface eth1 --yes --log /srv/log "$@" &
    server=$!
}
logged() { await "grep -q '$1' /srv/log" || fails "not logged: $1"; }
asksFor() { # FILE TIMES: by TFTP
    # shellcheck disable=SC2016 # for the inner shell
    nsenter --net="/proc/$server/ns/net" bash -c 'for ((; n++ < $2; )); do
        printf "\0\1$1\0octet\0" >/dev/udp/10.7.0.1/69; done' bash "$@"
}

@test "Ctrl-C ends a server when nobody reads what is said" {
    made pxe a.txt
    mkfifo unread
    exec 8<>unread
    serving --verbose >&8
    logged "TFTP root"
    asksFor gone 3000
    SECONDS=0
    kill -INT "$server"
    wait "$server"
    serving >&8
    logged "Every machine"
    kill -INT "$server"
    wait "$server"
    ((SECONDS < 5))
}
