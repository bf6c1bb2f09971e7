#!/bin/sh
# Builds the program of README.md against the installed package and compares its output with the one in README.md.
# usage: readme.sh README BUILD PREFIX
set -eu
readme=$1
build=$2
export PKG_CONFIG_PATH="$3/lib/pkgconfig"
mkdir -p "$build"

# Prints the first block of the language $1.
block() {
    awk -v fence="^\`\`\`$1\$" '/^```$/ && inside { exit } inside { print } $0 ~ fence { inside = 1 }' "$readme"
}

block cpp >"$build/readme.cpp"
block text >"$build/readme.expected"
test -s "$build/readme.cpp"
test -s "$build/readme.expected"

# shellcheck disable=SC2046  # the flags are words
"$CXX" -std=c++20 -Wall -Wextra -Werror -o "$build/readme" "$build/readme.cpp" \
    $(pkg-config --cflags --libs vexaMesh) -Wl,-rpath,"$3/lib"
sh "$(dirname "$0")/outside/expect.sh" "$build/readme.expected" "$build/readme"
