#!/usr/bin/env bats
# Images as a user asks for them.
# shellcheck disable=SC2016 # what is quoted is for other shells
load words

@test "an image holds what was named, whatever a shell would take it for, and is read back" {
    touch 'work/[a.txt]' work/x
    makesImage a.txt sub/d.txt folder 'b c.txt' '[a.txt]'
    told '^Made the image ./srv/job/work/i.iso., .* KiB, read back, in [0-5] s$'
    told '^Reading back[.]*$'
    [ "$(stat -c %a work/i.iso)" = 644 ]
}

@test "an image for PowerPC holds what was named, and has both boot records, one with the loader" {
    SOURCE_DATE_EPOCH=1700000000 makes iso --platform ppc a.txt
    xorriso -osirrox on -indev work/i.iso -extract / found >/dev/null 2>&1 || true
    cmp found/a.txt work/a.txt
    cmp found/ppc/chrp/yaboot - <<<ppc/chrp/yaboot
    local types='' entry start
    for entry in 446 462 478 494; do types+=$(od -An -tu1 -j $((entry + 4)) -N 1 work/i.iso); done
    [ "$types" = ' 150  65   0   0' ]
    start=$(od -An -tu4 -j $((462 + 8)) -N 4 work/i.iso)
    cmp -n 16 -i $((start * 512)):0 work/i.iso - <<<ppc/chrp/yaboot
}

@test "files are named from the directory given, by whatever path" {
    makes eval 'cd sub; package=../tool.zip output=../i.iso iso \
        --directory .. a.txt /srv/job/work/zephyn ./sub/d.txt folder/ folder'
    isImage work/i.iso a.txt zephyn sub/d.txt folder
    ln -s /srv/job/work here
    makes iso --force --directory ../here /srv/job/here/a.txt /srv/job/work/zephyn
    isImage work/i.iso a.txt zephyn
}

@test "--directory alone and the path . mean everything in it; an installer further down is noted" {
    files out/1.iso in/a in/.hidden in/sub/zephyn
    SOURCE_DATE_EPOCH=1700000000 output=../out/1.iso makes iso --force --directory ../in a sub .hidden
    SOURCE_DATE_EPOCH=1700000000 output=../out/2.iso makes iso --directory ../in
    SOURCE_DATE_EPOCH=1700000000 output=../out/3.iso makes eval 'cd ../in; package=../work/tool.zip iso ./'
    told "^Note: there is no 'zephyn' at the top .*, but 'sub/zephyn'; --directory says where its path begins$"
    cmp out/1.iso out/2.iso
    cmp out/1.iso out/3.iso
    makes iso zephyn folder
    not told '^Note'
}

@test "a tree may be deep, for UEFI, PowerPC and the network" {
    below work/y d 499
    mkdir out
    output=../out/i.iso makes iso y
    output=../out/p.iso makes iso --platform ppc y
    output=../out/p makes pxe y
}

@test "quotes, dollars and blanks may stand in every path" {
    mkdir -p 'w "x$y` ' 'out/o "$z`'
    cp work/tool.zip "w \"x\$y\` /it's \$a.zip"
    cp work/a.txt 'w "x$y` '
    package="/srv/job/w \"x\$y\` /it's \$a.zip" output="../out/o \"\$z\`/i \"\$b.iso" \
        makes iso --directory "../w \"x\$y\` " a.txt
    isImage 'out/o "$z`/i "$b.iso' a.txt
    output='../out/o "$z`/p "$b' makesPackage a.txt
}

@test "names are read and shown as UTF-8 where no locale is installed" {
    echo more >'work/größe.txt'
    run="hiding /usr/lib/locale" makesImage 'größe.txt' a.txt
    run="hiding /usr/lib/locale" refuses "update file 'größer.txt' is not in '.': No such file or directory" iso --force 'größer.txt'
}

@test "the names of an image and of a package may be as long as a name can be" {
    mkdir out
    output=../out/$(printf %0251d 1).iso makesImage a.txt
    output=../out/$(printf %0251d 1).iso makesImage --force a.txt
    output=../out/$(printf %0255d 1) makesPackage a.txt
}

@test "an old image is replaced and passes on its owner and mode" {
    echo old >work/i.iso
    chmod 640 work/i.iso
    chown 1777:1778 work/i.iso
    makesImage --force a.txt
    [ "$(stat -c '%a %u %g' work/i.iso)" = '640 1777 1778' ]
}

@test "files with names of the job's beside the update files are left alone" {
    mkdir work/boot work/ISOCreation
    echo mine >work/boot/grub.cfg
    (cd work && touch ISOCreation/x stdout.txt dd init1.img xorriso cdrecord minizip .job)
    makesImage a.txt
    makesPackage a.txt
}

