#!/bin/sh
# Writes a source archive that builds without a network: the tracked files as they are, and the report's script, which
# npm would be needed to bundle. The same sources give the same bytes.
# usage: dist.sh BUNDLE DIRECTORY   (BUNDLE holds main.js and style.css; the archive ends up in DIRECTORY)
set -eu
bundle=$(cd "$1" && pwd)
mkdir -p "$2"
directory=$(cd "$2" && pwd)
cd "$(dirname "$0")/.."

version=$(sed -n 's/^project(vexaMesh VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=vexamesh-$version
if [ ! -e .git ]; then
    echo "dist.sh: the archive is made of the files that git tracks, and this is not a git checkout" >&2
    exit 1
fi
if [ -n "$(git status --porcelain)" ]; then
    echo "dist.sh: the archive will hold changes that are not committed" >&2
fi

rm -rf "${directory:?}/$name"
mkdir "$directory/$name"
# Files that are deleted but still tracked are left out.
git ls-files -z | xargs -0 ls -d 2>/dev/null | tar -cf - -T - | tar -xf - -C "$directory/$name"
mkdir "$directory/$name/tools/vexamesh/report/bundle"
cp "$bundle/main.js" "$bundle/style.css" "$directory/$name/tools/vexamesh/report/bundle"
tar -cf - -C "$directory" --format=gnu --sort=name --mtime="@$(git log -1 --format=%ct)" --owner=0 --group=0 --numeric-owner \
    --mode=u=rwX,go=rX "$name" | gzip -9n >"$directory/$name.tar.gz.part"
mv "$directory/$name.tar.gz.part" "$directory/$name.tar.gz"
rm -rf "${directory:?}/$name"
echo "$directory/$name.tar.gz"
