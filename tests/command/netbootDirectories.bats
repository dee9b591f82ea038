#!/usr/bin/env bats
# Network-boot directories as a user asks for them.
load words

@test "a package goes into an empty directory, holds what was named, and is read back" {
    mkdir out
    output=../out// makesPackage a.txt folder
    told '^Made the network-boot directory ./srv/job/out., .* KiB, read back, in'
}

@test "an old package is replaced and passes on its owner and mode" {
    mkdir out
    echo old >out/ks.zip
    touch out/img2a
    chmod 750 out
    chown 1777:1778 out
    output=../out/ makesPackage --force a.txt
    [ "$(stat -c '%a %u %g' out)" = '750 1777 1778' ]
}

@test "a package with a date is made where the launchers have no zip among them" {
    kit ''
    SOURCE_DATE_EPOCH=1700000000 makesPackage a.txt
}

@test "with a date, an archive does not depend on the order in which its files came" {
    mkdir -p out/1/f out/2/f
    local file
    for file in 1/f/a 1/f/b 2/f/b 2/f/a; do touch "out/$file"; done
    zipped() { (cd "../out/$1" && SOURCE_DATE_EPOCH=1700000000 /srv/bin/toolkit/zip -r "/srv/job/out/$1" f); }
    makes zipped 1
    makes zipped 2
    cmp out/1.zip out/2.zip
}
