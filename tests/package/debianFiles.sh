#!/bin/sh
# Every installed file belongs to exactly one Debian package, and the packages name no others. They are built with all that
# library and tool need, but for what bundles the report's script, which source archives hold.
# usage: debianFiles.sh DEBIAN PREFIX   (PREFIX: everything installed, but for the Python package)
set -eu
debian=$1
cd "$2"
version=$(dpkg-parsechangelog -l "$debian/changelog" -S Version)
grep -q "^project(vexaMesh VERSION ${version%-*} " "$debian/../../CMakeLists.txt"

sed -n 's/^\([a-z][^ |:]*\) *|[^|]*\(library\|tool\).*/\1/p' "$debian/../../cmake/dependencies.txt" |
    grep -vxE 'g\+\+|nodejs|npm|assimp-testmodels' | while read -r package; do
    grep -qx " $package," "$debian/control" || { echo "Build-Depends lacks $package" >&2; exit 1; }
done

# Patterns are relative to / and name a library directory that a prefix of its own lacks.
: >claimed
for list in "$debian"/*.install; do
    case "$list" in *python3*) continue ;; esac
    sed 's,^usr/,,; s,lib/\*/,lib/,' "$list" | while read -r pattern; do
        # shellcheck disable=SC2086  # a pattern
        find $pattern ! -type d >>claimed || { echo "$list: nothing is installed as $pattern" >&2; exit 1; }
    done
done
find bin include lib share ! -type d | LC_ALL=C sort >installed
LC_ALL=C sort claimed | diff installed - || { echo "installed (<) and packaged (>) differ" >&2; exit 1; }
echo "figure: $(wc -l <installed) files"
rm claimed installed
