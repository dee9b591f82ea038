#!/usr/bin/env bats
# Odd environments, launchers and other programs at work on the same files: none does harm, or changes what is made.
# shellcheck disable=SC2016 # what is quoted is for other shells
load words

@test "closed descriptors take nothing away and hide nothing" {
    local closed
    for closed in '<&-' '>&-' '2>&-' '<&- >&- 2>&-'; do
        rm -rf work/i.iso out
        makes eval "{ iso a.txt folder && pxe a.txt folder; } $closed"
        isImage work/i.iso a.txt folder
        isPackage out a.txt folder
    done
    touch work/pxelinux.0
    ends 2 eval 'iso --force pxelinux.0 <&-'
    said 'keeps it off'
}

@test "ignored and blocked signals change nothing" {
    makes env --ignore-signal=CHLD "$VELACREATE" iso --package tool.zip --output i.iso a.txt
    isImage work/i.iso a.txt
    makes env --block-signal "$VELACREATE" pxe --package tool.zip --output ../out a.txt
    isPackage out a.txt
}

@test "a mask of all rights changes nothing" {
    makes eval 'umask 0777; iso a.txt && pxe a.txt'
    isImage work/i.iso a.txt
    isPackage out a.txt
    [ "$(stat -c %a work/i.iso)" = 644 ]
}

@test "xorriso's start-up file in the home is not read" {
    echo -rollback_end >/srv/home/.xorrisorc
    xorriso -as mkisofs -o out work/folder 2>/dev/null || true
    [ ! -s out ] # else it would spoil nothing
    makesImage a.txt
}

@test "variables that programs and shells heed do not reach them, nor does the search path" {
    files other/ISOCreation/x other/boot/x other/folder/x
    echo 'exit 1' >/srv/host/env
    mkdir bin
    printf '#!/bin/sh\ntouch /srv/host/ran' | tee bin/unzip >bin/cp
    chmod +x bin/*
    local variables='CDPATH=/srv/job/other PATH=/srv/job/bin:$PATH BASH_ENV=/srv/host/env ENV=/srv/host/env GREP_OPTIONS=-v'
    makes eval "export $variables UNZIP='-x boot/grub.cfg' ZIPOPT='-x a.txt'; iso a.txt folder && pxe a.txt folder"
    isImage work/i.iso a.txt folder
    isPackage out a.txt folder
}

@test "links among the user's files with names of the job's lead nothing astray" {
    ln -s /srv/host work/boot
    ln -s /srv/host work/ISOCreation
    local name
    for name in stdout.txt xorriso dd; do ln -s /srv/host/secret "work/$name"; done
    makesImage a.txt
    makesPackage a.txt
}

@test "what turns into a link on the way is not followed: a file, its directory, the output's, the job directory" {
    kit 'mv /srv/job/work/a.txt /srv/job/aside; ln -s /srv/host/a.txt /srv/job/work/a.txt'
    makes undoing 'mv ../aside a.txt' iso a.txt
    isImage work/i.iso a.txt
    rm -r kit work/i.iso
    kit 'mv /srv/job/work /srv/job/aside; ln -s /srv/host /srv/job/work'
    makes undoing 'rm ../work; mv ../aside ../work' iso a.txt
    isImage work/i.iso a.txt
    rm -r kit work/i.iso
    mkdir out
    kit 'mv /srv/job/out /srv/job/aside; ln -s /srv/host /srv/job/out'
    output=../out/i.iso makes undoing 'rm ../out; mv ../aside ../out' iso a.txt
    isImage out/i.iso a.txt
    rm -r kit
    kit '(cd /srv/job/work; own=$(echo .velacreate-*); mv $own /srv/job/out/gone; ln -s /srv/host $own)'
    makes undoing 'rm .velacreate-*' iso a.txt
    isImage work/i.iso a.txt
    rmdir out/gone
}

@test "what has come to the output's place in the meantime is not replaced" {
    kit 'ln -s /srv/host/secret /srv/job/work/i.iso'
    ends 4 undoing 'rm i.iso' iso a.txt
    said "'/srv/job/work/i.iso' was made or changed meanwhile, perhaps by another job"
    rm -r kit
    kit 'cd /srv/job/work; mv i.iso /srv/job/aside; echo other >i.iso; cd - >/dev/null'
    echo old >work/i.iso
    ends 4 undoing 'cat i.iso; mv ../aside i.iso' iso --force a.txt
    told '^other$'
    said 'run this job again, with --force to replace it'
}

@test "what has come to the checksum's place in the meantime is not replaced, and the image taken back" {
    kit 'echo other >/srv/job/work/i.iso.sha256'
    ends 4 undoing 'rm i.iso.sha256' iso --checksum a.txt
    [ ! -e work/i.iso ]
    echo old >work/i.iso
    ends 4 undoing 'rm i.iso.sha256' iso --force --checksum a.txt
    said "'/srv/job/work/i.iso' was not made"
    said "'/srv/job/work/i.iso.sha256' was made or changed meanwhile"
}

@test "jobs side by side do not meet, in a directory that passes on its group" {
    mkdir out
    chmod 2775 out
    makes eval "output=../out/1.iso iso a.txt & output=../out/2.iso iso zephyn folder & output=../out/3 pxe sub/d.txt &
        output=../out/4.iso iso 'b c.txt' & wait -n && wait -n && wait -n && wait -n"
    isImage out/1.iso a.txt
    isImage out/2.iso zephyn folder
    isPackage out/3 sub/d.txt
    isImage out/4.iso 'b c.txt'
}

@test "no image holds what links lead to that take the place of files while jobs run" {
    cp -p work/a.txt .
    makes underSwapping 30
    [ -e /srv/ended ]
}

@test "start-up files among the update files are update files" {
    printf -- '-as mkisofs -V EVIL -o /srv/host/made /srv/host\n' >work/.xorrisorc
    echo 'APPI=EVIL' | tee work/.genisoimagerc >work/.mkisofsrc
    makesImage .xorrisorc .genisoimagerc .mkisofsrc a.txt
    mkdir out
    output=../out/p.iso makes iso --platform ppc .genisoimagerc .mkisofsrc a.txt
    [ "$(dd if=out/p.iso bs=1 skip=33342 count=4 status=none)" != EVIL ]
}

@test "what is mounted in an old package is kept" {
    mkdir -p out/img2a mounted2
    touch out/ks.zip out/ksrootfs
    echo kept >mounted2/precious
    mounts --bind mounted2 out/img2a
    ends 2 pxe --force a.txt
    said "it holds 'img2a'"
}
