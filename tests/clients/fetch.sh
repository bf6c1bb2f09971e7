#!/bin/sh
# Copies tests that run in Node.js into a directory and installs the npm packages that they use. Packages that are
# already there stay.
# usage: fetch.sh DIRECTORY [SOURCE]   (these tests, or those of another directory)
set -eu

source=${2:-$(cd "$(dirname "$0")" && pwd)}
mkdir -p "$1"
cd "$1"
rm -f ./*.js
for file in "$source"/* "$source/.npmrc"; do
    [ "${file##*/}" = node_modules ] || cp -R "$file" .
done
if cmp -s "$source/package-lock.json" node_modules/.fetched; then
    exit 0
fi
if ! npm ci --fetch-retries 2 --fetch-retry-mintimeout 1000 --fetch-retry-maxtimeout 5000; then
    echo "fetch.sh: the packages of npm that the tests of $source use could not be fetched (see above)." >&2
    echo "Is the npm registry reachable ('npm ping')? Without it, configure with -DVEXA_TEST_NODE=OFF." >&2
    exit 1
fi
cp package-lock.json node_modules/.fetched
