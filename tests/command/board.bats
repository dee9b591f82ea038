#!/usr/bin/env bats
# A station and its board, on a machine with one USB port and nothing in it.
# shellcheck disable=SC2016 # what is quoted is for other shells
load words

state() { nsenter -t "$station" -n curl -s http://localhost:8080/state; }

@test "a board shows the slots of a station, is started again, and ends with it" {
    local at=/sys/devices/pci0000:00/0000:00:14.0/usb1 station board expected
    expected='{"version":1,"slots":[{"slot":"left","state":"empty"}],'
    expected+='"tally":{"made":0,"already":0,"failed":0,"refused":0},"ends":[]}'
    mounts -t tmpfs none /sys/bus
    mounts -t tmpfs none /sys/devices
    mkdir -p /sys/bus/usb/devices $at/1-0:1.0/usb1-port1
    echo 4 >$at/maxchild
    ln -s $at $at/1-0:1.0 /sys/bus/usb/devices
    echo 'left = usb 1-1 @ pci0000:00/0000:00:14.0' >slots
    unshare --net sh -c 'ip link set lo up && exec "$@"' sh "$VELACREATE" station --package work/tool.zip --directory work \
        --slots slots --board 8080 --yes a.txt >/srv/out 2>/srv/err &
    station=$!
    await '[ "$(state)" = "$expected" ]' || fails "the board shows $(state)"
    shown "The board is shown at 8080"
    board=$(pgrep -P "$station" -U 65534)
    kill -9 "$board"
    await 'pgrep -P "$station" -U 65534' || fails "there is no board any more"
    await '[ "$(state)" = "$expected" ]' || fails "the board shows $(state)"
    kill -INT "$station"
    wait "$station" || fails "the station has ended with $?"
    not pgrep -U 65534
    [ -z "$(ls -A /srv/scratch)" ]
}
