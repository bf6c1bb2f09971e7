#!/bin/sh
# Compiles the module and packs the npm package with it.
# usage: build.sh DIRECTORY   (the package ends up in DIRECTORY/package, and as an archive in DIRECTORY)
set -eu
mkdir -p "$1"
directory=$(cd "$1" && pwd)
npm=$(cd "$(dirname "$0")" && pwd)
cd "$npm/.."

cmake --preset npm
cmake --build --preset npm -j "${JOBS:-2}" --target vexameshWasm
rm -rf "$directory/package" "$directory"/*.tgz
mkdir "$directory/package"
cp -R "$npm/package.json" "$npm/README.md" "$npm/src" LICENSE "$directory/package"
node "$npm/embed.mjs" build/npm/npm/vexamesh.wasm "$directory/package/src/wasm.js"
cd "$directory/package"
npm pack --silent --pack-destination "$directory"
echo "figure: $(cat src/*.js | gzip -9n | wc -c) bytes of scripts with the module, compressed; $(wc -c <"$(echo "$directory"/*.tgz)") of the archive"
