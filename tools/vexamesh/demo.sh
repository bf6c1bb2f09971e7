#!/bin/sh
# Turns real models into strips, prints what came of it and leaves the files to look at.
# usage: demo.sh VEXAMESH OUTPUT_DIRECTORY
set -eu

if [ $# -ne 2 ]; then
    echo "usage: demo.sh VEXAMESH OUTPUT_DIRECTORY" >&2
    exit 2
fi
tool=$1
out=$2
models=/usr/share/assimp/models

if [ ! -d "$models" ]; then
    echo "demo.sh: the models are missing: apt-get install assimp-testmodels" >&2
    exit 3
fi
mkdir -p "$out"
while read -r model; do
    name=$(basename "$model")
    "$tool" strip "$models/$model" -o "$out/${name%.*}.glb"
    echo
done <"$(dirname "$0")/demoModels.txt"
"$tool" report "$models/OBJ/spider.obj" -o "$out/report.html" >/dev/null
echo "The files are in $out; look at one with: $tool info $out/spider.glb"
echo "A report on one of them, for the browser: $out/report.html"
