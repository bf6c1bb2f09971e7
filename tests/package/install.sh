#!/bin/sh
# Builds the libraries alone and installs them into an empty prefix.
# usage: install.sh SOURCE BUILD PREFIX SHARED   (SHARED: ON or OFF)
set -eu
source=$1
build=$2
prefix=$3

rm -rf "$prefix"
# Not optimised, which would take most of the time: the package is under test, not the code.
cmake -G Ninja -S "$source" -B "$build" -D CMAKE_BUILD_TYPE=Release -D CMAKE_CXX_FLAGS_RELEASE=-O0 \
    -D BUILD_SHARED_LIBS="$4" -D VEXA_BUILD_TOOL=OFF -D VEXA_BUILD_EXAMPLES=OFF -D VEXA_BUILD_TESTS=OFF
cmake --build "$build" -j 2
cmake --install "$build" --prefix "$prefix"
