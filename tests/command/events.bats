#!/usr/bin/env bats
# What a program can read while a call runs.
# shellcheck disable=SC2086,SC2154 # calls are words, and some variables are of words.bash or of a call
load words

heldAgainstPage() { "${project:?}/tests/eventsOf" "${1:-/srv/events}" || fails "$(cat "${1:-/srv/events}")"; }
inShort() {
    perl -MJSON::PP -ne '$e = decode_json($_);
        print join(" ", map { $e->{$_} // () } qw(event medium result status reason)), "\n"' /srv/events
}
ending() { # LINE...: the ends, in short
    diff <(inShort | sed -n 's/^end //p') <(printf '%s\n' "$@")
}
# A call whose events are as the page tells, and have the stages that are shown.
tells() { # CALL...
    rm -f /srv/events
    "$@" --events /srv/events
    heldAgainstPage
    diff <(sed -nE 's/^(.*: )?(.*)\.\.\.$/\2/p' /srv/out) <(sed -n 's/.*"stage":"\([^"]*\)"}$/\1/p' /srv/events)
}
reported() { # COUNT TEXT...: on lines of the report
    local text lines
    lines=$(cat /srv/report)
    for text in "${@:2}"; do lines=$(grep -F -- "$text" <<<"$lines"); done
    [ "$(wc -l <<<"$lines")" = "$1" ] || fails "$(cat /srv/report)"
}

@test "media that are made, burned, compared and served" {
    image
    kit 'sleep 0.6'
    head -c 5m /dev/urandom >work/big
    local sum
    tells makes iso --report /srv/report a.txt big
    ending 'made 0'
    grep -q '"event":"progress","done":[0-9]*,"expected":5' /srv/events
    sum=$(sha256sum <work/i.iso)
    reported 1 '"output":"/srv/job/work/i.iso","size":' '"result":"made"' '"updates":[{"place":"a.txt"' "\"sha256\":\"${sum%% *}\"}"
    mv /srv/report /srv/first
    tells makes pxe --report /srv/report a.txt
    ending 'made 0'
    sum=$(sha256sum <out/ks.zip)
    reported 1 '"output":"/srv/job/out"' '"place":"a.txt"' "\"sha256\":\"${sum%% *}\"}"
    tells makes verify --pxe ../out a.txt
    ending 'same 0'
    tells makes velacreate burn ../x.iso stdio:/srv/job/disc --report /srv/report
    ending 'made 0'
    sum=$(sha256sum <x.iso)
    reported 1 '"node":"stdio:/srv/job/disc"' "\"sha256\":\"${sum%% *}\"}"
    tells makes iso --force --burn stdio:/srv/job/disc --report /srv/report a.txt
    ending "the image '/srv/job/work/i.iso' made 0" 'the disc in stdio:/srv/job/disc made 0' 'made 0'
    reported 2 '"result":"made"' '"node":"stdio:/srv/job/disc"'
    tells ends 3 verify --image ../x.iso zephyn
    inShort | grep -qx "end different 3 differs from what would be made now (3): .*"
    kit '' 'exit 1'
    rm disc
    tells ends 111 velacreate burn ../x.iso stdio:/srv/job/disc --report /srv/report
    inShort | grep -q '^end failed 111 the disc cannot be burned (111)'
    reported 1 '"result":"failed","status":111'
    "$project/demo/clone-image" init1.img 130 255 63
    zip -qj work/tool.zip init1.img
    changed='-name k.img*' tells ends 0 usb --output k.img a.txt
    ending 'made 0'
    unshare --net sh -c 'ip link add eth1 up type bridge && ip address add 10.7.0.1/24 dev eth1 && exec "$@"' sh \
        "$VELACREATE" serve out --interface eth1 --yes --events /srv/served &
    await 'grep -q begin /srv/served'
    sleep 0.5
    kill -INT $!
    wait $!
    heldAgainstPage /srv/served
    grep -q '"event":"end","result":"served","status":0,"seconds":' /srv/served
}

@test "several keys, one of which cannot be one" {
    wholeKeyImage
    disks 3 20
    truncate -s 8M /srv/disk1
    losetup -c "${disks[1]}"
    tells ends 2 velacreate write --any-disk --yes "${disks[@]/#/--device=}" ../key.img
    inShort | sed -n 's/ is smaller.*//; s/^end //p' | sort >/srv/ends
    diff /srv/ends <(printf '%s\n' "${disks[0]} made 0" "${disks[1]} refused 2 ${disks[1]}" "${disks[2]} made 0" 'refused 2' | sort)
    grep -n '"end",' /srv/events | sed -n '1{/refused/!q1}'
    [ "$(grep -c "\"node\":\"${disks[2]}\",.*\"stage\":\"Reading back\"" /srv/events)" = 1 ]
    tells ends 0 velacreate verify "--device=${disks[0]}" "--device=${disks[2]}" ../key.img
    inShort | grep -qx "end ${disks[2]} same 0"
    tells ends 5 velacreate verify --no-signature "--device=${disks[0]}" "--device=${disks[2]}"
    [ "$(inShort | grep -c '^end /dev/.* failed 5 ')" = 2 ]
    tells ends 5 velacreate verify --no-signature "--device=${disks[0]}"
    grep -q "\"event\":\"begin\",\"node\":\"${disks[0]}\"" /srv/events
    printf 'Y' | dd of="${disks[0]}" bs=1 seek=9000 conv=notrunc status=none
    tells ends 3 velacreate verify "--device=${disks[0]}" ../key.img
    inShort | grep -q '^end different 3'
    grep -q "\"node\":\"${disks[0]}\",.*\"result\"" /srv/events
    losetup -d "${disks[@]}"
}

@test "a call that is refused is one end, and a wrong command line is nothing" {
    rm -f /srv/events
    package=gone.zip ends 2 iso --events /srv/events a.txt
    ends 2 iso --events /srv/events gone.txt
    heldAgainstPage
    ending "refused 2 the tool package 'gone.zip': No such file or directory" \
        "refused 2 update file 'gone.txt' is not in '.': No such file or directory"
    local call
    for call in 'iso --fast a.txt' 'iso --yes a.txt' 'iso' 'usb zephyn' 'usb --device x --erase --format never zephyn' \
        'velacreate serve out --interface lo --proxy --range 1,2' 'velacreate verify --disc /dev/null a.txt zephyn' \
        'velacreate verify --trust k.pub --no-signature --image i.iso' 'verify --no-signature --image i.iso'; do
        rm -f /srv/events
        ends 2 $call --events /srv/events
        [ ! -e /srv/events ] || fails "$call"
    done
    for call in 'a.txt a.txt' 'sub/new sub'; do
        package=gone.zip ends 2 iso --events $call
    done
    changed='-name events' package=gone.zip ends 2 iso --directory sub --events events
    [ -s work/events ] || fails "a refused call has no end"
    ends 2 iso --events tool.zip gone.txt
    output=i.iso made iso a.txt
    ends 2 iso --events i.iso a.txt
    ends 2 iso --events i.iso.sha256 a.txt
}

# The rows of the log file, for the other files that a call appends to.
instead() { grep -e --log | sed "s/--log/$option/; s/the log file/$name/; /fifo/d; /verify.*--report/d"; }

@test "what is refused for the log file is refused for the events and the report" {
    option=--events name='the events file' endsAsTold refused-outputs instead
    option=--events name='the events file' endsAsTold refused-media instead
    option=--report name='the report' endsAsTold refused-outputs instead
    option=--report name='the report' endsAsTold refused-media instead
    refuses "the events file 'r' is the log file" iso --log r --events r a.txt
    refuses "the events file 'r' is the report" iso --report ../work/r --events r a.txt
    refuses "the events file '/dev/fd/77': Bad file descriptor" iso --events /dev/fd/77 a.txt
    refuses "the events file '/dev/fd/0' is not open for writing" iso --events /dev/fd/0 a.txt
    refuses "the events file '/dev/fd/7' is the tool package" eval 'iso --events /dev/fd/7 a.txt 7>>tool.zip'
}

@test "a FIFO without a reader, a reader that has ended, and one that comes late" {
    mkfifo /srv/fifo
    makes iso --events /srv/fifo a.txt
    makes eval 'iso --force --events /dev/fd/7 a.txt 7> >(true)'
    makes eval 'iso --force --events /dev/fd/7 a.txt 7> >(cat >/srv/events)'
    heldAgainstPage
    kit 'sleep 0.3'
    (sleep 0.1 && exec cat /srv/fifo >/srv/events) &
    makes iso --force --events /srv/fifo a.txt
    wait $!
    heldAgainstPage
}

@test "a job that is told to end, and a file that is moved away meanwhile" {
    rm -f /srv/events
    kit 'mv /srv/events /srv/earlier; touch /srv/moved; sleep 100'
    ends 130 signalled TERM '[ -e /srv/moved ]' iso --events /srv/events a.txt
    cat /srv/events >>/srv/earlier
    heldAgainstPage /srv/earlier
    ending 'interrupted 130 interrupted (130)'
}
