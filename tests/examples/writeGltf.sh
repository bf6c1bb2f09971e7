#!/bin/sh
# Lets the example write a file, and the tool find the same surface in it as in the model.
# usage: writeGltf.sh EXAMPLE MODEL TOOL OUTPUT
set -eu
# Vertices, edges and bounds, which do not depend on how triangles are listed.
surfaceOf() {
    "$tool" info --json "$1" | tr -d ' \n' | grep -o '"vertices":[0-9]*\|"[a-zA-Z]*[eE]dges":[0-9]*\|"boundingBox":{[^}]*}' | sort
}
example=$1
model=$2
tool=$3
output=$4
"$example" "$model" "$output" | grep -x "2117 vertices, 4668 indices"
"$tool" validate "$output"
surfaceOf "$model" >"$output.expected"
test -s "$output.expected"
surfaceOf "$output" | diff "$output.expected" -
