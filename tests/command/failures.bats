#!/usr/bin/env bats
# Jobs that fail on the way, and comparisons that find differences: what is then said. An old output stays as it was.
load words

@test "jobs that fail or are told to end" { endsAsTold failures; }
@test "media that differ, and comparisons that fail" { endsAsTold differences; }

@test "with --quiet, standard output has only the differences" {
    kit ''
    makes iso --quiet --burn stdio:/srv/job/disc a.txt
    [ ! -s /srv/out ] || fails "that was not quiet"
    ends 3 verify --quiet --image i.iso a.txt zephyn
    diff - /srv/out <<<"update file 'zephyn' is missing"
    last "the image '/srv/job/work/i.iso' differs from what would be made now (3): update file 'zephyn' is missing."
}

@test "the log ends as standard error does" {
    kit 'exit 1'
    ends 109 iso --log /srv/log a.txt
    grep -q '^20..-..-.. ..:..:.. 0 .*BootableISO::CreateISO()' /srv/log
    [ "velacreate: $(tail -n 1 /srv/log | cut -c 23-)" = "$(tail -n 1 /srv/err)" ]
}

@test "a second Ctrl-C ends the burning of a disc, which is then incomplete" {
    isWarned() { told "DVD media" && kill -INT $! && await 'said "spoil the disc"'; }
    kit '' 'sleep 100'
    image
    ends 130 signalled INT isWarned velacreate burn /srv/job/x.iso stdio:/srv/job/disc
    last "interrupted; the disc in stdio:/srv/job/disc is now incomplete"
}
