#!/bin/sh
# Compares the installed headers with the list of those that are to be installed.
# usage: headerList.sh PREFIX LIST
set -eu
cd "$1/include"
find . -name '*.h' | sed 's,^\./,,' | LC_ALL=C sort | diff "$2" - || {
    echo "the installed headers (>) are not those of $2 (<)" >&2
    exit 1
}
