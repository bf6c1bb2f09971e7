#!/bin/sh
# Runs every fuzz target for a number of seconds from its seeds; new inputs stay in the build directory.
# usage: run.sh TARGETS_DIRECTORY SECONDS [TARGET...]
set -eu

targets=$1
seconds=$2
shift 2
names=${*:-graph strips stripBuffer glb gltf obj ply stl off merge weld pack unstrip}
seeds=$(cd "$(dirname "$0")" && pwd)/seeds
count=0
for target in $names; do
    corpus=$targets/corpus/$target
    mkdir -p "$corpus"
    [ ! -f "$seeds/../corpora/$target.txt" ] || python3 "$seeds/../corpus.py" unpack "$seeds/../corpora/$target.txt" "$corpus"
    [ ! -d "$seeds/$target" ] || cp "$seeds/$target"/* "$corpus"
    echo "$target, $seconds s"
    "$targets/${target}Fuzz" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 -print_final_stats=1 \
        -artifact_prefix="$targets/$target-" "$corpus" 2>"$targets/$target.log" || {
        tail -n 40 "$targets/$target.log" >&2
        exit 1
    }
    sed -n 's/^stat::number_of_executed_units: */  inputs: /p; s/^stat::peak_rss_mb: */  peak memory, MiB: /p' \
        "$targets/$target.log"
    count=$((count + 1))
done
echo "figure: $count targets, $seconds s each, 0 findings"
