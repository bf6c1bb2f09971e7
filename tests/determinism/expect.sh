#!/bin/sh
# Compares the hashes of all outputs with those of other builds. `expect.sh PROGRAM 1 --accept` stores them instead,
# after a change that is meant to change outputs.
# usage: expect.sh OUTPUT_HASHES THREADS [--accept]
set -eu
expected=$(dirname "$0")/outputHashes.expected
if [ "${3-}" = --accept ]; then
    "$1" "$2" >"$expected"
    exit
fi
actual=$(mktemp)
trap 'rm -f "$actual"' EXIT
"$1" "$2" >"$actual"
diff -u "$expected" "$actual" || {
    echo "Outputs changed. If they are meant to: sh $0 $1 $2 --accept" >&2
    exit 1
}
