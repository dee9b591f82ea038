#!/usr/bin/env bats
# Media that differ from what they are compared with, and comparisons that fail.
load words

again="Burn it again, with another disc if it recurs."

# What is told of the differences, all of them.
differs() { # DIFFERENCE[; DIFFERENCE]... CALL...
    ends 3 "${@:2}"
    diff <(sed '1,/^Reading back/d' /srv/out) <(echo "${1//; /$'\n'}") || fails "other differences were told"
}
spoil() { # FILE BYTE
    printf x | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}

@test "what differs in an image is told" {
    local now="what would be made now"
    made iso a.txt folder
    echo more >>work/a.txt
    differs "update file 'a.txt' differs; 'folder' is there, but should not be; update file 'zephyn' is missing" \
        verify --image i.iso a.txt zephyn
    last "the image '/srv/job/work/i.iso' differs from $now (3): update file 'a.txt' differs, and 2 more."
    output=boot.iso made iso a.txt
    mkdir boot
    echo new >boot/img2a
    zip -q work/tool.zip boot/img2a
    ends 3 verify --image boot.iso --verbose a.txt
    [ "$(grep differs /srv/out)" = "boot file 'img2a' differs" ]
}

@test "an image that does not start a machine, or is cut short, is told" {
    local ppc="the CHRP boot record is missing; the PReP boot record is missing"
    output=ppc.iso made iso --platform ppc a.txt
    differs "the boot record is missing" verify --image ppc.iso a.txt
    made iso a.txt
    differs "'boot.catalog' is there, but should not be; $ppc" verify --platform ppc --image i.iso a.txt
    head -c 50000 work/i.iso >work/short.iso
    ends 3 verify --image short.iso a.txt
    told '^it cannot be read to its end: '
    zip -qd work/tool.zip boot/efibootimg
    differs "'efibootimg' is there, but should not be; there is no file 'efibootimg' to start from" \
        verify --image i.iso a.txt
}

@test "what differs in a package is told" {
    local ours="boot file 'grub.cfg' differs; boot file 'img2a' is missing; 'odd' is there, but should not be"
    made pxe a.txt folder
    echo more | tee -a out/grub.cfg >>work/a.txt
    rm out/img2a
    touch out/odd
    differs "$ours; update file 'a.txt' differs; 'folder' is there, but should not be; update file 'zephyn' is missing" \
        verify --pxe ../out a.txt zephyn
    rm out/ks.zip
    differs "$ours; the archive 'ks.zip' is missing" verify --pxe ../out a.txt
    mkfifo out/ks.zip
    differs "$ours; the archive 'ks.zip' is not a file" verify --pxe ../out a.txt
}

@test "what differs in a disc is told" {
    local disc=stdio:/srv/job/disc
    image
    cp x.iso disc
    differs "'a.txt' is there, but should not be; update directory 'folder' is missing" verify --disc $disc folder
    spoil disc 40000
    differs "it differs at byte 40000" velacreate verify --disc $disc ../x.iso
    last "the disc in $disc differs from its image (3): it differs at byte 40000. $again"
    head -c 300001 x.iso >disc
    differs "it ends at byte 300001, and its image has $(stat -c %s x.iso)" velacreate verify --disc $disc ../x.iso
    cp x.iso disc
    spoil disc 34823
    differs "the boot record is missing" verify --disc $disc a.txt
}

@test "a disc is compared once it is burned" {
    image
    kit '' "/usr/bin/xorriso -as cdrecord \"\$@\"; $(declare -f spoil); spoil /srv/scratch/disc 40000; exit"
    differs "it differs at byte 40000" velacreate burn ../x.iso stdio:/srv/scratch/disc
    told '^Made the disc'
    last "the disc in stdio:/srv/scratch/disc differs from its image (3): it differs at byte 40000. $again"
}

@test "a comparison that fails or is interrupted is none" {
    local key="the key image '/srv/job/work/key.img' was not verified"
    mkfs.vfat -C fat 4000 >/dev/null && dd if=fat of=work/key.img bs=32256 seek=1 status=none
    standIn mount '[ ! -e /srv/slow ] || sleep 100' 'echo mounting fails; exit 1'
    ends 4 verify --key-image key.img a.txt
    last "$key: the job could not be finished (4): the key cannot be mounted to be read: mounting fails."
    touch /srv/slow
    endsSaying 130 "interrupted; $key" signalled INT 'told Comparing' verify --key-image key.img a.txt
}
