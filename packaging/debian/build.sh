#!/bin/sh
# Builds the Debian packages from a source archive and lets lintian check them.
# usage: build.sh ARCHIVE DIRECTORY   (the packages end up in DIRECTORY)
set -eu
archive=$(readlink -f "$1")
debian=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$2"
cd "$2"

name=$(basename "$archive" .tar.gz)
rm -rf "$name" ./*.deb ./*.changes ./*.buildinfo
tar -xf "$archive"
mkdir "$name/debian"
cp -R "$debian"/* "$name/debian"
rm "$name"/debian/*.sh
cd "$name"
# debhelper gives the build a home of its own, without the compiler's cache.
if command -v ccache >/dev/null; then
    CCACHE_DIR=$(ccache --get-config cache_dir)
    CCACHE_BASEDIR=$PWD
    export CCACHE_DIR CCACHE_BASEDIR
fi
dpkg-buildpackage -b -us -uc
cd ..
lintian --fail-on error --tag-display-limit 0 ./*.changes
