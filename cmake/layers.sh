#!/bin/sh
# Fails when a source of the tool includes a header of a layer above its own, prints without cli/Console, or includes
# the parser of the command line, which takes long to compile, outside of cli/Flags.
# usage: layers.sh [directory of the tool's sources]
set -eu
cd "${1:-"$(dirname "$0")/../tools/vexamesh"}"

only() { # only what pattern file...: fails when a source other than these has the pattern
    what=$1
    pattern=$2
    shift 2
    if grep -rnE --include='*.h' --include='*.cpp' "$pattern" . | grep -vE "^\./($(echo "$*" | tr ' ' '|')):"; then
        echo "layers: only $* may $what" >&2
        exit 1
    fi
}
only print 'std::(cout|cerr|clog)|[^a-z]f?printf\(' main.cpp cli/Console.cpp
only "include CLI11" '#include <CLI/' cli/Flags.cpp

layers="commands report cli ops io process base"
# shellcheck disable=SC2086  # one word per layer
grep -rn --include='*.h' --include='*.cpp' '^#include "' $layers | awk -v layers="$layers" '
    BEGIN {
        count = split(layers, names, " ")
        for (i = 1; i <= count; ++i) level[names[i]] = i
    }
    {
        split($0, parts, "\"")
        from = $0; sub(/\/.*/, "", from)
        to = parts[2]; sub(/\/.*/, "", to)
        ++includes
        if (!(to in level)) {
            print $0 ": is not in a layer (" layers ")"
            ++wrong
        } else if (level[to] < level[from]) {
            print $0 ": " from "/ must not include " to "/"
            ++wrong
        }
    }
    END {
        print "layers: " includes " includes, " wrong + 0 " upward"
        exit includes == 0 || wrong > 0
    }'
