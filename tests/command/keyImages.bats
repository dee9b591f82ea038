#!/usr/bin/env bats
# Images of keys that are written to sticks as they are.
load words

disks=()
teardown() {
    for disk in "${disks[@]}"; do losetup -d "$disk"; done
}

write() { velacreate write --any-disk --yes "${disks[@]/#/--device=}" "$@"; }
compare() { velacreate verify "${disks[@]/#/--device=}" "$@"; }
differs() { # MESSAGE: the only disk from the image
    ends 3 compare ../key.img
    told "^$1"
}

@test "an image is written to several sticks, read back, and compared; free clusters stay as they were" {
    wholeKeyImage
    disks 2 20
    cp /srv/disk0 /srv/noise
    sum=$(sha256sum <key.img)
    ends 0 write --report /srv/report ../key.img
    told '^2 keys made$'
    shown 'loop.*made, .*read back'
    [ "$(grep -c "\"result\":\"made\".*\"image\":\"${sum%% *}\"}$" /srv/report)" = 2 ]
    for disk in "${disks[@]}"; do
        cmp -n 16384 "$disk" key.img
        mcopy -i "$disk@@16384" ::Payload - | cmp - payload
        [ "$(wipefs "$disk" | wc -l)" = 2 ]
    done
    cmp -i 8388608 -n 8388608 /srv/disk0 /srv/noise
    ends 0 compare ../key.img
    told '^2 keys the same$'
}

@test "a copy without holes, and one with a map, give the same key" {
    wholeKeyImage
    disks 1 20
    cp /srv/disk0 /srv/noise
    ends 0 write ../key.img
    cp /srv/disk0 /srv/after
    cat /srv/noise >"${disks[0]}"
    cat key.img >copy.img
    ends 0 write --no-verify ../copy.img
    cmp /srv/disk0 /srv/after
    mapped 0-4095
    ends 0 write ../key.img
    cmp -n 16M /srv/disk0 key.img
}

@test "what differs is named by its file or area" {
    wholeKeyImage
    disks 1 20
    ends 0 write ../key.img
    file=$(grep -obaF 29999 key.img | tail -n 1)
    for row in "3:the boot record" "9000:the gap before" "16390:the boot sector of" "17000:the table of" \
        "${file%%:*}:'Payload'"; do
        cp /srv/disk0 /srv/sound
        spoil "${disks[0]}" "${row%%:*}"
        differs "${row#*:}.* differs at byte ${row%%:*}$"
        cat /srv/sound >"${disks[0]}"
    done
    truncate -s 20M other && printf 'label: gpt\n' | sfdisk -q other
    tail -c 512 other | dd of="${disks[0]}" bs=512 seek=$((20 * 2048 - 1)) status=none
    differs "bytes 0x13ffe00–0x13ffe07 look like gpt"
    truncate -s 1M /srv/disk0 && losetup -c "${disks[0]}"
    differs "it ends at byte 1048576, and its image has 16777216 bytes"
}
