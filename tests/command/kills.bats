#!/usr/bin/env bats
# Jobs that are ended at random moments, as often as KILLS says, the same ones for the same SEED. Here, no process
# belongs to anybody else.
load words

start() { # CALL...: as process $!
    (
        trap - DEBUG ERR INT
        cd work || exit
        run=exec VELACREATE_TOOLKIT=/srv/job/kit "$@"
    ) >/srv/out 2>/srv/err </dev/null 3>&- &
}
countProcesses() { # into $processes, those that have ended aside
    local program
    processes=0
    for program in /proc/[0-9]*/exe; do
        if [ -e "$program" ]; then processes=$((processes + 1)); fi
    done
}
areAllGone() {
    countProcesses
    [ "$processes" = "$here" ]
}
isOld() { if [ "$1" = iso ]; then cmp old.iso work/i.iso; else diff -rq old out; fi; }
isNew() { if [ "$1" = iso ]; then isImage work/i.iso big folder; else isPackage out big folder; fi; }

# Ends a job, and looks whether all is well.
end() { # COMMAND SIGNAL MILLISECONDS
    local status=0
    touch /srv/hangs # a job that nobody ends does not end by itself
    start "$1" --force big folder
    sleep "$(printf '0.%03d' "$3")"
    kill "-$2" $! || true # it has ended
    wait $! || status=$?
    await areAllGone || fails "processes are left: $(ps -e)"
    [[ $status =~ ^(0|130|$((128 + $(kill -l "$2"))))$ ]] || fails "the exit status is $status"
    if [ $status = 0 ] || ! isOld "$1"; then isNew "$1"; fi
    [ "$2" = KILL ] || [ -z "$(find . -name '.velacreate-*')" ] || fails "a job directory was left"
    rm /srv/hangs
    state | diff /srv/first - || fails "that was changed"
    start "$1" --force big folder
    wait $! || fails "the next job fails"
    isNew "$1"
    rm -rf work/.velacreate-* .velacreate-* out
    cp old.iso work/i.iso
    cp -r old out
}

@test "a job that is killed leaves nothing behind, and the old output or the new one, whole" {
    kit '[ ! -e /srv/hangs ] || sleep 60'
    made iso a.txt
    made pxe a.txt
    cp work/i.iso old.iso
    cp -r out old
    head -c 2m /dev/urandom >work/big
    local -x changed='-path job/work/i.iso -o -path job/out -o -path job/found -o -path job/expected -o -name .velacreate-*'
    state >/srv/first
    local commands=(iso pxe) signals=(KILL TERM INT) here processes command signal moment
    countProcesses
    here=$processes
    RANDOM=${SEED:-1}
    for _ in $(seq "${KILLS:-30}"); do
        command=${commands[RANDOM % 2]} signal=${signals[RANDOM % 3]} moment=$((RANDOM % 500))
        echo "$command, $signal after $moment ms"
        end "$command" "$signal" "$moment"
    done
}
