#!/usr/bin/env bats
# What the command tells about itself, and what a technician's day shows.
load words

@test "list shows the disks" {
    makes eval 'velacreate list 2>&1'
    [ -s /srv/out ]
}

@test "the help names the exit statuses" {
    makes velacreate --help
    told '^ *0  done$'
    told '^ *3  the medium, read back, differs'
    told '^ *109  the image cannot be made$'
    told '^ *130  interrupted$'
}

@test "the version, and the help of a command" {
    makes velacreate --version
    told '^velacreate 1\.[0-9]*\.[0-9]*$'
    makes velacreate help usb
    told '^Usage: velacreate usb'
    told '(default:$'
    not told 'Exit status'
}

@test "Tab completes commands, options, their values and files" {
    mkdir out
    touch out/x.iso
    makes completes 'velacreate v' verify
    makes completes 'velacreate iso --platform=' linux ppc
    makes completes 'velacreate usb --e' --erase --eject
    makes completes 'velacreate pxe --directory=folder inner/' inner/e.txt
    makes completes 'velacreate burn --quiet ../out/' ../out/x.iso
    makes completes 'velacreate iso --package t' tool.zip
}

@test "the day's image and disc are made as its page shows" {
    kit ''
    makes day 'An image for the archive' 'A disc'
    told '^service.iso: OK$'
    cmp -n "$(stat -c %s out/service.iso)" out/service.iso disc
}

@test "the day has no part that no test follows" {
    diff <(grep '^## ' "${project:?}/docs/day.md") - <<'END'
## An image for the archive
## A disc
## Fifty keys
## What lies in the drawer
## A fleet
END
}
