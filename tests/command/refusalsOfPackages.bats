#!/usr/bin/env bats
# The tool packages that are refused, and what else a job needs.
load words

@test "the tool package is a zip archive with what a machine starts from, in boot/" {
    local lacks="the tool package 'tool.zip' lacks"
    files w/boot/efibootimg
    mkfifo work/p.zip
    package=gone.zip refuses "the tool package 'gone.zip': No such file or directory" iso a.txt
    package=sub refuses "the tool package 'sub' is no file" iso zephyn
    package=p.zip refuses "the tool package 'p.zip' is no file" iso a.txt
    package=a.txt refuses "the tool package 'a.txt' is damaged, or no zip archive: Unrecognized archive format" \
        iso zephyn
    rm work/p.zip
    zip -qr work/p.zip w
    package=p.zip refuses "the tool package 'p.zip' is wrapped in the folder 'w'; pack what is inside it" iso a.txt
    rm work/p.zip
    zip -q work/p.zip work/a.txt
    package=p.zip refuses "the tool package 'p.zip' has no boot/" iso a.txt
    zip -qd work/tool.zip boot/efibootimg boot/ppc/chrp/yaboot boot/pxelinux.0
    refuses "$lacks 'boot/efibootimg'; the image starts from it" iso a.txt
    refuses "$lacks 'boot/ppc/chrp/yaboot'; a PowerPC machine starts from it" iso --platform ppc a.txt
    refuses "$lacks 'boot/pxelinux.0'; a machine on the network starts from it" pxe a.txt
}

@test "a program or a launcher that is missing is named" {
    mounts --bind /dev/null /usr/bin/xorriso
    refuses "the program xorriso is missing; install the package xorriso" iso a.txt
    mounts --bind /dev/null /usr/bin/unzip
    refuses "the program unzip is missing; install the package unzip" pxe a.txt
    VELACREATE_TOOLKIT=/srv/none refuses "the launcher '/srv/none/zip' is missing" pxe a.txt
    mkdir kit
    refuses "the launcher '/srv/job/kit/xorriso' is missing" iso a.txt
}
