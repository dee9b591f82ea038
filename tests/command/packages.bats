#!/usr/bin/env bats
# Network-boot packages as a user asks for them.
load words

@test "a package holds what was named, and is read back" {
    makes pxe a.txt folder
    isPackage out a.txt folder
    told '^Made the network-boot package ./srv/job/out., .* KiB, read back, in'
}

@test "quotes, dollars and blanks may stand in a package's path" {
    mkdir -p 'out/o "$z`'
    output='../out/o "$z`/p "$b' makes pxe a.txt
    isPackage 'out/o "$z`/p "$b' a.txt
}

@test "a package goes into an empty directory" {
    mkdir out
    makes pxe a.txt
    isPackage out a.txt
}

@test "an old package is replaced and passes on its owner and mode" {
    mkdir out
    echo old >out/ks.zip
    touch out/img2a
    chmod 750 out
    chown 1777:1778 out
    output=../out/ makes pxe --force a.txt
    isPackage out a.txt
    [ "$(stat -c '%a %u %g' out)" = '750 1777 1778' ]
}

@test "an ordinary user makes a package, which is theirs" {
    theirs
    as=user makes pxe a.txt folder
    isPackage out a.txt folder
    [ "$(stat -c %u out)" = 1777 ]
}

@test "an ordinary user makes a package without user namespaces" {
    theirs
    as=confined makes pxe a.txt folder
    isPackage out a.txt folder
}

@test "a package with a date is made where the launchers have no zip among them" {
    kit ''
    SOURCE_DATE_EPOCH=1700000000 makes pxe a.txt
    isPackage out a.txt
}

@test "with a date, an archive does not depend on the order in which its files came" {
    mkdir -p out/1/f out/2/f
    touch out/1/f/a
    touch out/1/f/b
    touch out/2/f/b
    touch out/2/f/a
    zipped() { (cd "../out/$1" && SOURCE_DATE_EPOCH=1700000000 /srv/bin/toolkit/zip -r "/srv/job/out/$1" f); }
    makes zipped 1
    makes zipped 2
    cmp out/1.zip out/2.zip
}
