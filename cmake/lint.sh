#!/bin/sh
# Checks formatting, names and suspicious code in every source of the project.
# usage: lint.sh check    fails if clang-format, clang-tidy or cppcheck reports something
#        lint.sh format   reformats the sources with clang-format
set -eu
cd "$(dirname "$0")/.."

# shellcheck disable=SC2046  # no path in the project contains a space
set -- "${1:-check}" \
    $(find vexa logging tools tests examples bench fuzz docs -name '*.h' -o -name '*.cpp' 2>/dev/null | sort)
command=$1
shift

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
sed -n 's/^ *"file": "\(.*\)",*$/\1/p' build/lint/compile_commands.json >build/lint/sources.txt
echo "clang-tidy: $(wc -l <build/lint/sources.txt) sources and their headers"
if ! xargs -P "$(nproc)" -n 1 clang-tidy -p build/lint --quiet <build/lint/sources.txt 2>build/lint/clang-tidy.log; then
    grep -v 'warnings generated' build/lint/clang-tidy.log >&2
    exit 1
fi

echo "cppcheck"
cppcheck --quiet --error-exitcode=1 --inline-suppr --suppressions-list=cmake/cppcheck-suppressions.txt \
    --enable=warning,performance,portability --std=c++20 --library=googletest --template=gcc -j "$(nproc)" \
    -I . -I build/lint/include vexa logging tools examples bench fuzz docs tests
