# shellcheck shell=bash
# shellcheck disable=SC2164 # a test ends where a command fails
# The words that the command's tests are written in. A test begins in /srv/job, where work/ has a tool package and the
# update files; the calls run in work/.
project=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
export HOME=/srv/home TMPDIR=/srv/scratch

# The command is run where an ordinary user gets to, too: the build may lie where only root does.
setup_file() {
    mkdir -p /srv/bin
    chown 1777 /srv/bin 2>/dev/null || { echo "these tests run as root only" >&2 && return 1; }
    cp "$VELACREATE" "$LIBRARY" /srv/bin
    cp -r "$project/toolkit" /srv/bin
    export VELACREATE=/srv/bin/velacreate LD_LIBRARY_PATH=/srv/bin
}

# An empty job, and around it what no job must touch: the user's home, and what links of the user's lead to.
setup() {
    mounts=()
    cd /srv
    rm -rf job home host scratch /var/log/Norvane_Support/*
    mkdir -p home host/boot host/inner scratch
    cp -r fixture job
    local file
    for file in home/precious host/secret host/a.txt host/boot/grub.cfg host/inner/e.txt; do echo not yours >$file; done
    chmod 1777 . scratch
    cd job
}

teardown() {
    local place
    for place in "${mounts[@]}"; do umount -l "$place"; done
}

user() { ${run:-} setpriv --reuid=1777 --regid=1777 --clear-groups "$@"; }
# Who may not have user namespaces: in one that allows no other below it, and without rights in it. In a chroot nobody may.
confined() {
    if ! run='' user unshare --user true 2>/dev/null; then
        user "$@"
        return
    fi
    # shellcheck disable=SC2016 # for the inner shell
    user unshare --map-user=1777 --map-group=1777 --keep-caps sh -c 'echo 0 >/proc/sys/user/max_user_namespaces &&
        exec setpriv --inh-caps=-all --ambient-caps=-all "$@"' sh "$@"
}
theirs() { chown -R 1777:1777 /srv/job; }
files() { # PATH...: old ones
    local file
    for file; do mkdir -p "$(dirname "$file")"; echo old >"$file"; done
}

below() { # DIRECTORY NAME LEVELS: a file as deep as that, with all directories of one name
    (for _ in $(seq "$3"); do mkdir -p "$1" && cd "$1" && set -- "$2" "$2"; done; echo deep >f)
}

sums() { # FILE...: writes the list s
    (cd work && sha256sum "$@") >s
}

velacreate() { ${as:-${run:-}} "$VELACREATE" "$@"; }
iso() { velacreate iso --package "${package:-tool.zip}" --output "${output:-i.iso}" "$@"; }
pxe() { velacreate pxe --package "${package:-tool.zip}" --output "${output:-../out}" "$@"; }
usb() { velacreate usb --package "${package:-tool.zip}" "$@"; }
verify() { velacreate verify --package "${package:-tool.zip}" "$@"; }
written() { velacreate write --any-disk --device "$stick" --yes "${@:-../key.img}"; }
made() { (cd work && "$@" >/srv/made); }
image() { made iso a.txt && mv work/i.iso x.iso; }
keyImage() { truncate -s 16M key.img && mkfs.vfat --offset 63 key.img >/dev/null; }
wholeKeyImage() { # with a boot record, a file, and free clusters before it that are not empty
    "$project/demo/clone-image" key.img 16 64 32
    truncate -s 16M key.img
    seq 200000 >gone && seq 30000 >payload
    mcopy -i key.img@@16384 gone ::gone && mcopy -i key.img@@16384 payload ::Payload && mdel -i key.img@@16384 ::gone
}
mapped() { # RANGE...: makes the map of key.img, in which a line of sed changes something before its sum is set
    local range sum zeros text
    zeros=$(printf %064d 0)
    text="<bmap version=\"2.0\"><ImageSize> $(stat -c %s key.img) </ImageSize><BlockSize> 4096 </BlockSize>
        <ChecksumType> sha256 </ChecksumType><BmapFileChecksum> $zeros </BmapFileChecksum><BlockMap>"
    for range; do
        sum=$(dd if=key.img bs=4096 skip="${range%-*}" count=$((${range#*-} - ${range%-*} + 1)) status=none | sha256sum)
        text+="<Range chksum=\"${sum%% *}\"> $range </Range>"
    done
    text=$(sed "${edit:-}" <<<"$text</BlockMap></bmap>")
    sum=$(printf %s "$text" | sha256sum)
    printf %s "${text/$zeros/${sum%% *}}" >key.img.bmap
}
disks() { # NUMBER MEBIBYTES: full of noise, with a GPT
    local disk
    disks=()
    while [ ${#disks[@]} -lt "$1" ]; do
        disk=/srv/disk${#disks[@]}
        head -c "$2M" /dev/urandom >"$disk"
        printf 'label: gpt\n2048\n' | sfdisk -q "$disk"
        disks+=("$(losetup -f --show "$disk")")
    done
}
clonedImage() { # SECTORS_PER_TRACK: as its clone image is, with nothing else in the package
    "$project/demo/clone-image" key.img 16 64 "$1"
    cp key.img init1.img && zip -qj work/tool.zip init1.img && truncate -s $((16 * 64 * $1 * 512)) key.img
}
stick() { # a disk that is mounted on /mnt
    truncate -s 16M disk && mke2fs -q disk && stick=$(losetup -f --show disk)
    mounts "$stick" /mnt && losetup -d "$stick"
}
spoil() { printf x | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; } # FILE BYTE

# A call that ends well: it says nothing on standard error, and changes nothing but what it is to make.
makes() { # CALL...
    changed="-path job/work/i.iso -o -path job/out -o -path job/disc" ends 0 "$@"
    [ ! -s /srv/err ] || fails "standard error is not empty"
}
makesImage() { # [OPTION...] FILE...
    makes iso "$@"
    while [[ $1 == --* ]]; do shift; done
    isImage "work/${output:-i.iso}" "$@"
}
makesPackage() { # [OPTION...] FILE...
    makes pxe "$@"
    while [[ $1 == --* ]]; do shift; done
    isPackage "work/${output:-../out}" "$@"
}
# A call that changes nothing; whatever its end, it leaves no job directory.
ends() { # STATUS CALL...
    local status=0
    state >/srv/before
    (
        trap - DEBUG ERR
        set +eET
        [ ! -d kit ] || export VELACREATE_TOOLKIT=/srv/job/kit
        cd work && "${@:2}"
    ) >/srv/out 2>/srv/err </dev/null 3>&- || status=$?
    [ "$status" = "$1" ] || fails "the exit status is $status, not $1"
    state | diff /srv/before - || fails "that was changed"
    ! find /srv -name '.velacreate-*' | grep . || fails "a job directory was left"
}
refuses() { # MESSAGE CALL...
    ends 2 "${@:2}"
    last "$1"
}
# Each row of a table: what is made before, a call that changes nothing, its exit status, and its last words; then, unless
# that cell is empty, what was told before them, from the reading back on. A * stands for any.
endsAsTold() { # TABLE [FILTER]
    local cells rows row before call status words list
    cells=$("${2:-cat}" <"$project/tests/tables/$1.txt" | sed -E 's/^ +| +$//g; s/ *\| */|/g')
    mapfile -t rows <<<"$cells"
    for row in "${rows[@]}"; do
        echo "$row"
        IFS='|' read -r before call status words list <<<"$row"
        teardown
        setup
        eval "$before"
        ends "$status" eval "$call"
        isLike "velacreate: $words" "$(tail -n 1 /srv/err)"
        [ -z "$list" ] ||
            isLike "$list" "$({ sed '1,/^Reading back/d; /^Writing out/d' /srv/out; head -n -1 /srv/err; } |
                paste -sd ';' | sed 's/;/; /g')"
    done
}
isLike() { # PATTERN TEXT
    # shellcheck disable=SC2001,SC2053 # a pattern
    [[ $2 == $(sed 's/[][(?\\]/\\&/g' <<<"$1") ]] || fails "this is not like '$1': $2"
}
state() {
    (
        cd /srv
        cat /proc/self/mounts
        # shellcheck disable=SC2086 # a condition of find's
        all() { find job home host \( ${changed:--false} \) -prune -o "$@"; }
        all -type d -printf '%p %M %u\n' -o -printf '%p %M %u %s %T@ %l\n' | sort
        all -type f -size -1G -print0 | sort -z | xargs -0 md5sum
    )
}
fails() { # WHY
    echo "$1; what was said:"
    cat /srv/out /srv/err
    return 1
}

