#!/bin/sh
# The check of the layers accepts the tool's sources and finds an upward include and a source that prints.
# usage: layers.sh cmake/layers.sh
set -eu
sh "$1"
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
for layer in commands report cli ops io process base; do
    mkdir "$copy/$layer"
done
echo '#include "base/Errors.h"' >"$copy/ops/Good.cpp"
sh "$1" "$copy"
echo '#include "cli/Table.h"' >"$copy/ops/Bad.cpp"
if sh "$1" "$copy"; then
    echo "an include of cli/ in ops/ was accepted" >&2
    exit 1
fi
echo 'void show() { std::cerr << "text"; }' >"$copy/ops/Bad.cpp"
if sh "$1" "$copy"; then
    echo "printing in ops/ was accepted" >&2
    exit 1
fi
