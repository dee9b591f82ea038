#!/usr/bin/env bats
# Discs; a file stands in for the drive.
load words

@test "an image is burned quietly, and not compared if told so" {
    image
    kit ''
    makes velacreate burn ../x.iso stdio:/srv/job/disc --quiet --no-verify
    cmp -n "$(stat -c %s x.iso)" x.iso disc
    not told 'Burning the'
    not told Compared
}

@test "iso --burn makes an image, burns it and compares the disc" {
    kit ''
    makes iso --burn stdio:/srv/job/disc a.txt
    cmp -n "$(stat -c %s work/i.iso)" work/i.iso disc
    told 'Burning the CD/DVD media'
    told '^Compared the disc in stdio:/srv/job/disc, .*, no difference, in'
}

@test "one Ctrl-C while a disc is burned only warns" {
    image
    kit '' 'sleep 1'
    changed='-path job/disc' ends 0 signalled INT 'told "DVD media"' \
        velacreate burn /srv/job/x.iso stdio:/srv/job/disc
    cmp -n "$(stat -c %s x.iso)" x.iso disc
    last 'this would spoil the disc; press Ctrl-C once more to end nevertheless'
}

@test "a disc that cannot be compared is to be compared later, by a line ready to be pasted" {
    image
    mv x.iso "it's.iso"
    kit ''
    makes velacreate burn "../it's.iso" 99,0,0
    told "^velacreate verify --disc DEVICE '/srv/job/it'\\\\''s.iso'$"
}
