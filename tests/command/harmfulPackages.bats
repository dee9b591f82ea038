#!/usr/bin/env bats
# Tool packages that reach for other files, pass for options or are damaged.
load words
export package=p.zip

# A package by whose odd entry nothing is made: what is said about it.
refusesEntry() { # NAME MESSAGE
    rm -f work/p.zip
    odd "$1"
    ends 2 iso a.txt
    said "$2"
}
refusesPackage() { # MESSAGE
    ends 2 iso a.txt
    said "$1"
}

@test "a tilde in a name is no home" {
    # shellcheck disable=SC2088 # no home is meant
    odd '~/x'
    makesImage a.txt
}

@test "no entry passes for an option" {
    odd 'boot/-TTsh x'
    refuses "the tool package 'p.zip': 'boot/-TTsh x' has a name that programs would take for an option" pxe a.txt
    refusesEntry '-rf' "'-rf' has a name that programs would take for an option"
}

@test "no entry takes a name of the job's" {
    local name
    for name in xorriso ISOCreation/a.txt tool.zip .job/xorriso; do
        refusesEntry "$name" "'$name' has a name that the job uses itself"
    done
}

@test "an entry outside boot/ does not take the place of an update file" {
    odd 'a.txt'
    makesImage a.txt zephyn
}

@test "no entry has a character that no medium, shell or terminal can carry" {
    refusesEntry $'a.t\x08xt' "'a.t?xt' has a control character in its name"
    refusesEntry $'boot/a\xc2\x9bb' 'has a control character in its name'
    refusesEntry $'boot/a\xffb' 'is not in UTF-8'
    refusesEntry 'a.txt;1' "'a.txt;1' holds the character ;"
    refusesEntry 'boot/a\b' "holds the character \\"
}

@test "no entry leads out of the package" {
    refusesEntry 'boot\..\a.txt' "has a part '..' in its name"
    refusesEntry '../a.txt' "'../a.txt' has a part '..' in its name"
    refusesEntry 'boot/../a.txt' "has a part '..' in its name"
    refusesEntry '/srv/host/x' 'has an absolute name'
    refusesEntry 'boot//x' "has a part '' in its name"
}

@test "no two entries have one place" {
    refusesEntry 'boot/grub.cfg/x' 'lies in what is a file'
    refusesEntry 'boot/grub.cfg' "'boot/grub.cfg' is there twice"
}

@test "an entry's name is the one in the package's directory, whatever stands in front of the entry" {
    odd 'boot/aaaa'
    perl -0777 -pi -e 's/(.*)aaaa/$1..\/x/s' work/p.zip
    makes iso a.txt
    not isImage work/i.iso a.txt
    rm found/aaaa
    diff -r found expected
    rm work/p.zip work/i.iso
    odd 'boot/aaaa'
    perl -0777 -pi -e 's/aaaa/..\/x/' work/p.zip
    refusesPackage p.zip
}

@test "no entry is a link or needs a password" {
    cp work/tool.zip work/p.zip
    mkdir boot
    ln -s /srv/host boot/link
    zip -qy work/p.zip boot/link
    refusesPackage "'boot/link' is neither a file nor a directory"
    cp work/tool.zip work/p.zip
    echo /srv/host >boot/secret
    zip -qP word work/p.zip boot/secret
    refusesPackage "'boot/secret' needs a password"
}

@test "a damaged package is refused" {
    cp work/tool.zip work/p.zip
    perl -0777 -pi -e 's/unicode.pf2\n/unicode.pf3\n/' work/p.zip
    refusesPackage 'cannot be unpacked'
    head -c 2000 work/tool.zip >work/p.zip
    refusesPackage 'is damaged, or no zip archive'
    cp work/tool.zip work/p.zip
    perl -0777 -pi -e 's/(PK\x01\x02.{20}).{4}(.{18}boot\/img2a)/$1\xff\xff\xff\x0f$2/s' work/p.zip
    refusesPackage p.zip
}
