#!/bin/sh
# Checks formatting, names and suspicious code in every source of the project.
# usage: lint.sh check [FOLDER...]   fails if clang-format, clang-tidy (below the folders) or cppcheck reports something
#        lint.sh format              reformats the sources with clang-format
set -eu
cd "$(dirname "$0")/.."

all='vexa logging tools python npm tests examples bench fuzz docs'
command=${1:-check}
[ $# -eq 0 ] || shift
tidied=${*:-$all}
# shellcheck disable=SC2046,SC2086  # no path in the project contains a space
set -- $(find $all -name '*.h' -o -name '*.cpp' 2>/dev/null | sort)

case "$command" in
format)
    clang-format -i "$@"
    exit 0
    ;;
check) ;;
*)
    echo "lint.sh: unknown command '$command' (check, format)" >&2
    exit 2
    ;;
esac

sh cmake/layers.sh

echo "clang-format: $# files"
clang-format --dry-run -Werror "$@"

cmake --preset lint >/dev/null
sed -n 's/^ *"file": "\(.*\)",*$/\1/p' build/lint/compile_commands.json |
    grep -E "^$PWD/($(echo "$tidied" | tr ' ' '|'))/" >build/lint/sources.txt
echo "clang-tidy: $(wc -l <build/lint/sources.txt) sources and their headers"
if ! xargs -P "$(nproc)" -n 1 clang-tidy -p build/lint --quiet <build/lint/sources.txt 2>build/lint/clang-tidy.log; then
    grep -v 'warnings generated' build/lint/clang-tidy.log >&2
    exit 1
fi

echo "cppcheck"
# shellcheck disable=SC2086
cppcheck --quiet --error-exitcode=1 --inline-suppr --suppressions-list=cmake/cppcheck-suppressions.txt \
    --enable=warning,performance,portability --std=c++20 --library=googletest --template=gcc -j "$(nproc)" \
    -I . -I build/lint/include $all
