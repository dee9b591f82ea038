#!/usr/bin/env bats
# Tool packages that reach for other files; each way in which one is refused is a row of the table of packages.
load words
export package=p.zip

@test "a tilde in a name is no home" {
    # shellcheck disable=SC2088 # no home is meant
    odd '~/x'
    makesImage a.txt
}

@test "an entry outside boot/ does not take the place of an update file" {
    odd 'a.txt'
    makesImage a.txt zephyn
}

@test "an entry's name is the one in the package's directory, whatever stands in front of the entry" {
    odd 'boot/aaaa'
    perl -0777 -pi -e 's/(.*)aaaa/$1..\/x/s' work/p.zip
    makes iso a.txt
    not isImage work/i.iso a.txt
    rm found/aaaa
    diff -r found expected
}
