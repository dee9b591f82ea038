#!/usr/bin/env bats
# Jobs that are told to end, and readers that go away: where a job ends, and where it does not.
# shellcheck disable=SC2016 # what is quoted is for other shells
load words

@test "a job that is told to end takes no step more, even if its tool does not care" {
    standIn unzip "trap '' TERM" 'touch /srv/unzipping' 'sleep 1' 'exec /srv/unzip "$@"'
    kit 'touch /srv/home/steps-on'
    local signal
    for signal in TERM INT HUP QUIT; do
        rm -f /srv/unzipping
        ends 130 signalled "$signal" '[ -e /srv/unzipping ]' iso a.txt
        last "interrupted; the image '/srv/job/work/i.iso' was not made"
    done
}

@test "a job that is told to end while it pauses takes no step more" {
    # The pause has ten seconds, and a job that does not end has five until it is killed.
    ends 130 signalled TERM "told 'Copying tools' && sleep 7" iso --pauses a.txt
    not told Extracting
}

@test "a hang-up is nothing to a job under nohup" {
    kit 'sleep 1'
    makes signalled HUP 'told Creating' env --ignore-signal=HUP "$VELACREATE" iso --package tool.zip --output i.iso a.txt
    isImage work/i.iso a.txt
}

@test "a job goes on when nobody reads what it says" {
    unread() { (sleep 0.2 && velacreate "$@") 2>&1 | true; return "${PIPESTATUS[0]}"; }
    makes unread iso --package tool.zip --output i.iso --verbose a.txt
    isImage work/i.iso a.txt
    ends 2 unread iso --package gone.zip --output i.iso --force a.txt
}

@test "a tool whose reader has gone ends quietly" {
    kit 'yes | true; [ "${PIPESTATUS[0]}" = 141 ] || exit 1'
    makesImage a.txt
}
