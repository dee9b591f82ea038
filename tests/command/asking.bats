#!/usr/bin/env bats
# What the command tells about itself, and what a technician's day shows.
load words

@test "list shows the disks" {
    makes eval 'velacreate list 2>&1'
    [ -s /srv/out ]
    ends 4 eval 'velacreate list --json >/dev/full'
    last 'what was found could not be shown'
}

@test "identify says that a disk cannot be opened, also to root" {
    [ -b /dev/loop0 ] || skip "there are no loop devices here"
    mounts -t tmpfs -o nodev none /mnt
    cp -a /dev/loop0 /mnt
    mounts --bind /mnt/loop0 /dev/loop0
    ends 0 velacreate identify /dev/loop0
    last '/dev/loop0 cannot be read, so not all is detected: Permission denied'
}

# The options with their values: of a command's help, and of its synopses in the man page.
helped() { # COMMAND
    "${VELACREATE:?}" help "$1" | sed -nE 's/^  (--[^ ]+( [^ ]+)?)  .*/\1/p' | sed 's/,--/\n--/' | sort -u
}
inSynopsis() { # COMMAND
    sed '/^\.Sh DESCRIPTION/q' "$man" |
        awk -v command="$1" '/^\.Nm/ { on = 0 } $1 == ".Cm" { on = $2 == command } on' | options
}
options() {
    sed 's/\\-/-/g' | grep -oE 'Fl -[a-z-]+( (Ar|Cm) [^ ]+)?' | sed -E 's/^Fl -/--/; s/ (Ar|Cm)//' | sort -u
}

@test "the man page has the options and the exit statuses that the command has" {
    local man=${project:?}/docs/man/velacreate.1 command all=$'--help\n--version\n'
    for command in $("$VELACREATE" --help | sed -nE '/^Subcommands/,/^$/s/^  ([a-z]+) .*/\1/p'); do
        diff <(helped "$command") <(inSynopsis "$command")
        all+=$(helped "$command")$'\n'
    done
    [ "$(wc -l <<<"$all")" -gt 50 ]
    diff <(sort -u <<<"$all" | grep .) <(grep '^\.It Fl' "$man" | options)
    diff <("$VELACREATE" --help | sed -nE '/^Exit status/,$s/^ +([0-9]+)  (.*)/\1 \2/p') \
        <(sed -nE '/^\.Sh EXIT STATUS/,/^\.El/{/^\.It /{N;s/^\.It ([0-9]+)\n(.)(.*)\.$/\1 \L\2\E\3/p}}' "$man")
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
    makes completes 'velacreate usb --e' --events --erase --eject
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
## Hundreds of keys
## Keys from an image
## Keys of unknown age
## Many machines
END
}
