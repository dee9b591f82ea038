#!/usr/bin/env bats
# Media compared with what would be made now, or with their image.
load words

@test "an image without a difference" {
    made iso a.txt folder
    makes verify --image i.iso a.txt folder
    told "^Verified the image '/srv/job/work/i.iso', .*, no difference, in "
}

@test "an image for PowerPC without a difference" {
    made iso --platform ppc a.txt
    makes verify --platform ppc --image i.iso a.txt
    told 'no difference'
}

@test "a package without a difference" {
    made pxe a.txt folder
    makes verify --pxe ../out a.txt folder
    told "^Verified the network-boot package '/srv/job/out', .*, no difference, in "
}

@test "ordinary users verify, with user namespaces and without" {
    made iso a.txt
    made pxe a.txt
    as=user makes verify --image i.iso a.txt
    told '^Verified the image'
    as=confined makes verify --pxe ../out a.txt
    told '^Verified the network-boot package'
}

@test "a disc, longer than its image, compared with that and with what would be made" {
    image
    cp x.iso disc
    head -c 300k /dev/urandom >>disc
    makes velacreate verify --disc stdio:/srv/job/disc ../x.iso
    told '^Compared the disc in stdio:/srv/job/disc, '
    as=user makes verify --disc stdio:/srv/job/disc a.txt
    told '^Verified the disc in stdio:/srv/job/disc, '
}

@test "update files in the place of the loaders" {
    mkdir -p work/ppc/chrp
    head -c 5000 /dev/urandom >work/efibootimg
    cp work/efibootimg work/ppc/chrp/yaboot
    made iso efibootimg
    output=p.iso made iso --platform ppc ppc
    makes verify --image i.iso efibootimg
    told 'no difference'
    makes verify --platform ppc --image p.iso ppc
    told 'no difference'
}
