#!/usr/bin/env bats
# Jobs that fail on the way: what is then said. An old output stays as it was.
load words

image="the image '/srv/job/work/i.iso' was not made"
imaging="$image: the image cannot be made (109)"
advice="Check the free space, and that the package is complete."

# What is found wrong when the image is read back, after a launcher that did something.
finds() { # DIFFERENCE[; DIFFERENCE]... LAUNCHER-DOES CALL...
    local differs="the medium, read back, differs from what was to be made (3): ${1%%; *}"
    kit "$2"
    endsSaying 3 "$image: $differs. Make it again, with another stick or disk if it recurs." "${@:3}"
    diff <(head -n -1 /srv/err) <(echo "${1//; /$'\n'}") || fails "other differences were said"
}

@test "an image with wrong files is not kept" {
    finds "update file 'a.txt' differs" 'echo tampered >ISOCreation/a.txt' iso zephyn a.txt folder
    finds "update file 'folder/inner/e.txt' differs" 'echo tampered >ISOCreation/folder/inner/e.txt' iso folder
    finds "update file 'a.txt' differs" 'rm ISOCreation/a.txt; ln -s zephyn ISOCreation/a.txt' iso zephyn a.txt
    finds "update file 'a.txt' differs" 'rm ISOCreation/a.txt; mkdir ISOCreation/a.txt' iso a.txt
    finds "update directory 'folder' is missing" 'rm -r ISOCreation/folder' iso a.txt folder
    finds "boot file 'ksrootfs' differs" 'printf x >>ISOCreation/ksrootfs' iso a.txt
    finds "boot file 'grub.cfg' is missing" 'rm ISOCreation/grub.cfg' iso a.txt
    finds "'empty' is there, but should not be; 'extra' is there, but should not be" \
        'touch ISOCreation/extra; mkdir ISOCreation/empty' iso a.txt
    finds "'extra' is there, but should not be" 'touch ISOCreation/extra' iso --burn stdio:/srv/job/disc a.txt
    files work/i.iso work/i.iso.sha256
    finds "boot file 'grub.cfg' is missing" 'rm ISOCreation/grub.cfg' iso --force a.txt
    finds "update file 'a.txt' differs" 'echo tampered >ISOCreation/a.txt' iso --force --checksum a.txt
    not told Summing
}

@test "an image that was spoilt after it was made is not kept" {
    # shellcheck disable=SC2016 # for the launcher
    local xorriso='/xorriso "$@"'
    local writes='dd of=.job/image.iso bs=1 conv=notrunc'
    finds "update file 'zephyn' differs" "/usr/bin$xorriso; sed -i 's/zephyn$/Zephyn/' .job/image.iso; exit" iso zephyn
    finds "the boot record is missing" "/usr/bin$xorriso; printf x | $writes seek=34823; exit" iso a.txt
    finds "the CHRP boot record is missing; the PReP boot record is missing" \
        "/srv/bin/toolkit$xorriso; printf x | $writes seek=510; exit" iso --platform ppc a.txt
    kit "/usr/bin$xorriso; truncate -s 60k .job/image.iso; exit"
    ends 3 iso a.txt
    said "differs from what was to be made (3): it cannot be read to its end: "
}

@test "a package with wrong files is not kept" {
    kit ''
    printf '#!/bin/sh\necho >extra; exec /usr/bin/zip "$@" extra' >kit/zip
    chmod +x kit/zip
    ends 3 pxe a.txt
    said "'extra' is there"
    rm -r kit
    # shellcheck disable=SC2016 # for the stand-in
    standIn zip 'rm grub.cfg; echo x >>a.txt; touch folder/extra; exec /srv/zip "$@"'
    files out/ks.zip
    ends 3 pxe --force a.txt folder
    said "boot file 'grub.cfg' is missing"
    said "update file 'a.txt' differs"
    said "'folder/extra' is there"
}

@test "what a program says when it fails is passed on" {
    files work/i.iso out/ks.zip
    standIn zip 'echo zip error: no zipping today; exit 1'
    ends 110 pxe --force a.txt
    said "no zipping today"
    kit 'echo no imaging today; exit 1'
    endsSaying 109 "$imaging: no imaging today. $advice" iso --force a.txt
    kit 'echo first; echo xorriso : FAILURE : no ink; echo last; exit 1'
    endsSaying 109 "$imaging: xorriso : FAILURE : no ink. $advice" iso --force a.txt
    standIn unzip 'echo unzipping fails; exit 1'
    ends 102 iso --force a.txt
    last "$image: the tool package cannot be unpacked (102): unzipping fails. Check the free space of the job directory."
}

@test "a program that says nothing when it fails, is killed or makes nothing is no success" {
    kit 'exit 1'
    endsSaying 109 "$imaging. $advice" iso --log /srv/log a.txt
    grep -q '^20..-..-.. ..:..:.. 0 .*BootableISO::CreateISO()' /srv/log
    logged /srv/log
    kit "kill -9 \$PPID; sleep 10"
    endsSaying 109 "$imaging. $advice" iso a.txt
    kit 'exec true'
    ends 4 iso a.txt
    last "$image: the job could not be finished (4): the tool ended without a failure, but made nothing."
}

@test "a full disk ends the job, and is named" {
    mkdir out
    mounts -t tmpfs -o size=1500k none out
    kit 'head -c 2m /dev/zero >/srv/job/out/filler'
    files out/i.iso
    output=../out/i.iso ends 109 undoing 'rm -f ../out/filler' iso --force a.txt
    said "was not made: the image cannot be made (109): no space is left in the job directory. $advice"
}

@test "a disc that cannot be burned is no success" {
    kit '' 'echo the laser is off; exit 1'
    image
    ends 111 velacreate burn /srv/job/x.iso 99,0,0
    said "velacreate: the disc in 99,0,0 was not made: the disc cannot be burned (111): the laser is off. Check "
    said "Command cdrecord[write] failed. In BootableISO::BurnISO()"
}

@test "a signal ends a job, even when a program ignores it" {
    files work/i.iso
    kit 'sleep 100'
    endsSaying 130 "interrupted; $image" signalled INT "told Creating" iso --force a.txt
    kit "trap '' TERM INT; while :; do sleep 1; done"
    endsSaying 130 "interrupted; $image" signalled TERM "told Creating" iso --force a.txt
    theirs
    as=confined endsSaying 130 "interrupted; $image" signalled HUP "told Creating" iso --force a.txt
}

@test "a second Ctrl-C ends the burning of a disc, which is then incomplete" {
    isWarned() { told "DVD media" && kill -INT $! && await 'said "spoil the disc"'; }
    kit '' 'sleep 100'
    image
    endsSaying 130 "interrupted; the disc in stdio:/srv/job/disc is now incomplete" \
        signalled INT isWarned velacreate burn /srv/job/x.iso stdio:/srv/job/disc
}

@test "a job directory that no command can name is refused where mounts cannot be had" {
    local odd="o \"\$z\`"
    mkdir "$odd"
    theirs
    as=confined output="../$odd/i.iso" ends 2 iso a.txt
    said "in its path that no command can carry, and mounts of its own cannot be had; choose another place"
}
