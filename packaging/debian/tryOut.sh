#!/bin/sh
# Unpacks the packages into a directory, runs what is in them, and builds outside programs against them.
# usage: tryOut.sh PACKAGES DIRECTORY
set -eu
packages=$(cd "$1" && pwd)
rm -rf "$2"
mkdir -p "$2/build"
directory=$(cd "$2" && pwd)
tests=$(cd "$(dirname "$0")/../../tests/package" && pwd)
for package in libvexamesh0 libvexamesh-dev vexamesh python3-vexamesh; do
    dpkg-deb -x "$packages/${package}"_*.deb "$directory"
done
# Packaged libraries find one another only where they are installed.
LD_LIBRARY_PATH=$directory/usr/lib/$(dpkg-architecture -q DEB_HOST_MULTIARCH)
export LD_LIBRARY_PATH

"$directory/usr/bin/vexamesh" --version
PYTHONPATH=$directory/usr/lib/python3/dist-packages /usr/bin/python3 -c \
    'import vexamesh; assert vexamesh.strip([0, 1, 2, 2, 1, 3]).tolist() == [0, 1, 2, 3]'
export CXX=g++
sh "$tests/buildAndTest.sh" "$tests/outside" "$directory/build/cmake" -D CMAKE_PREFIX_PATH="$directory/usr"
sh "$tests/pkgConfig.sh" "$directory/build" "$directory/usr"
