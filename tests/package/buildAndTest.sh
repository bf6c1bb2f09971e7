#!/bin/sh
# Configures, builds and tests an outside project.
# usage: buildAndTest.sh SOURCE BUILD [CMAKE_OPTION...]
set -eu
source=$1
build=$2
shift 2

# Not optimised: the library's own build is.
cmake -G Ninja -S "$source" -B "$build" -D CMAKE_BUILD_TYPE=Release -D CMAKE_CXX_FLAGS_RELEASE=-O0 "$@"
cmake --build "$build" -j 2
ctest --test-dir "$build" --output-on-failure --no-tests=error
