#!/bin/sh
# Fails if a symbol that the library exported at its version is gone: programs built with that version would not start.
# New symbols are allowed. `exports.sh LIBRARY --accept` stores the symbols, after the version was raised in
# CMakeLists.txt, or to add new ones.
# usage: exports.sh LIBRARY [--accept]
set -eu
folder=$(cd "$(dirname "$0")" && pwd)
expected=$folder/exports.txt
version=$(sed -n 's/^project(vexaMesh VERSION \([0-9.]*\).*/\1/p' "$folder/../../CMakeLists.txt")
actual=$(mktemp)
trap 'rm -f "$actual"' EXIT
# Not the inline functions, which a compiler may or may not emit.
nm -D --defined-only "$1" | awk '$2 ~ /[TDBRV]/ { print $3 }' | LC_ALL=C sort >"$actual"
test -s "$actual"

if [ "${2-}" = --accept ]; then
    { echo "version $version"; cat "$actual"; } >"$expected"
    exit
fi
if [ "$(head -n 1 "$expected")" != "version $version" ]; then
    echo "The version is $version now. Store its symbols: sh $0 $1 --accept" >&2
    exit 1
fi
gone=$(sed 1d "$expected" | LC_ALL=C comm -23 - "$actual")
if [ -n "$gone" ]; then
    echo "Gone without a new version:" >&2
    echo "$gone" | c++filt >&2
    exit 1
fi
echo "figure: $(($(wc -l <"$expected") - 1)) symbols of version $version, 0 gone, $(sed 1d "$expected" |
    LC_ALL=C comm -13 - "$actual" | wc -l) new"
