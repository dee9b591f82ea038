#!/usr/bin/env bats
# A network-boot directory that is served on a network of the test's own.
# shellcheck disable=SC2016,SC2154 # what is quoted is for other shells, and a variable is of words.bash
load words

# Starts the call "$server", with a log in /srv/log. A machine is at the end of a cable.
serving() { # ARGUMENT...
    rm -f /srv/log
    # shellcheck disable=SC2086 # several words
    unshare --net sh -c 'ip link set lo up && ip link add eth1 up type bridge && ip address add 10.7.0.1/24 dev eth1 &&
        ip link add here type veth peer name cable && ip link set here master eth1 up && ip link set cable up && exec "$@"' sh \
        "$VELACREATE" serve ${served:-out} --interface eth1 --yes --log /srv/log "$@" &
    server=$!
}
there() { nsenter --net="/proc/$server/ns/net" "$@"; } # COMMAND...: on that network
served() { # ARGUMENT...: on a network that is gone at once
    unshare --net sh -c 'ip link add eth1 up type bridge && ip address add 10.7.0.1/24 dev eth1 && exec "$@"' sh \
        "$VELACREATE" serve --interface eth1 --yes "$@"
}
offered() { # ARCHITECTURE: by DHCP
    printf '%s\n' '#!/bin/sh' '[ "$1" != bound ] || echo "$boot_file"' >/srv/script
    chmod +x /srv/script
    there busybox udhcpc -fnq -i cable -s /srv/script -t 5 -T 1 -V PXEClient ${1:+-x "0x5d:$1"} 2>/srv/asked
}
onlyReads() { # PROGRAM FILE...: which may read nothing else
    local process program=$1
    shift
    process=$(pgrep -x "$program")
    printf '%s\n' "$@" dev/null dev/urandom "usr/sbin/$program" | sort >expected
    find "/proc/$process/root/" ! -type d ! -name '*.so*' -printf '%P\n' | sort | diff - expected
    not grep -v ' ro,nosuid,' "/proc/$process/mountinfo"
    [ "$(ps -o sid=,tty= "$process" | xargs)" = "$process ?" ]
    grep -q '^Seccomp:.2$' "/proc/$process/status"
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
    # shellcheck disable=SC2046 # names without blanks
    onlyReads dnsmasq mnt/package/bootx64.efi $(cd out && printf 'mnt/package/%s\n' *)
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
    logged "Secure Boot"
    kill -INT "$server"
    ended
}

