#!/usr/bin/env bats
# Images of keys, which anybody makes.
load words

# The fixture's package with clone images, which the tests make once.
setup_file() {
    load words
    setup_file
    "${project:?}/demo/clone-image" /srv/init1.img 130 255 63
    "$project/demo/clone-image" /srv/init8.img 1024 64 32
}
withCloneImages() { zip -qj work/tool.zip "${@/#//srv/}"; }
usbImage() { usb --output "${output:-k.img}" "$@"; }
makesKey() { # [OPTION...] FILE...: and it is as the package and the files say
    changed='-name k.img*' ends 0 usbImage "$@"
    while [[ $1 == --force || $1 == --checksum ]]; do shift; done
    changed='-name k.img*' ends 0 verify --key-image "${output:-k.img}" "$@"
}

@test "any user makes an image that holds what was named, with its map and its sum" {
    withCloneImages init8.img init1.img
    : >'work/empty'
    printf '%1300s' x >'work/üß€ 🙂.a.txt'
    mkdir -p work/many
    touch work/many/'a long name of number '{1..300}
    theirs
    as=confined makesKey --checksum folder empty 'üß€ 🙂.a.txt' many zephyn
    told '^Every byte of the key is explained: 11 boot files, 304 update files$'
    cd work
    sha256sum -c k.img.sha256
    sfdisk --verify k.img
    dd if=k.img of=/srv/volume bs=512 skip=63 conv=sparse status=none
    fsck.vfat -n /srv/volume
    mcopy -s -i /srv/volume :: /srv/found
    diff -r many /srv/found/many
    # What the map leaves out is zero, and what it names has no holes.
    blocks=$(sed -n 's/.*> 0-\([0-9]*\) <.*/\1/p' k.img.bmap)
    cmp -i $(((blocks + 1) * 4096)):0 k.img /dev/zero 2>&1 | grep 'EOF on k.img'
    [ "$(stat -c '%b * %B' k.img)" = "$(((blocks + 1) * 8)) * 512" ]
    sed -n 's/.*chksum="\(.*\)".*/\1  -/p' k.img.bmap >/srv/sum
    head -c $(((blocks + 1) * 4096)) k.img | sha256sum -c /srv/sum
    sed 's/\(<BmapFileChecksum> \)[0-9a-f]*/\10000000000000000000000000000000000000000000000000000000000000000/' k.img.bmap |
        sha256sum | grep -qf <(sed -n 's/.*<BmapFileChecksum> \([0-9a-f]*\).*/\1/p' k.img.bmap)
}

@test "the same files make the same image, whoever makes it, wherever and whenever" {
    withCloneImages init1.img
    export SOURCE_DATE_EPOCH=1700000001
    mkdir -p one other/two
    cp -r work/{a.txt,zephyn,folder,sub} one
    for file in zephyn sub folder a.txt; do cp -r "work/$file" other/two; done
    touch -d 2001-01-01 other/two/a.txt
    makesKey --directory ../one
    mv work/k.img* /srv
    theirs
    umask 077
    as="user env TZ=Asia/Tokyo LC_ALL=C" makesKey --directory ../other/two
    cmp work/k.img /srv/k.img
    cmp work/k.img.bmap /srv/k.img.bmap
    unset SOURCE_DATE_EPOCH
    makesKey --force --directory ../one
    not cmp -s work/k.img /srv/k.img
}

@test "the day's image of a key is made and compared" {
    withCloneImages init1.img
    makes day 'Keys from an image'
}

@test "what has come to the map's place in the meantime is not replaced; the old image and its checksum come back" {
    withCloneImages init1.img
    echo old >work/k.img
    (cd work && sha256sum k.img >k.img.sha256)
    cp /usr/sbin/mkfs.fat /srv/mkfs
    printf '#!/bin/sh\necho other >/srv/job/work/k.img.bmap\nexec /srv/mkfs "$@"\n' >/srv/script
    chmod +x /srv/script
    mounts --bind /srv/script /usr/sbin/mkfs.fat
    ends 4 undoing 'rm k.img.bmap' usbImage --force a.txt
    said "'/srv/job/work/k.img.bmap' was made or changed meanwhile"
}

# Columns: what is made before; the call; its exit status; its last words.
@test "what no key can hold, and what is in the way, is refused as for a key" {
    endsAsTold key-images
}
