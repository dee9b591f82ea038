# shellcheck shell=bash
# The words that the front end's tables are written in. A row runs in a shell of its own for each of its cells: first
# what is made before, in /srv/job, then the call, in /srv/job/work, then what must hold, in /srv/job again.
project=$(realpath "$(dirname "${BASH_SOURCE[0]}")/..")
export HOME=/srv/home TMPDIR=/srv/scratch
[ ! -d /srv/job/kit ] || export VELACREATE_TOOLKIT=/srv/job/kit
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
velacreate() { ${as:-${run:-}} "$VELACREATE" "$@"; }
iso() { velacreate iso --package "${package:-tool.zip}" --output "${output:-i.iso}" "$@"; }
pxe() { velacreate pxe --package "${package:-tool.zip}" --output "${output:-../out}" "$@"; }
verify() { velacreate verify --package "${package:-tool.zip}" "$@"; }
made() { (cd work && "$@" >/srv/made); }
image() { made iso a.txt && mv work/i.iso x.iso; }

# Launchers that do something, then their work; for what the second one does there is no drive but a file. It is asked
# about that before.
kit() { # XORRISO-DOES [CDRECORD-DOES]
    mkdir kit
    printf '#!/bin/bash\n%s\nexec /usr/bin/xorriso "$@"' "$1" >kit/xorriso
    printf '#!/bin/bash\n[[ "$*" == *-checkdrive ]] || { :;%s\n}\nexec /usr/bin/xorriso -as cdrecord "$@"' "${2:-}" >kit/cdrecord
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
    # shellcheck source=/dev/null
    . ./day.sh
}

said() { grep -qF -- "$1" /srv/err; }
told() { grep -q -- "$1" /srv/out; }
last() { [ "$(tail -n 1 /srv/err)" = "velacreate: $1" ]; }
logged() { [ "velacreate: $(tail -n 1 "$1" | cut -c 23-)" = "$(tail -n 1 /srv/err)" ]; }
await() { # CONDITION
    for _ in $(seq 500); do ! eval "$1" || return 0; sleep 0.01; done
    return 1
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
