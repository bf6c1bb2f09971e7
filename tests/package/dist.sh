#!/bin/sh
# Makes the source archive, unpacks and builds it without npm and without a network: the same program comes out of it.
# usage: dist.sh SOURCE BUNDLE BUILD PROGRAM   (PROGRAM: the tool that was built in the usual way)
set -eu
source=$1
bundle=$2
build=$3
program=$4
if [ ! -e "$source/.git" ]; then
    echo "skipped: $source is not a git checkout"
    exit 77
fi

rm -rf "$build"
archive=$(sh "$source/cmake/dist.sh" "$bundle" "$build/first" | tail -n 1)
# Twice the same.
cmp "$archive" "$(sh "$source/cmake/dist.sh" "$bundle" "$build/second" | tail -n 1)"
tar -xf "$archive" -C "$build"
unpacked=$build/$(basename "$archive" .tar.gz)

mkdir "$build/bin"
printf '#!/bin/sh\necho "the build must not run npm" >&2\nexit 1\n' >"$build/bin/npm"
chmod +x "$build/bin/npm"
export PATH="$build/bin:$PATH"
for offline in 'unshare -n' 'unshare -rn' ''; do
    # shellcheck disable=SC2086  # a command and its option
    ! $offline true 2>/dev/null || break
done
[ -n "$offline" ] || echo "this user may not cut off the network: only npm is out of reach"

# The build directory lies as that of the sources does, so that the compiler's cache has everything already.
export CCACHE_BASEDIR="$unpacked"
cd "$unpacked"
$offline cmake --preset release -D VEXA_BUILD_TESTS=OFF -D VEXA_BUILD_EXAMPLES=OFF -D VEXA_TEST_PACKAGE=OFF
$offline cmake --build --preset release -j 2
model=/usr/share/assimp/models/OBJ/spider.obj
build/release/tools/vexamesh/vexamesh report "$model" -o "$build/unpacked.html"
"$program" report "$model" -o "$build/usual.html"
# The long lines hold script and model; others have the time that the search took.
for page in unpacked usual; do
    awk 'length > 1000' "$build/$page.html" >"$build/$page.txt"
done
grep -q WebGL "$build/usual.txt"
cmp "$build/unpacked.txt" "$build/usual.txt"
