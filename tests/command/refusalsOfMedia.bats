#!/usr/bin/env bats
# The keys, drives and discs that are refused, and what cannot be compared.
load words

@test "a key is a block device, and takes root's rights" {
    refuses "'a.txt' is not a block device" usb --device a.txt --yes zephyn
    refuses "'/dev/null' is not a block device" usb --device /dev/null --yes zephyn
    refuses "'/dev/null' is not a block device" verify --device /dev/null zephyn
    refuses "'a.txt' is not a block device" velacreate identify a.txt
    local rights="takes root's rights; run this with sudo"
    as=user refuses "a key is mounted and formatted, which $rights" usb --device /dev/null --yes zephyn
    as=user refuses "a key is mounted to be read, which $rights" verify --device /dev/null zephyn
}

@test "the image of a key holds a FAT file system, and takes what that can carry" {
    truncate -s 16M key.img
    mkfs.vfat --offset 63 key.img >/dev/null
    files work/a:b work/folder/A work/folder/a
    truncate -s 17M work/big
    refuses "'a:b' holds the character :, which a FAT file system cannot carry" usb --image ../key.img a:b
    refuses "'folder/A' and 'folder/a' differ only in upper and lower case, which are the same to a FAT file system" \
        usb --image ../key.img folder
    refuses "the files take 17.0 MiB, and '/srv/job/key.img', at byte 32256, holds 15.9 MiB" usb --image ../key.img big
    refuses "an image is not formatted; leave out --format always" usb --image ../key.img --format always a.txt
    refuses "'/srv/job/work/a.txt', at byte 32256, holds no FAT file system" usb --image a.txt zephyn
    refuses "the key image '/srv/job/work/a.txt' holds no FAT file system at byte 32256" verify --key-image a.txt zephyn
}

@test "a drive is one, is named by its path, and is the user's to write to" {
    image
    mknod -m 600 drive b 11 250
    refuses "the drive '/dev/nodrive': No such file or directory" velacreate burn gone.iso /dev/nodrive
    refuses "the drive '/dev/nodrive': No such file or directory" iso --burn /dev/nodrive a.txt
    refuses "the drive '/dev/nodrive': No such file or directory" verify --disc /dev/nodrive a.txt
    refuses "the drive '/dev/null' is no drive" velacreate burn gone.iso /dev/null
    refuses "the drive '/dev/null' is no drive" velacreate verify --disc /dev/null ../x.iso
    refuses "the drive 'stdio:disc' is not named by its path from the root" velacreate burn gone.iso stdio:disc
    for name in '' -x /dev/x{' ',\!,\",\#,\$,\&,\',\(,\),\*,\;,\<,\>,\?,[,\\,\`,\{,\|,\},\~}y; do
        refuses "the drive '$name' has a character in its name that no command can carry" \
            velacreate burn ../x.iso -- "$name"
    done
    refuses "the drive '99,0,0' cannot be used: Cannot open SCSI driver!" iso --burn 99,0,0 a.txt
    as=user refuses "burning needs the right to write to '/srv/job/drive' (root has it, and the group of the drive)" \
        velacreate burn ../x.iso /srv/job/drive
}

@test "an image is whole when it is burned or compared with a disc, and is not its own drive" {
    kit ''
    image
    cp x.iso disc
    truncate -s -150k x.iso
    head -c 700000 /dev/urandom >noise.iso
    local incomplete
    incomplete="'../x.iso' is incomplete: it has $(stat -c %s x.iso) bytes of $(stat -c %s disc)"
    refuses "'gone.iso': No such file or directory" velacreate burn gone.iso stdio:/srv/job/disc
    refuses "'a.txt' does not end in .iso" velacreate burn a.txt stdio:/srv/job/disc
    refuses "'../noise.iso' is no ISO 9660 image" velacreate burn ../noise.iso stdio:/srv/job/disc
    refuses "$incomplete" velacreate burn ../x.iso stdio:/srv/job/disc
    refuses "$incomplete" velacreate verify --disc stdio:/srv/job/disc ../x.iso
    cp disc x.iso
    refuses "the drive 'stdio:/srv/job/x.iso' is the image itself" velacreate burn ../x.iso stdio:/srv/job/x.iso
}

@test "what is compared as an image or a package is one" {
    refuses "'gone.iso': No such file or directory" verify --image gone.iso a.txt
    refuses "'a.txt' is no ISO 9660 image" verify --image a.txt zephyn
    refuses "'gone': No such file or directory" verify --pxe gone a.txt
    refuses "'a.txt' is not a directory" verify --pxe a.txt zephyn
}
