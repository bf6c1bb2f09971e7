#!/bin/sh
# Builds the library without logging, which needs no Boost, for another system or standard library, and runs its suites
# there: all except those that cannot run there. Without the names of some, runs meshTests, allocationTests and
# outputHashes.
# usage: elsewhere.sh 32bit|bigEndian|libcxx|windows BUILD_DIRECTORY [SUITE...]
set -eu
system=$1
build=$2
shift 2
suites=${*:-meshTests allocationTests outputHashes}
root=$(cd "$(dirname "$0")/../.." && pwd)
mkdir -p "$build"
build=$(cd "$build" && pwd)

# The headers of glm alone: compilers for other systems must not see those of this one next to them.
rm -rf "$build/glm"
mkdir "$build/glm"
cp -r /usr/include/glm "$build/glm/glm"
cat >"$build/glm/glmConfig.cmake" <<'EOF'
add_library(glm::glm INTERFACE IMPORTED)
set_target_properties(glm::glm PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${CMAKE_CURRENT_LIST_DIR}")
EOF

run=
shared=OFF
case $system in
32bit)
    compiler=i686-linux-gnu-g++ flags='-msse2 -mfpmath=sse' link=-static options='-D VEXA_AVX2=ON'
    ;;
bigEndian)
    compiler=s390x-linux-gnu-g++ flags= link=-static run=qemu-s390x
    options='-D VEXA_AVX2=OFF -D CMAKE_SYSTEM_NAME=Linux -D CMAKE_SYSTEM_PROCESSOR=s390x'
    ;;
libcxx)
    compiler=clang++ flags=-stdlib=libc++ link=-stdlib=libc++ options='-D CMAKE_C_COMPILER=clang' shared=ON
    ;;
windows)
    compiler=x86_64-w64-mingw32-g++-posix flags= link=-static run=wine
    options='-D CMAKE_SYSTEM_NAME=Windows -D CMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-posix'
    ;;
*)
    sed -n 's/^# usage: //p' "$0" >&2
    exit 2
    ;;
esac
# shellcheck disable=SC2086  # several options
cmake -S "$root" -B "$build" -G Ninja -D CMAKE_BUILD_TYPE=Release -D CMAKE_CXX_COMPILER=$compiler \
    -D CMAKE_CXX_FLAGS="$flags" -D CMAKE_EXE_LINKER_FLAGS=$link -D BUILD_SHARED_LIBS=$shared -D VEXA_LOGGING=OFF \
    -D VEXA_BUILD_TOOL=OFF -D VEXA_BUILD_EXAMPLES=OFF -D VEXA_INSTALL=OFF -D glm_DIR="$build/glm" \
    -D VEXA_GOOGLETEST_SOURCE=/usr/src/googletest $options
# shellcheck disable=SC2086  # several suites
cmake --build "$build" -j "${JOBS:-2}" --target $suites
suffix=
others='^$'
filter='*'
if [ "$system" = windows ]; then
    suffix=.exe
    # Several passes draw from the system's own `rand`, which `buildPrimitives` and the plain reference share elsewhere.
    others=': graph, 4 passes$'
    filter='-OwnRandom.MatchesTheSequenceOfRand:OwnRandom.StartsAsIfSeededWithOne'
    filter=$filter:ReferencePick.KeepsTheBiasOfSinglePrecision:RandomMeshes.AreCutAsByTheReference
    # Wine says a lot about the desktop that it lacks.
    export WINEDEBUG=-all WINEPREFIX="$build/wine"
fi
for suite in $suites; do
    if [ "$suite" = outputHashes ]; then
        grep -v "$others" "$root/tests/determinism/outputHashes.expected" >"$build/expected"
        $run "$build/tests/$suite$suffix" 2 | tr -d '\r' | grep -v "$others" | diff -u "$build/expected" -
        echo "figure: $(wc -l <"$build/expected") hashes of outputs equal"
    else
        $run "$build/tests/$suite$suffix" --gtest_brief=1 --gtest_filter="$filter"
    fi
done
