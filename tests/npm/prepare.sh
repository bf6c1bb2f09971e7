#!/bin/sh
# Builds the npm package and puts it next to the packages that its tests use, as `npm install` would.
# usage: prepare.sh SOURCE DIRECTORY
set -eu
if ! command -v em++ >/dev/null; then
    echo "skipped: Emscripten is not installed (make deps)"
    exit 77
fi
sh "$1/npm/build.sh" "$2/build"
sh "$1/tests/clients/fetch.sh" "$2" "$1/tests/npm"
rm -rf "$2/node_modules/vexamesh"
cp -R "$2/build/package" "$2/node_modules/vexamesh"