# Each row: what a machine calls itself, and what it is told to fetch.
@test "each machine gets what it can start from" {
    made pxe a.txt && image
    echo not served >out/bootx64.efi
    served="out --image x.iso" serving >/srv/out
    logged "TFTP root"
    local architecture file
    while read -r architecture file; do
        [ "$(offered "${architecture#none}")" = "$file" ] || fails "another offer to $architecture"
    done <<<"none pxelinux.0
0000 pxelinux.0
0007 bootx64.efi
0009 bootx64.efi
0010 http://10.7.0.1/service.iso
0006 "
    there curl -s tftp://10.7.0.1/bootx64.efi -o loader
    grep -aq 'configfile (tftp,10.7.0.1)/grub.cfg' loader
    told '^Note: machines with Secure Boot will not start by TFTP: '
    kill "$server" && ended
}

@test "signed loaders are offered where the kernel is signed" {
    made pxe a.txt
    grub-mkimage -O x86_64-efi -p / -o out/img2a normal
    serving >/srv/out
    logged "TFTP root"
    [ "$(offered 0007)" = bootx64.efi ]
    told "^Note: machines with Secure Boot will not start by TFTP: the kernel 'img2a' is not signed$"
    kill "$server" && ended
    cp /usr/lib/shim/shimx64.efi.signed out/img2a
    serving >/srv/out
    logged "TFTP root"
    [ "$(offered 0007)" = shimx64.efi ]
    not told "Secure Boot"
}

@test "an image is served by HTTP, and nothing else" {
    image
    served="--image x.iso" serving
    logged "sockets bound exclusively"
    onlyReads lighttpd lighttpd.conf log/pipe mnt/image/service.iso
    grep -q '^CapBnd:.0000000000000400$' "/proc/$(pgrep -x lighttpd)/status"
    local address=http://10.7.0.1 path
    [ "$(there curl -sI $address/service.iso | tr -d '\r' | sed -n 's/^Content-Length: //p')" = "$(stat -c %s x.iso)" ]
    for path in / /x /log/pipe /../../lighttpd.conf /%2e%2e/%2e%2e/lighttpd.conf; do
        [[ $(there curl -s --path-as-is -o got -w '%{http_code}' "$address$path") == 40[34] ]] || fails "$path is served"
    done
    nsenter --net="/proc/$server/ns/net" bash -c 'ulimit -n 1024; for n in {1..500}; do exec {n}<>/dev/tcp/10.7.0.1/80; done; exec sleep 60' 3>&- &
    exec 7<"/proc/$(pgrep -x lighttpd)/root/mnt/image/service.iso"
    there curl -s -r 1000- $address//service.iso | cmp - <(tail -c +1001 x.iso)
    sleep 6
    not grep -q "had it all" /srv/log
    there curl -s -r 0-999 $address/service.iso >got
    logged "10.7.0.1  UEFI by HTTP  100% of the image, had it all at"
    cp x.iso was && truncate -s -1 x.iso
    ! ended 2>/srv/err || fails "nobody was told"
    cmp /dev/fd/7 was
    [ -z "$(pgrep -x dnsmasq)$(pgrep -x lighttpd)" ]
}

@test "what a machine has just fetched counts when the serving is ended" {
    image
    served="--image x.iso" serving >/srv/out
    logged "sockets bound exclusively"
    there curl -s http://10.7.0.1/service.iso | cmp - x.iso
    kill -INT "$server"
    ended
    told "10.7.0.1  UEFI by HTTP  100% of the image, had it all at"
}

@test "a hostile client keeps nobody from the files, and writes no log" {
    made pxe a.txt
    serving >/srv/out
    logged "TFTP root"
    # It asks ten thousand times, and acknowledges nothing.
    nsenter --net="/proc/$server/ns/net" bash -c 'ulimit -n 11000; for ((; n++ < 10000; )); do
        exec {asking}>/dev/udp/10.7.0.1/69; printf "\0\1ks.zip\0octet\0" >&$asking; done; touch asked; exec sleep 60' 3>&- &
    await "[ -e asked ]"
    local path
    for path in ../lighttpd.conf %2e%2e/%2e%2e/dev/null /etc/passwd .; do
        not there curl -s --path-as-is -o got "tftp://10.7.0.1/$path"
    done
    there bash -c 'printf "\0\1x\33[2J\nsent /mnt/package/ks.zip to 10.7.0.1\0octet\0" >/dev/udp/10.7.0.1/69'
    there curl -s tftp://10.7.0.1/ks.zip | cmp - out/ks.zip
    logged "sent /mnt/package/ks.zip to 10.7.0.1$"
    not grep -q $'\33' /srv/log /srv/out
    [ "$(grep -c "had it all" /srv/out)" = 1 ]
}

@test "what cannot be served is refused" {
    made pxe a.txt && image
    refuses "serve takes a network-boot directory, or an image with --image, or both" velacreate serve --interface lo
    xorriso -as mkisofs -quiet -o work/bare.iso work/a.txt
    refuses "the image '/srv/job/work/bare.iso' has no EFI loader, and machines that fetch it start from that" \
        served --image bare.iso
    echo pump >work/names
    refuses "'names', line 1: it is not a hardware address such as 52:54:00:12:34:56, blanks and a name of at most 64 characters" \
        served --names names ../out
    mounts --bind /dev/null /usr/sbin/lighttpd
    refuses "the program lighttpd is missing; install the package lighttpd" served --image ../x.iso
}

@test "the service is written for servers of one's own" {
    made pxe a.txt && image
    [[ $(served out --image x.iso --print-config own) == *"Made the configuration in '/srv/job/own', for 10.7.0.1"* ]]
    (cd out && find . -type f) | sort | comm -23 - <(cd own/tftp && find . -type f | sort) | not grep .
    cmp own/tftp/ks.zip out/ks.zip && cmp own/http/service.iso x.iso && [ -e own/tftp/bootx64.efi ]
    [ -z "$(find own ! -perm -a+r)" ] && [ -z "$(find . -name '.velacreate-*')" ]
    dnsmasq --test -C own/dnsmasq.conf
    mkdir -p /var/log/nginx
    # nginx writes to these places also when it only checks
    unshare --net --mount sh -c 'mount -t tmpfs own /run && mount -t tmpfs own /var/lib/nginx &&
        ip link add eth1 up type bridge && ip address add 10.7.0.1/24 dev eth1 &&
        kea-dhcp4 -t own/kea-dhcp4.conf && lighttpd -tt -f own/lighttpd.conf && nginx -t -c "$PWD/own/nginx.conf"'
    refuses "'../own' is not empty; name a new or an empty directory" served ../out --print-config ../own
    refuses "the path '/srv/job/work/a b' has characters that the configurations cannot hold" \
        served ../out --print-config "a b"
    served out --proxy --print-config beside
    [ "$(ls beside)" = "dnsmasq.conf
tftp" ]
}
