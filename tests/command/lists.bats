#!/usr/bin/env bats
# Media with a list of their files' sums, and its signature.
# shellcheck disable=SC2016,SC2154,SC2164 # words are for eval, variables of words.bash; a failing command ends a test
load words

setup_file() {
    load words
    setup_file
    "${project:?}/demo/clone-image" /srv/init1.img 130 255 63
    minisign -GW -p /srv/own.pub -s /srv/own.key
    minisign -G -p /srv/locked.pub -s /srv/locked.key <<<$'open sesame\nopen sesame'
    chmod 644 /srv/own.key
}
ours=(--sign /srv/own.key --title 'Depot 7, ü')
locked=(--sign /srv/locked.key)

# The list in /srv/found names all files there, as any sha256sum reads it.
isListed() {
    cd /srv/found
    sha256sum --quiet -c medium.sha256
    busybox sha256sum -sc medium.sha256
    find . -type f ! -name 'medium.sha256*' -printf '%P\n' | LC_ALL=C sort | diff - <(cut -c 67- medium.sha256)
    cd ../job
}
isSigned() { # KIND: on 1.1.2024
    isListed
    minisign -VQ -p /srv/own.pub -m /srv/found/medium.sha256 >/srv/comment
    isLike "velacreate $1 2024-01-01T00:00:00Z package:$(sha256sum <work/tool.zip | cut -c -64)*$2 title:Depot 7, ü" \
        "$(cat /srv/comment)"
}
unpacks() { # what was made
    local -x LC_ALL=C.UTF-8
    rm -rf /srv/found
    case $1 in
    usb*) dd if=work/k.img of=/srv/volume bs=512 skip=63 conv=sparse status=none && mcopy -s -i /srv/volume :: /srv/found ;;
    pxe*) cp -r out /srv/found ;;
    *) HOME=/nonexistent xorriso -osirrox on -indev work/i.iso -extract / /srv/found >/dev/null 2>&1 && rm -f /srv/found/boot.catalog ;;
    esac
}
all=("iso|image|--image i.iso" "iso --platform ppc|powerpc-image|--image i.iso" "usb --output k.img|key|--key-image k.img"
    "pxe|netboot|--pxe ../out")

@test "each medium has a list of its files that is signed, and is the same from the same files" {
    zip -qj work/tool.zip /srv/init1.img
    chmod 777 . work
    mkdir -p work/many
    touch work/many/"it's \$x & ü "{1..30} work/many/-c
    export SOURCE_DATE_EPOCH=1704067200
    local call kind medium
    for call in "${all[@]}"; do
        IFS='|' read -r call kind medium <<<"$call"
        local -x changed="-path job/out -o -path job/work/i.iso -o -name k.img*"
        as=user ends 0 eval "$call" '"${ours[@]}"' --force folder a.txt zephyn many
        unpacks "$call"
        isSigned "$kind" "$([[ $call != usb* ]] || echo ' boot:*')"
        mv /srv/found /srv/first
        as=user ends 0 eval "$call" '"${ours[@]}"' --force many folder zephyn a.txt
        unpacks "$call"
        diff -r /srv/found /srv/first
        rm -rf /srv/first
        eval ends 0 verify "$medium" many folder zephyn a.txt
        told '^Note: the list of sums on it is signed, which was not checked; verify --trust does that$'
    done
}

@test "a list alone is no signature, and an image's own sum has its own file" {
    makes iso --manifest a.txt
    unpacks iso
    isListed
    [ ! -e /srv/found/medium.sha256.minisig ]
}

@test "a network-boot directory with a list is replaced, and is served" {
    makes pxe "${ours[@]}" a.txt
    makes pxe --force a.txt
    [ ! -e out/medium.sha256 ]
    makes pxe --force "${ours[@]}" a.txt
    unpacks pxe
    isListed
    makes verify --pxe ../out a.txt
    sed -i 1d out/medium.sha256
    ends 3 verify --pxe ../out a.txt
    told "^file 'medium.sha256' differs$"
    touch out/Medium.sha256
    refuses "'../out' is not empty, and no network-boot directory: it holds 'Medium.sha256'" pxe --force a.txt
}

@test "the pass phrase is asked for once, is not shown, and stays where it is" {
    (while [ ! -e /srv/enough ]; do cat /proc/[0-9]*/cmdline || true; done >/srv/cmdlines 2>/dev/null) &
    kit 'cat /proc/[0-9]*/environ >/srv/environs'
    changed="-path job/work/i.iso -o -name velacreate-* -o -name log" \
        ends 0 onTerminal 100 'The pass phrase of' $'open sesame\n' -- iso "${locked[@]}" --keep --log log a.txt folder
    touch /srv/enough
    wait
    unpacks iso
    minisign -Vqp /srv/locked.pub -m /srv/found/medium.sha256
    grep -aq /proc/self/fd/ /srv/cmdlines
    [ "$(grep -c 'pass phrase' /srv/out)" = 1 ]
    not grep -arlF -e 'open sesame' -e "$(tail -n 1 /srv/locked.key | cut -c 10-60)" \
        /srv/out /srv/cmdlines /srv/environs work /srv/scratch
}

@test "a wrong pass phrase, or none, ends a call before anything is made" {
    ends 2 onTerminal 100 'The pass phrase of' $'open\n' -- iso "${locked[@]}" a.txt
    told "the pass phrase of the secret key '/srv/locked.key' is wrong"
    ends 130 onTerminal 100 'The pass phrase of' $'open\x03' -- iso "${locked[@]}" a.txt
    told 'interrupted; nothing was made'
    ends 7 onTerminal 100 'The pass phrase of' $'open\x03' -- "run=; iso ${locked[*]} a.txt; stty -a; exit 7"
    told ' echo '
    refuses "without a terminal, nobody can type the pass phrase of the secret key '/srv/locked.key'" \
        iso "${locked[@]}" a.txt
    refuses "with --quiet nothing is asked, but the pass phrase of the secret key '/srv/locked.key' must be typed" \
        iso --quiet "${locked[@]}" a.txt
}

