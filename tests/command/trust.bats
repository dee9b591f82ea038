#!/usr/bin/env bats
# Media that are verified by their own lists of sums.
load words

@test "what a list cannot prove is told apart from what differs" { endsAsTold listed-media; }

@test "each medium is verified by the list that it was made with" {
    "${project:?}/demo/clone-image" init1.img 130 255 63 && zip -qj work/tool.zip init1.img
    makeKey maker && makeKey other && mkdir keys && cp ./*.pub keys
    local -x changed="-path job/work/i.iso -o -path job/work/p.iso -o -path job/out -o -name k.img*"
    local call kind
    for call in "image|iso --output i.iso" "image|iso --platform ppc --output p.iso" "pxe|pxe --output ../out" \
        "key-image|usb --output k.img"; do
        kind=${call%%|*}
        ends 0 eval "velacreate ${call#*|} --package tool.zip --sign ../maker.key --title 'Depot 7' a.txt folder"
        ends 0 velacreate verify --trust ../keys "--$kind" "${call##* }"
        told "^Note: signed with '../keys/maker.pub' as 'Depot 7', .*, made at 20..-..-..T..:..:..Z$"
        told "^Note: made from the tool package with the sum $(sha256sum <work/tool.zip | cut -c -64)$"
        [[ $(tail -n 1 /srv/out) == 'Every byte of the '*' is explained by its signed list' ]]
        ends 0 velacreate verify --no-signature "--$kind" "${call##* }"
        told '; this tells of faults only, not of who made it$'
    done
    told '^Every byte of the key image is explained by its list, but its boot code was not compared;'
    spoil work/k.img 3
    ends 3 velacreate verify --trust ../maker.pub --key-image k.img
    told '^what lies before the file system, such as the boot code, is not what was signed$'
}

@test "a list that was made and signed by hand is enough, and its comment is shown without harm" {
    checkable
    ends 0 checks
    told "^Note: signed with '../maker.pub', with the comment 'what it is'$"
    comment=$'\e[31mred\xe2\x80\x8b' sign maker out/medium.sha256
    ends 0 checks
    told "^Note: signed with '../maker.pub', with the comment '?\[31mred\\\\u200b'$"
}
