#!/bin/sh
# Writes the help2man include file for the kvproj man page: a COMMANDS
# section holding every command's own --help text, so that the page says what
# "kvproj help CMD" says.   sh tools/man_include.sh KVPROJ OUTPUT
set -eu
kv=$1
out=$2
# The command names: the first word of each synopsis line of the overview.
names=$("$kv" --help | sed -n '/^Commands:/,/^$/p' | sed -n 's/^  \([a-z][a-z0-9-]*\).*/\1/p')
[ -n "$names" ] || { echo "man_include: no commands in '$kv --help'" >&2; exit 1; }
{
    echo '[COMMANDS]'
    for name in $names; do
        echo ".SS \"kvproj $name\""
        echo '.nf'
        # roff: backslashes escaped, lines starting with a dot or quote guarded
        "$kv" help "$name" | sed -e 's/\\/\\e/g' -e "s/^\\([.']\\)/\\\\\\&\\1/"
        echo '.fi'
    done
} >"$out.tmp"
mv "$out.tmp" "$out"
