#!/bin/sh
# Builds the library with two compilers, at three optimisation levels, with and without AVX2, and compares the hashes of
# all outputs with the stored ones, in 1, 2 and 8 threads.
# usage: determinism.sh BUILD_DIRECTORY
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
mkdir -p "$1"
builds=0
for compiler in g++ clang++; do
    for level in -O0 -O2 -O3; do
        for avx2 in ON OFF; do
            build=$1/$compiler$level-$avx2
            cmake -S "$root" -B "$build" -G Ninja -D CMAKE_CXX_COMPILER=$compiler -D CMAKE_BUILD_TYPE=None \
                -D CMAKE_CXX_FLAGS=$level -D VEXA_AVX2=$avx2 -D VEXA_LOGGING=OFF -D VEXA_BUILD_TOOL=OFF -D VEXA_BUILD_EXAMPLES=OFF >"$1/log" &&
                cmake --build "$build" -j "${JOBS:-2}" --target outputHashes >"$1/log" || {
                cat "$1/log" >&2
                exit 1
            }
            for threads in 1 2 8; do
                sh "$root/tests/determinism/expect.sh" "$build/tests/outputHashes" $threads
            done
            builds=$((builds + 1))
        done
    done
done
echo "figure: $builds builds, $(wc -l <"$root/tests/determinism/outputHashes.expected") hashes, all equal"
