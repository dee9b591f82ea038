#!/usr/bin/env bats
# Discs, with a file in the drive's place; and media compared with what would be made now, or with their image.
load words

@test "an image is burned quietly, and not compared if told so" {
    image
    kit ''
    files disc
    makes velacreate burn ../x.iso stdio:/srv/job/disc --quiet --no-verify --force
    cmp -n "$(stat -c %s x.iso)" x.iso disc
    [ ! -s /srv/out ] || fails "that was not quiet"
}

@test "iso --burn makes an image, burns it and compares the disc" {
    kit ''
    files disc
    makes iso --force --burn stdio:/srv/job/disc a.txt
    cmp -n "$(stat -c %s work/i.iso)" work/i.iso disc
    told 'Burning the CD/DVD media'
    told '^Compared the disc in stdio:/srv/job/disc, .*, no difference, in'
}

@test "one Ctrl-C while a disc is burned only warns" {
    image
    kit '' 'sleep 1'
    changed='-path job/disc' ends 0 signalled INT "told 'DVD media'" \
        velacreate burn /srv/job/x.iso stdio:/srv/job/disc
    cmp -n "$(stat -c %s x.iso)" x.iso disc
    last 'this would spoil the disc; press Ctrl-C once more to end nevertheless'
}

@test "a disc that cannot be compared now is compared by a line that is ready to be pasted" {
    image
    mv x.iso "it's.iso"
    kit ''
    makes velacreate burn "../it's.iso" 99,0,0 --yes
    told 'Everything on it will be lost.'
    told "^velacreate verify --disc DEVICE '/srv/job/it'\\\\''s.iso'$"
}

@test "an image and a package are verified, by ordinary users, too" {
    made iso a.txt folder
    made pxe a.txt folder
    local user
    for user in '' user confined; do
        as=$user makes verify --image i.iso a.txt folder
        told "^Verified the image '/srv/job/work/i.iso', .*, no difference, in "
        as=$user makes verify --pxe ../out a.txt folder
        told "^Verified the network-boot directory '/srv/job/out', .*, no difference, in "
    done
}

@test "a disc, longer than its image, is compared with that and with what would be made" {
    image
    cp x.iso disc
    head -c 300k /dev/urandom >>disc
    makes velacreate verify --disc stdio:/srv/job/disc ../x.iso
    told '^Compared the disc in stdio:/srv/job/disc, '
    as=user makes verify --disc stdio:/srv/job/disc a.txt
    told '^Verified the disc in stdio:/srv/job/disc, '
}

@test "update files in the place of the loaders are verified" {
    mkdir -p work/ppc/chrp
    head -c 5000 /dev/urandom | tee work/efibootimg >work/ppc/chrp/yaboot
    made iso efibootimg
    output=p.iso made iso --platform ppc ppc
    makes verify --image i.iso efibootimg
    told 'no difference'
    makes verify --platform ppc --image p.iso ppc
    told 'no difference'
}
