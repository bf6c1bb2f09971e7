#!/bin/sh
# Builds the library for 32-bit x86 with SSE2 and runs its suites. Needs g++-multilib and 32-bit Boost.Log.
# usage: build32.sh BUILD_DIRECTORY
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
cmake -S "$root" -B "$1" -G Ninja -D CMAKE_BUILD_TYPE=Release -D CMAKE_CXX_FLAGS='-m32 -msse2 -mfpmath=sse' \
    -D VEXA_BUILD_TOOL=OFF -D VEXA_BUILD_EXAMPLES=OFF -D VEXA_GOOGLETEST_SOURCE=/usr/src/googletest
cmake --build "$1" -j "${JOBS:-2}" --target meshTests
"$1/tests/meshTests" --gtest_brief=1
