#!/bin/sh
# Runs every fuzz target once on each of its seeds and on each input of its corpus.
# usage: replay.sh TARGETS_DIRECTORY
set -eu
folder=$(cd "$(dirname "$0")" && pwd)
inputs=0
targets=0
unpacked=$(mktemp -d)
trap 'rm -rf "$unpacked"' EXIT
for target in "$1"/*Fuzz; do
    name=$(basename "$target" Fuzz)
    corpus=$unpacked/$name
    mkdir "$corpus"
    if [ -f "$folder/corpora/$name.txt" ]; then
        python3 "$folder/corpus.py" unpack "$folder/corpora/$name.txt" "$corpus"
    fi
    [ ! -d "$folder/seeds/$name" ] || cp "$folder/seeds/$name"/* "$corpus"
    # One process for all of them; the target ends by itself.
    "$target" -runs=0 -timeout=60 -rss_limit_mb=4096 -artifact_prefix="$unpacked/" "$corpus" >"$unpacked/log" 2>&1 || {
        tail -n 60 "$unpacked/log" >&2
        echo "$name fails" >&2
        exit 1
    }
    inputs=$((inputs + $(ls "$corpus" | wc -l)))
    targets=$((targets + 1))
done
echo "figure: $targets targets, $inputs inputs, 0 findings"
