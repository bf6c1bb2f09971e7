#!/bin/sh
# Runs every fuzz target for a number of seconds from its seeds; new inputs stay in the build directory.
# usage: run.sh TARGETS_DIRECTORY SECONDS
set -eu

targets=$1
seconds=$2
seeds=$(cd "$(dirname "$0")" && pwd)/seeds
for target in graph strips stripBuffer glb obj ply stl off; do
    corpus=$targets/corpus/$target
    mkdir -p "$corpus"
    echo "$target, $seconds s"
    "$targets/${target}Fuzz" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 -print_final_stats=1 \
        -artifact_prefix="$targets/$target-" "$corpus" "$seeds/$target" 2>"$targets/$target.log" || {
        tail -n 40 "$targets/$target.log" >&2
        exit 1
    }
    sed -n 's/^stat::number_of_executed_units: */  inputs: /p; s/^stat::peak_rss_mb: */  peak memory, MiB: /p' \
        "$targets/$target.log"
done
