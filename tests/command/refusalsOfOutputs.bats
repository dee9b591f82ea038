#!/usr/bin/env bats
# The places for the medium and the log that are refused.
load words

@test "the output has a name, and a directory with room that can be written to" {
    local long
    long=$(printf %0250d 1).iso
    output=$long refuses "the output '$long.sha256': File name too long" iso --checksum a.txt
    output=i.img refuses "the output 'i.img' does not end in .iso" iso a.txt
    output=. refuses "the output '.' has no name of its own" pxe a.txt
    output=gone/i.iso refuses "the directory of the output 'gone/i.iso': No such file or directory" iso a.txt
    as=user output=/srv/home/i.iso refuses "nothing can be written to '/srv/home': Permission denied" iso a.txt
    mkdir out
    mounts -t tmpfs -o size=3m none out
    truncate -s 1200k work/big
    output=../out/i.iso refuses "the job needs 4.8 MiB in '/srv/job/out', where 3.0 MiB are free" iso big
}

@test "the output does not take the place of what it is made from" {
    local place="the output '/srv/job/work"
    files work/i.iso work/folder/i.iso work/i.iso.sha256
    cp work/tool.zip work/x.iso
    package=x.iso output=x.iso refuses "$place/x.iso' is the tool package" iso --force a.txt
    refuses "$place/i.iso' is one of the update files" iso --force i.iso
    output=folder/i.iso refuses "$place/folder/i.iso' would lie among the update files" iso --force folder
    refuses "$place/i.iso.sha256' is one of the update files" iso --force --checksum i.iso.sha256
    mv work/tool.zip work/i.iso.sha256
    package=i.iso.sha256 refuses "$place/i.iso.sha256' is the tool package" iso --force --checksum a.txt
}

@test "an image or a checksum replaces its like only, and only with --force" {
    files work/i.iso work/j.iso.sha256 work/directory.iso/x work/k.iso.sha256/x
    ln -s /srv/host/secret work/link.iso
    refuses "'i.iso' exists (--force replaces it)" iso a.txt
    output=j.iso refuses "'j.iso.sha256' exists (--force replaces it)" iso --checksum a.txt
    output=link.iso refuses "'link.iso' is no file and cannot be replaced by an image" iso --force a.txt
    output=directory.iso refuses "'directory.iso' is no file and cannot be replaced by an image" iso --force a.txt
    output=k.iso refuses "'k.iso.sha256' is no file and cannot be replaced by a checksum" iso --force --checksum a.txt
}

@test "a package replaces a package only, and only with --force" {
    local other="is not empty, and no network-boot directory: it holds"
    files out/ks.zip programs/ls programs/cp mine/ks.zip mine/mine
    ln -s /srv/host link
    refuses "'../out' holds a network-boot directory (--force replaces it)" pxe a.txt
    output=../link refuses "'../link' is no directory and cannot be replaced by a network-boot directory" pxe --force a.txt
    output=../mine refuses "'../mine' $other 'mine'" pxe --force a.txt
    for place in ../programs ../work; do
        output=$place ends 2 pxe --force a.txt
        said "velacreate: '$place' $other '"
    done
}

@test "the log is a file that can be written, and nothing that the job needs or makes" {
    local medium="is the medium, or in it; choose another"
    ln -s /srv/host/secret log
    mkfifo work/fifo
    mkdir out
    output=old.iso made iso a.txt
    refuses "the log file '/srv/job/gone/log': No such file or directory" iso --log /srv/job/gone/log a.txt
    refuses "the log file '../log' is a link" iso --log ../log a.txt
    refuses "the log file 'sub': Is a directory" iso --log sub a.txt
    refuses "the log file 'fifo': No such device or address" iso --log fifo a.txt
    refuses "the log file 'a.txt' is one of the update files" iso --log a.txt a.txt
    refuses "the log file 'tool.zip' is the tool package" iso --log tool.zip a.txt
    refuses "the log file 'old.iso' $medium" verify --image old.iso --log old.iso a.txt
    refuses "the log file 'i.iso' $medium" iso --log i.iso a.txt
    refuses "the log file 'i.iso.sha256' $medium" iso --checksum --log i.iso.sha256 a.txt
    refuses "the log file '../out/log' $medium" pxe --log ../out/log a.txt
}
