#!/bin/sh
# Runs a program and compares its output with a file.
# usage: expect.sh EXPECTED PROGRAM [ARGUMENT...]
set -eu
actual=$(mktemp)
trap 'rm -f "$actual"' EXIT
expected=$1
shift
"$@" >"$actual"
diff -u "$expected" "$actual"
