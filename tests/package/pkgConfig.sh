#!/bin/sh
# Builds and runs the outside programs with nothing but the compiler and pkg-config.
# usage: pkgConfig.sh BUILD PREFIX [PKG_CONFIG_OPTION...]
set -eu
outside=$(dirname "$0")/outside
build=$1/pkg-config$(basename "$2")
PKG_CONFIG_PATH=$2/lib/pkgconfig:$2/lib/$("$CXX" -print-multiarch)/pkgconfig
export PKG_CONFIG_PATH
shift 2

mkdir -p "$build"
flags=$(pkg-config "$@" --cflags --libs vexaMesh)
libdir=$(pkg-config --variable=libdir vexaMesh)

# usage: check PROGRAM SOURCE...
check() {
    program=$1
    shift
    # shellcheck disable=SC2086  # the flags are words
    "$CXX" -std=c++20 -Wall -Wextra -Werror -o "$build/$program" "$@" $flags -Wl,-rpath,"$libdir"
    sh "$outside/expect.sh" "$outside/$program.expected" "$build/$program"
}

check meshUser "$outside/meshUser.cpp"
check ownBuffer "$outside/ownBuffer.cpp"
check loggingUser "$outside/loggingUser.cpp"
check ownLogger "$outside/ownLogger.cpp" "$outside/printingLogger.cpp"
