#!/usr/bin/env bats
# A medium checks itself by its list of sums.
load words

# Each row: what is done to a medium with a good list and signature, the arguments, the exit status, and what is told.
compares() { # COMMAND...: the shell
    local cells before arguments status words ended
    mkdir -p good/-x good/sub
    # shellcheck disable=SC2016 # a name that a shell could run
    (cd good && for file in a 'b  c ' '"it'\''s"' '$(touch run)' ünï - --help -x/-f; do echo "$file" >"$file"; done &&
        : >empty && seq 9 >sub/seq && find . -type f -exec sha256sum {} + |
        sed 's,  \./,  ,' >../list && mv ../list medium.sha256)
    signs good/medium.sha256
    makeKey other
    cells=$(sed -E 's/^ +| +$//g; s/ *\| */|/g' "${project:?}/tests/tables/check-medium.txt")
    while IFS='|' read -r before arguments status words; do
        echo "$before | $arguments"
        rm -rf m && cp -r good m
        (cd m && eval "$before")
        ended=0
        eval "$* '$project/demo/check-medium' $arguments" >/srv/out 2>&1 || ended=$?
        [ "$ended" = "$status" ] || fails "the exit status is $ended, not $status"
        isLike "$words" "$(tr '\r' '\n' </srv/out | grep -v -e '^Checking' -e '^$' | paste -sd ';' | sed 's/;/; /g')"
    done <<<"$cells"
    tr '\r' '\n' </srv/out | grep -q '^Checking the medium: [1-9]'
    [ -z "$(find "$TMPDIR" -mindepth 1)" ]
}
line() { # PATH: behind the list
    printf '%064d  %s\n' 0 "$1" >>medium.sha256
}

@test "with dash and the programs of Debian" { compares dash; }
@test "with BusyBox alone" {
    mkdir programs
    busybox --install -s "$PWD/programs"
    ln -s /usr/bin/minisign programs
    compares env PATH="$PWD/programs" sh
}