# What was said: on standard output by a regular expression, on standard error by a text, and there as the last line.
told() { grep -q -- "$1" /srv/out || fails "not told: $1"; }
said() { grep -qF -- "$1" /srv/err || fails "not said: $1"; }
last() { [ "$(tail -n 1 /srv/err)" = "velacreate: $1" ] || fails "not the last line: velacreate: $1"; }
shown() { SHOWN=$1 perl -0777 -ne 'exit !/$ENV{SHOWN}/s' /srv/out || fails "not shown: $1"; } # anywhere in all of it
not() { # WORD...: what must not hold
    if "$@" >/srv/answer; then fails "and yet: $*"; fi
}
await() { # CONDITION
    for _ in $(seq 500); do ! eval "$1" >/dev/null || return 0; sleep 0.01; done
    return 1
}

# Parts of a call: one that a signal is sent to once a condition holds, and one after which something is put right.
signalled() { # SIGNAL CONDITION CALL...
    run="exec" "${@:3}" &
    await "$2"
    kill "-$1" $!
    wait $!
}
undoing() { # COMMAND CALL...
    local status=0
    "${@:2}" || status=$?
    eval "$1"
    return $status
}

# A call on a terminal, where something is typed once a text has appeared; all that appears counts as standard output.
onTerminal() { # WIDTH [TEXT ANSWER] -- CALL...
    local width=$1 text='' answer=''
    [ "$2" = -- ] || { text=$2 answer=$3 && shift 2; }
    { [ -z "$text" ] || await "grep -qF '$text' /srv/out"; printf %s "$answer"; } |
        TERM=xterm SHELL=/bin/bash script -qec "stty cols $width; . ${BASH_SOURCE[0]@Q}; run=exec; ${*:3}" /dev/null
}

