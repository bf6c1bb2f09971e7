#!/bin/sh
# Compiles every installed header alone and twice in one source.
# usage: headers.sh PREFIX COMPILER
set -eu
cd "$1/include"

count=0
for header in $(find . -name '*.h' | sed 's,^\./,,' | sort); do
    printf '#include <%s>\n#include <%s>\n' "$header" "$header" |
        "$2" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -I. \
            -DBOOST_LOG_DYN_LINK -x c++ - || { echo "does not compile alone: $header" >&2; exit 1; }
    count=$((count + 1))
done
echo "$count headers"
test "$count" -gt 0
