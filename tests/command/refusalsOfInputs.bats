#!/usr/bin/env bats
# The update files that are refused.
load words

@test "update files are there, in their directory, and not all of it" {
    mkdir work/none
    refuses "the directory 'gone': No such file or directory" iso --directory gone a.txt
    refuses "update file 'gone' is not in '.': No such file or directory" iso gone
    refuses "an update file has no name" iso ""
    refuses "there is no update file in what was named" iso none
    refuses "update file '/srv/host/secret' is not below '.'" iso /srv/host/secret
    refuses "update file 'sub/../a.txt' is not named by a path below '.'" iso sub/../a.txt
    refuses "update file '.' is the directory of the update files itself" iso .
}

@test "an update file is a file that can be read, and no link leads to it" {
    ln -s a.txt work/link
    ln -s sub work/linked
    ln -s /srv/host/secret work/folder/inner/link
    refuses "update file 'link' is a link; name the file itself, or put it there" iso link
    refuses "update file 'folder/inner/link' is a link; name the file itself, or put it there" iso folder
    refuses "update file 'linked/d.txt' lies behind a link" iso linked/d.txt
    mkfifo work/sub/fifo
    refuses "update file 'sub/fifo' is neither a file nor a directory" iso sub
    theirs
    chmod 600 work/a.txt
    chown 0:0 work/a.txt
    as=user refuses "update file 'a.txt' cannot be read: Permission denied" iso a.txt
}

@test "an update file fits on the medium, and has a place of its own there" {
    files work/sub/folder/inner/e.txt work/ppc
    truncate -s 4G work/big
    refuses "the update files 'folder/inner/e.txt' and 'sub/folder/inner/e.txt' have one place on the medium" \
        iso folder sub/folder
    refuses "the update file 'ppc' stands where the tool package has a directory" iso ppc
    refuses "'big' has 4.0 GiB; an ISO image holds files of less than 4 GiB" iso big
}

@test "an update file does not have a name that the job, the medium, a shell or a program takes for something else" {
    files work/dd work/boot/x work/sub/boot/x work/pxelinux.0 work/.hidden "work/\$(touch x)" work/$'a\x01b' work/-rf
    for name in dd boot/x sub/boot tool.zip; do
        refuses "update file '$name' has a name that the job uses itself; rename it" iso "$name" a.txt
    done
    refuses "update file 'pxelinux.0' has the name of a boot file, which keeps it off this medium; rename it" \
        iso pxelinux.0
    refuses "update file '.hidden' begins with a dot, which leaves it out of a package; rename it" pxe .hidden
    refuses "update file '\$(touch x)' holds the character \$; rename it" iso "\$(touch x)"
    refuses "update file 'a?b' has a control character in its name; rename it" iso $'a\x01b'
    refuses "update file '-rf' has a name that programs would take for an option; rename it" iso -- -rf
}
