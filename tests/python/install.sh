#!/bin/sh
# Makes a source archive of the Python package, builds a wheel from that archive, as an index would, and installs it.
# Nothing is fetched.
# usage: install.sh PYTHON SOURCE BUILD   (the package ends up in BUILD/site, archive and wheel in BUILD)
set -eu
python=$1
source=$2
mkdir -p "$3"
build=$(cd "$3" && pwd)

rm -rf "$build/site" "$build/archive" "$build"/*.whl "$build"/*.tar.gz
cd "$source"
"$python" -c "from setuptools import build_meta; build_meta.build_sdist('$build')" >"$build/sdist.log" 2>&1 ||
    { cat "$build/sdist.log" >&2 && exit 1; }
rm -rf python/vexamesh.egg-info
mkdir "$build/archive"
tar -xf "$build"/vexamesh-*.tar.gz -C "$build/archive" --strip-components 1
cd "$build"
"$python" -m pip wheel --quiet --disable-pip-version-check --no-index --no-build-isolation --no-deps \
    --wheel-dir "$build" "$build/archive"
"$python" -m pip install --quiet --disable-pip-version-check --no-index --no-deps --target "$build/site" "$build"/*.whl

# The extension needs nothing but the system's own libraries.
needed=$(ldd "$build"/site/vexamesh/_core.*.so)
if echo "$needed" | grep -E "boost|vexa"; then
    echo "the extension module needs the libraries above" >&2
    exit 1
fi
echo "installed $(basename "$build"/*.whl)"
