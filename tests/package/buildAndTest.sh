#!/bin/sh
# Configures, builds and tests an outside project.
# usage: buildAndTest.sh SOURCE BUILD [CMAKE_OPTION...]
set -eu
source=$1
build=$2
shift 2

cmake -G Ninja -S "$source" -B "$build" -D CMAKE_BUILD_TYPE=Release "$@"
cmake --build "$build" -j 2
ctest --test-dir "$build" --output-on-failure --no-tests=error
