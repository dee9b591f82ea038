#!/usr/bin/env bats
# The update files that are refused; how their names and places are judged is in the table of update files.
load words

@test "update files are there, in their directory, and not all of it" {
    mkdir work/none
    refuses "the directory 'gone': No such file or directory" iso --directory gone a.txt
    refuses "update file 'gone' is not in '.': No such file or directory" iso gone
    refuses "an update file has no name" iso ""
    refuses "there is no update file in what was named" iso none
}

@test "an update file is a file that can be read, and no link leads to it" {
    ln -s /srv/host/secret work/folder/inner/link
    refuses "update file 'folder/inner/link' is a link; name the file itself, or put it there" iso folder
    theirs
    chmod 600 work/a.txt
    chown 0:0 work/a.txt
    as=user refuses "update file 'a.txt' cannot be read: Permission denied" iso a.txt
}

@test "an update file fits on the medium, and has a place of its own there" {
    files work/ppc
    truncate -s 4G work/big
    refuses "the update file 'ppc' stands where the tool package has a directory" iso ppc
    refuses "'big' has 4.0 GiB; an ISO image holds files of less than 4 GiB" iso big
}

@test "an update file does not have a name that the job, the medium, a shell or a program takes for something else" {
    files work/pxelinux.0 work/.hidden "work/\$(touch x)" work/-rf
    refuses "update file 'tool.zip' has a name that the job uses itself; rename it" iso tool.zip a.txt
    refuses "update file 'pxelinux.0' has the name of a boot file, which keeps it off this medium; rename it" \
        iso pxelinux.0
    refuses "update file '.hidden' begins with a dot, which keeps it out of the archive; rename it" pxe .hidden
    refuses "update file '\$(touch x)' holds the character \$; rename it" iso "\$(touch x)"
    refuses "update file '-rf' has a name that programs would take for an option; rename it" iso -- -rf
}