# Signatures.
makeKey() { # NAME: NAME.key, without a pass phrase, and NAME.pub
    minisign -G -W -s "$1.key" -p "$1.pub" >/dev/null
}
sign() { # KEY [OPTION] FILE: with a comment
    minisign -S -s "$1.key" -t "${comment-what it is}" "${@:2:$#-2}" -m "${!#}" >/dev/null
}
signs() { # FILE...: by the key k
    [ -e k.pub ] || makeKey k
    local file
    for file; do sign k "$file"; done
}
listed() { # KEY DIRECTORY: gets a list of its files, which is signed
    (cd "$2" && find . -type f -printf '%P\n' | LC_ALL=C sort | tr '\n' '\0' | xargs -0 sha256sum) >medium.sha256
    mv medium.sha256 "$2" && sign "$1" "$2/medium.sha256"
}
checkable() { # a network-boot directory with a list of its files
    mkdir -p out/inner out/empty
    echo archive >out/ks.zip && echo x >'out/inner/a b'
    makeKey maker && listed maker out
}
checks() { velacreate verify --trust ../maker.pub --pxe ../out "$@"; }

# For the length of a test.
mounts() { # ARGUMENT...: of mount, the place last
    mount "$@"
    mounts+=("${@: -1}")
}
standIn() { # PROGRAM LINE...: does that in the program's place, which is /srv/PROGRAM
    cp "/usr/bin/$1" "/srv/$1"
    printf '%s\n' '#!/bin/sh' "${@:2}" >"/srv/$1.instead"
    chmod +x "/srv/$1.instead"
    mounts --bind "/srv/$1.instead" "/usr/bin/$1"
}

# A call where nothing is at a place.
hiding() { # PLACE COMMAND...
    # shellcheck disable=SC2016 # for the inner shell
    unshare --mount sh -c 'mount -t tmpfs none "$0" && exec "$@"' "$@"
}

