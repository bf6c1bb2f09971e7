#!/bin/sh
# Measures this working tree alongside another revision of it, run by run in turn, and prints the ratios of their times.
# Each builds its own benchmark, so rows that one of them lacks are left out.
# usage: run.sh REVISION [BENCHMARK ARGUMENT...]   from the root of the project, with build/bench built; RUNS (3), JOBS
set -eu

[ -n "${1:-}" ] || {
    echo "bench/compare/run.sh: no revision to compare with, as in: make bench-compare REV=main" >&2
    exit 2
}
revision=$(git rev-parse --verify --quiet "$1^{commit}") || {
    echo "bench/compare/run.sh: $1 is not a revision of this repository" >&2
    exit 2
}
shift
scripts=$(dirname "$0")
directory=$PWD/build/compare
tree=$directory/tree
runs=${RUNS:-3}

git worktree prune
[ -e "$tree/.git" ] || git worktree add --quiet --force --detach "$tree" "$revision"
git -C "$tree" checkout --quiet --detach "$revision"
(cd "$tree" && cmake --preset bench >/dev/null && cmake --build --preset bench -j "${JOBS:-2}" --target vexaMeshBench)

# measure NAME PROGRAM NUMBER ARGUMENT...
measure() {
    name=$1
    program=$2
    number=$3
    shift 3
    echo "$name, run $number of $runs"
    "$program" --quick --models=build/bench/models --out="$directory/$name-$number.json" "$@" >"$directory/$name.log" || {
        cat "$directory/$name.log" >&2
        exit 1
    }
}
rm -f "$directory"/*.json
number=0
while [ "$number" -lt "$runs" ]; do
    number=$((number + 1))
    measure before "$tree/build/bench/bench/vexaMeshBench" "$number" "$@"
    measure after build/bench/bench/vexaMeshBench "$number" "$@"
done
node "$scripts/print.mjs" "$directory" "$runs"
