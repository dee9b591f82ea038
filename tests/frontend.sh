# shellcheck shell=bash
# The words that the tables of the front end's rooms are written in, besides those of command/words.bash.

# work/p.zip: boot/ok and what is named, each file with its last name as its content.
pack() { # ENTRY...
    local entry
    for entry in boot/ok "$@"; do
        mkdir -p "$(dirname "$entry")"
        if [ "${entry%/}" != "$entry" ]; then mkdir -p "$entry"; else printf %s "${entry##*/}" >"$entry"; fi
    done
    # shellcheck disable=SC2086 # options
    zip -qrX ${options:-} work/p.zip boot "$@"
}
# What an archive tells of an entry's size, in its own header and in the directory of all.
claim() { # NAME SIZE
    NAME=$1 SIZE=$2 perl -0777 -pi -e '$size = pack("V", $ENV{SIZE}); $name = quotemeta $ENV{NAME};
        s/(PK\x03\x04.{18}).{4}(.{4}$name)/$1$size$2/s; s/(PK\x01\x02.{20}).{4}(.{18}$name)/$1$size$2/s' work/p.zip
}
claimHuge() { # SIZE: of all entries of an archive that has its sizes in 64 bits
    SIZE=$1 perl -0777 -pi -e '$size = pack("Q<", $ENV{SIZE}); s/(\x01\x00[\x08-\x18]\x00).{8}/$1$size/gs' work/p.zip
}
inArchive() { # PERL-CODE
    perl -0777 -pi -e "$1" work/p.zip
}
deep() { # PARTS
    printf boot
    printf '/d%.0s' $(seq 2 "$1")
}

# What is on disk.
written() { # OFFSET BYTES [FILE]
    printf %b "$2" | dd of="${3:-disk}" bs=1 seek="$1" conv=notrunc status=none
}
filled() { # COMMAND
    "$@" | head -c 1M | dd of=disk bs=1M iflag=fullblock conv=notrunc status=none
}
partitions() { # TABLE LINE...: a line is as sfdisk has it
    printf '%s\n' "label:$1" "${@:2}" | sfdisk -q disk
}
fat() { # LABEL: on the partition that begins at 1 MiB
    mkfs.vfat --offset=2048 -n "$1" disk 512
}

# A byte's place in the boot catalog of an image.
inCatalog() { # OFFSET
    echo $(($(od -An -tu4 -j $((17 * 2048 + 71)) -N 4 medium) * 2048 + $1))
}

# Shows a disk, where nothing of the real ones is to be seen.
asKernel() { # NUMBER NAME SIZE REMOVABLE TYPE
    local at=/sys/block/$2
    mkdir -p "$at/device" && ln -s "$at" "/sys/dev/block/$1"
    echo "$1" >"$at/dev" && echo "$3" >"$at/size" && echo "$4" >"$at/removable" && echo "$5" >"$at/device/type"
}
partitioned() { # 1:2 of a disk called stick
    mkdir -p /sys/block/stick/stick1/holders && ln -s /sys/block/stick/stick1 /sys/dev/block/1:2
    echo 1 >/sys/block/stick/stick1/partition
}
inUse() { # NUMBER PLACE
    echo "1 0 $1 / $2 rw - ext2 none rw" >>/proc/self/mountinfo
}
swapping() { # FILE
    printf 'Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n%s file 9 0 -2\n' "$1" >/proc/swaps
}
