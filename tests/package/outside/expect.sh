#!/bin/sh
# Runs a program and compares its output with a file.
# usage: expect.sh EXPECTED PROGRAM
set -eu
actual=$(mktemp)
trap 'rm -f "$actual"' EXIT
"$2" >"$actual"
diff -u "$1" "$actual"
