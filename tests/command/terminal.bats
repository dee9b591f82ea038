#!/usr/bin/env bats
# What appears on a terminal, and what is typed there.
load words

@test "progress has a line of its own, which makes way for the result" {
    kit '/usr/bin/xorriso "$@"; sleep 1.5; exit 0'
    head -c 20m /dev/zero >work/big
    makes onTerminal 100 -- iso big
    shown '\r\x1b\[KCreating iso file  100%, 20\.[0-9] MiB of 20\.[0-9] MiB, [0-9.]+ MiB/s, 0:00 left\r\n.*\x1b\[1A\r\x1b\[J'"\
Made the image '/srv/job/work/i\.iso', 2[0-9.]+ MiB, read back, in [0-9]+ s\r\n$"
    not shown 'Creating iso file\.\.\.'
}

@test "of files that are zipped, those that were read are counted" {
    standIn zip '/srv/zip "$@"; sleep 0.5'
    head -c 20m /dev/zero >work/big
    makes onTerminal 100 -- pxe big
    shown 'Zipping files  100%, 20\.[0-9] MiB of 20\.[0-9] MiB'
}

@test "progress is cut to a narrow terminal" {
    kit '/usr/bin/xorriso "$@"; sleep 0.5; exit 0'
    head -c 20m /dev/zero >work/big
    makes onTerminal 24 -- iso big
    shown '\x1b\[KCreating iso file  [0-9]+%\r\n'
    not shown '\x1b\[K[^\r\n]{24}'
}

@test "Ctrl-C ends the job and leaves the old image" {
    kit 'sleep 100'
    echo old >work/i.iso
    ends 130 onTerminal 100 'Creating iso file' $'\x03' -- iso --force a.txt
    shown "velacreate: interrupted; the image '/srv/job/work/i\.iso' was not made\r\n$"
    not shown Made
}

@test "a dumb terminal gets plain lines" {
    makes onTerminal 100 -- TERM=dumb iso a.txt
    shown 'Creating iso file\.\.\.\r\n.*Made the image'
    not shown '\x1b'
}

# The answers that are none: each ends the call, and leaves everything as it was.
refusesAllButYes() { # REFUSAL CALL...
    local answer hint
    for answer in no '' ' ' y YES Yes yess 'yes ' ' yes'; do
        [[ $answer != *[yY]* ]] || hint='; only the answer "yes" counts'
        ends 2 onTerminal 100 'Type yes to go on: ' "$answer"$'\n' -- "${@:2}"
        shown "Type yes to go on: .*velacreate: $1${hint:-}\r\n$"
    done
    ends 2 onTerminal 100 'Type yes to go on: ' $'\x04' -- "${@:2}"
    shown "velacreate: $1\r\n$"
    ends 130 onTerminal 100 'Type yes to go on: ' $'\x03' -- "${@:2}"
}

@test "nothing but yes lets a key be changed" {
    [ -e /dev/loop-control ] || skip "there are no loop devices here"
    truncate -s 16M key.img
    local disk
    disk=$(losetup --find --show key.img)
    exec 9<"$disk"
    losetup -d "$disk" # once nobody has it open
    refuses "the clone image 'init1.img' of the package has no fourth partition" \
        velacreate usb --package tool.zip --device "$disk" --any-disk --erase zephyn
    # shellcheck disable=SC2154 # of words.bash
    "$project/demo/clone-image" init1.img 16 64 32
    zip -qj work/tool.zip init1.img
    refusesAllButYes "the key was left as it is" \
        velacreate usb --package tool.zip --device "$disk" --any-disk --erase zephyn
    shown 'velacreate: interrupted; nothing was changed\r\n$'
    refuses "with --quiet nothing is asked; add --yes" \
        velacreate usb --quiet --package tool.zip --device "$disk" --any-disk --erase zephyn
    refuses "without a terminal, only --yes lets a key be changed" \
        velacreate usb --package tool.zip --device "$disk" --any-disk --erase zephyn
}

@test "nothing but yes lets addresses be handed out" {
    made pxe a.txt
    serving() {
        unshare --net sh -c 'ip link add eth1 up type bridge && ip address add 10.7.0.1/24 dev eth1 && exec "$@"' sh \
            timeout --foreground 20 "$VELACREATE" serve --interface eth1 --log /srv/log ../out
    }
    export -f serving
    refusesAllButYes "nothing was served" serving
    shown 'velacreate: interrupted; nothing was served\r\n$'
    grep -q 'Every machine on eth1' /srv/log && grep -q 'Type yes to go on:' /srv/log && grep -q 'nothing was served' /srv/log
    refuses "without a terminal, only --yes lets addresses be handed out" serving
}
