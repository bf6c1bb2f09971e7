#!/bin/sh
# Installs the Debian packages in dependencies.txt that the named parts need and that are missing. npm packages are
# fetched by the builds and tests that use them, from the lock file next to their package.json.
# usage: install-dependencies.sh [PART...]   (none means all)
# PART: library, tool, tests, python, lint, bench, fuzz, docs, site, npm, packages or reliability
set -eu

list=$(dirname "$0")/dependencies.txt
wanted=" ${*:-library tool tests python lint bench fuzz docs site npm packages reliability} "
for part in $wanted; do
    case "$part" in
    library | tool | tests | python | lint | bench | fuzz | docs | site | npm | packages | reliability) ;;
    *)
        echo "install-dependencies.sh: unknown part '$part' (library, tool, tests, python, lint, bench, fuzz, docs, site," \
            "npm, packages, reliability)" >&2
        exit 2
        ;;
    esac
done

packages=$(awk -F'|' -v wanted="$wanted" '
    /^[^#]/ && !/^npm:/ && NF >= 3 {
        gsub(/[ \t]/, "", $1); gsub(/[ \t]/, "", $2)
        count = split($2, parts, ",")
        for (i = 1; i <= count; i++) if (index(wanted, " " parts[i] " ")) { print $1; break }
    }' "$list")

# A package also counts as installed if another one provides it.
installed=$(dpkg-query -W -f='${db:Status-Status}|${Package}, ${Provides}\n' | sed -n 's/^installed|//p' |
    tr ',' '\n' | sed 's/^ *//; s/ .*//')
missing=
for package in $packages; do
    if ! printf '%s\n' "$installed" | grep -qxF "$package"; then
        missing="$missing $package"
    fi
done
[ -n "$missing" ] || exit 0

sudo=
[ "$(id -u)" = 0 ] || sudo=sudo
echo "Installing:$missing"
$sudo apt-get update -qq
# shellcheck disable=SC2086  # one word per package
$sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