# Launchers that do something, then their work; for what the second one does there is no drive but a file. It is asked
# about that before.
kit() { # XORRISO-DOES [CDRECORD-DOES]
    mkdir -p kit
    printf '#!/bin/bash\n%s\nexec /usr/bin/xorriso "$@"' "$(declare -f spoil); $1" >kit/xorriso
    printf '#!/bin/bash\n[[ "$*" == *-checkdrive ]] || { %s\n}\nexec /usr/bin/xorriso -as cdrecord "$@"' "$(declare -f spoil); ${2:-}" >kit/cdrecord
    chmod +x kit/*
}

# p.zip: the fixture's package with one entry more, by a name that no file need have.
odd() { # NAME
    local q
    q=$(LC_ALL=C; printf "%${#1}s" "" | tr ' ' Q)
    cp -n work/tool.zip work/p.zip && echo odd >"$q" && zip -q work/p.zip "$q"
    rename "$q" "$1"
}
rename() { # FROM TO, of one length, wherever it is in p.zip
    FROM=$1 TO=$2 perl -0777 -pi -e 's/\Q$ENV{FROM}/$ENV{TO}/g' work/p.zip
}

# What the shell offers behind a line that is typed.
completes() { # LINE WORD...
    # shellcheck source=/dev/null
    . /usr/share/bash-completion/bash_completion
    # shellcheck source=/dev/null
    . "$project/completion/velacreate"
    # shellcheck disable=SC2317 # only the shell itself may call the real one
    compopt() { :; }
    COMP_LINE=$1 COMP_POINT=${#1}
    read -ra COMP_WORDS <<<"$1"
    [[ $1 != *' ' ]] || COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _velacreate velacreate
    shift
    [ "${COMPREPLY[*]}" = "$*" ] || { echo "offered: ${COMPREPLY[*]}"; return 1; }
}

# Does what the page of a technician's day shows below some headings; a stand-in takes the place of the drive.
day() { # HEADING...
    mkdir ../out
    cp tool.zip ../out
    cd ../out
    "$project/demo/updates" updates >/dev/null
    for heading; do "$project/tests/dayCommands" "$heading"; done | sed 's#/dev/sr0#stdio:/srv/job/disc#' >day.sh
    export -f velacreate
    bash -e day.sh
}

# Makes images while a.txt and folder turn into links and back, over and over; none must hold what these lead to.
underSwapping() { # TIMES
    touch /srv/going
    (while ln -sfn /srv/host/a.txt a.txt && mv folder .aside && ln -s /srv/host folder; do
        cp -p --remove-destination ../a.txt a.txt && rm folder && mv .aside folder
        [ -e /srv/going ] || exit 0
    done) &
    for _ in $(seq "$1"); do
        if iso --force a.txt folder 2>/srv/ended && grep -aq "not yours" i.iso; then touch /srv/leaked; fi
    done
    rm /srv/going
    wait && [ ! -e /srv/leaked ]
}

# What a medium must hold, put together by other means than the library's.
expected() { # FILE...
    rm -rf expected && mkdir expected && unzip -q work/tool.zip "boot/*" -d expected
    mv expected/boot/* expected && rmdir expected/boot
    for file; do
        if [ -d "work/$file" ]; then cp -r "work/$file" expected; else (cd work && cp --parents "$file" ../expected); fi
    done
}
isImage() { # IMAGE FILE...
    local image=$1
    shift
    expected "$@" && rm -rf expected/pxelinux* found
    HOME=/nonexistent xorriso -osirrox on -indev "$image" -extract / found >/dev/null 2>&1 &&
        rm -f found/boot.catalog && diff -r found expected
}
isPackage() { # DIRECTORY FILE...
    local directory=$1 loose="bsb.msg bsb1.lss grub.cfg img2a img3a ksrootfs pxelinux.0 splash.xpm.gz unicode.pf2"
    shift
    expected "$@" && rm -rf found && mkdir found && unzip -q "$directory/ks.zip" -d found
    for file in $loose; do cmp "$directory/$file" "expected/$file" || return 1; done
    [ "$(cd "$directory" && LC_ALL=C && printf "%s " * .[!.]*)" = "${loose/ksrootfs/ks.zip ksrootfs} .[!.]* " ] &&
        (cd expected && rm -rf pxelinux* img* ksrootfs bsb* splash* unicode* efibootimg isolinux.bin) && diff -r found expected
}