@test "the library's messages go to a log, behind what is there, or with --verbose to the terminal" {
    echo before >out
    ln -s . here
    makes iso --log ../here/out a.txt
    [ "$(head -n 1 out)" = before ]
    grep -q '^20..-..-.. ..:..:.. 2 BootableISO::CreateISO() ends successfully$' out
    not told CreateISO
    makes iso --force --verbose a.txt
    told '^BootableISO::CreateISO() ends successfully$'
}

@test "--keep leaves the job directory and says where" {
    mkdir out
    output=../out/i.iso makes iso --keep a.txt
    cmp out/velacreate-*/ISOCreation/a.txt work/a.txt
    told "The job directory was left: /srv/job/$(echo out/velacreate-*)"
}

@test "--no-verify reads nothing back" {
    kit 'echo tampered >ISOCreation/a.txt'
    makes iso --no-verify a.txt
    told ' KiB, in'
    not told 'Reading back'
}

@test "an update file may take the place of a boot file, which is noted; the boot message may be missing" {
    zip -qd work/tool.zip boot/bsb.msg
    echo mine >work/grub.cfg
    makesImage grub.cfg
    told "update file 'grub.cfg' takes the place of a boot file"
}

@test "an ordinary user makes an image and a package, which are theirs, with and without user namespaces" {
    theirs
    local user
    for user in user confined; do
        rm -rf work/i.iso out
        as=$user makesImage a.txt folder
        as=$user makesPackage a.txt folder
        [ "$(stat -c %u work/i.iso out | xargs)" = '1777 1777' ]
    done
    [ ! -e /var/log/Norvane_Support/talo_cli.xml ]
}

@test "the same date makes the same image and package, whoever makes them, where and from what old files" {
    local other="out/o'her:"
    echo x >work/folder/ü
    mkdir -p "$other"
    cp -rp work "$other/w"
    find "$other" -exec touch -d 2001-02-03 {} +
    chmod 600 "$other/w/a.txt"
    chown -R 1777:1777 "$other"
    chmod 2755 "$other"
    export SOURCE_DATE_EPOCH=1700000001
    output=../out/i.iso makesImage a.txt folder sub/d.txt
    output=../out/p makesPackage a.txt folder sub/d.txt
    sleep 1.1
    as=confined TZ=Asia/Tokyo LC_ALL=C makes eval "cd \"../$other/w\"; umask 077
        output=../i.iso iso sub/d.txt folder a.txt && output=../p pxe sub/d.txt folder a.txt"
    cmp out/i.iso "$other/i.iso"
    diff -r out/p "$other/p"
}

@test "--checksum writes a sum that sha256sum checks, in place of the old one" {
    mkdir out
    echo old | tee 'out/o\x.iso' 'out/o\x.iso.sha256'
    output='../out/o\x.iso' makesImage --force --checksum a.txt
    (cd out && sha256sum -c 'o\x.iso.sha256')
    told '^Summing up the image'
    told ", its checksum in '/srv/job/out/o.x.iso.sha256', in "
}

@test "the checksum of an earlier image goes with it, and any other file of that name is noted" {
    mkdir out
    touch 'out/o\x.iso'
    (cd out && sha256sum 'o\x.iso' | tee sum >'o\x.iso.sha256')
    output='../out/o\x.iso' makes iso --force a.txt
    [ ! -e 'out/o\x.iso.sha256' ]
    local other
    for other in 'cat ../sum ../sum' 'tr a-f A-F <../sum' 'sed "s/x.iso/y.iso/" ../sum' 'cut -c 2- ../sum' true; do
        (cd out && mkdir -p old && cd old && eval "$other" >'../o\x.iso.sha256')
        output='../out/o\x.iso' makes iso --force a.txt
        [ -e 'out/o\x.iso.sha256' ]
        told "^Note: '/srv/job/out/o.x.iso.sha256' is of an earlier image$"
    done
}

@test "an image of signed inputs says who signed them, and holds the list that lies among them" {
    mkdir -p work/u/deep
    seq 9 | tee work/u/a 'work/u/deep/b c' >'work/u/deep/b\c'
    (cd work && sha256sum u/a && sha256sum -b ./u/deep/*) | sed -E '2s/^[^ ]*/\U&/; 2s/$/\r/' >list
    mv list work/u/SUMS
    signs work/tool.zip work/u/SUMS
    theirs
    as=user makesImage --trust ../k.pub --sums u/SUMS u
    told "The key '../k.pub' has signed the tool package 'tool.zip': what it is"
    told "The key '../k.pub' has signed the list of sums 'u/SUMS': what it is"
}
