#!/bin/sh
# Puts these tests into a directory together with the packages of npm that they use. What was fetched before stays.
# usage: fetch.sh DIRECTORY
set -eu

source=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
cd "$1"
rm -f ./*.js
cp "$source"/*.js "$source/models.txt" "$source/package.json" "$source/.npmrc" .
if cmp -s "$source/package-lock.json" node_modules/.fetched; then
    exit 0
fi
cp "$source/package-lock.json" .
if ! npm ci --fetch-retries 2 --fetch-retry-mintimeout 1000 --fetch-retry-maxtimeout 5000; then
    echo "fetch.sh: the packages of npm that the tests of tests/clients use could not be fetched (see above)." >&2
    echo "Is the npm registry reachable ('npm ping')? Without it, configure with -DVEXA_TEST_NODE=OFF." >&2
    exit 1
fi
cp package-lock.json node_modules/.fetched
