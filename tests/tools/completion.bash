# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Fails unless what the shell offers is what a user expects; $1 is the folder of the completions.

status=0
for tool in zqxml-query zqxml-store zqxml-packet; do
    for file in "$1/$tool"*; do
        # shellcheck source=/dev/null
        source "$file"
    done
done
compopt() { :; }

# expect "what is offered" word... completes the last word.
expect() {
    local expected=$1
    shift
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    "_${1//-/_}"
    if [[ ${COMPREPLY[*]} != "$expected" ]]; then
        echo "$*: offered '${COMPREPLY[*]}', expected '$expected'" >&2
        status=1
    fi
}

expect 'outputs jobs publications books' zqxml-query ''
expect 'jobs' zqxml-query j
expect '' zqxml-query outputs j
expect '--with-publications' zqxml-query jobs --w
expect 'xml' zqxml-query --format x
expect 'table xml text wire json csv' zqxml-query jobs --format =
expect 'json' zqxml-query jobs --format = j
expect '' zqxml-query --key ''
expect 'README.md' zqxml-query outputs --database READ
expect 'create check copy' zqxml-store ''
expect 'README.md' zqxml-store copy x READ
expect '--sample --seed' zqxml-store create x --s
exit $status
