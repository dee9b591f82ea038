#!/usr/bin/env bats
# The options that are refused.
load words

@test "a command, an option or a value that is not there is named" {
    refuses "there is no command 'nothing'; see velacreate --help" velacreate nothing
    refuses "there is no command 'nothing'; see velacreate --help" velacreate nothing --package tool.zip a.txt
    refuses "there is no command 'nothing'; see velacreate --help" velacreate help nothing
    refuses "there is no option '--fast'; see velacreate iso --help" velacreate iso --fast=1 a.txt
    refuses "put --verbose after the command" velacreate --verbose iso
    refuses "--platform: mips not in {linux,ppc}; see velacreate iso --help" iso --platform mips a.txt
    refuses "--log takes a value, which is empty" iso --log "" a.txt
    refuses "--image takes a value, which is empty" usb --image "" a.txt
    refuses "--log takes a value, and '--keep' is none" iso --log --keep a.txt
    refuses "--log may be given once only; see velacreate iso --help" iso --log a --log b a.txt
    refuses "--package may be given once only; see velacreate iso --help" iso --package tool.zip a.txt
}

@test "what a job needs is asked for, and what does not go together is refused" {
    refuses "--output is required; see velacreate iso --help" velacreate iso --package tool.zip a.txt
    refuses "FILE is required; see velacreate iso --help" iso
    refuses "usb takes one of --device, --all, --image" usb zephyn
    refuses "usb takes one of --device, --all, --image" usb --device /dev/null --image a.txt zephyn
    refuses "what would be made now takes a tool package; name it with --package" velacreate verify --image i.iso a.txt
    refuses "--platform goes with --image, --disc" verify --pxe out --platform ppc a.txt
    refuses "a disc is compared with one image, or with a --package and update files" \
        velacreate verify --disc stdio:/srv/job/x.iso a.txt zephyn
}

@test "SOURCE_DATE_EPOCH is a number of seconds that a medium can carry" {
    local why="and no number of seconds from 315532800 (the year 1980) to 4354819198 (2107)"
    for date in "" 0 01700000000 -1 17e8 "1700000000 " 315532799 4354819199 99999999999999999999; do
        SOURCE_DATE_EPOCH=$date refuses "SOURCE_DATE_EPOCH is '$date', $why" iso a.txt
    done
    SOURCE_DATE_EPOCH=x refuses "SOURCE_DATE_EPOCH is 'x', $why" pxe a.txt
}
