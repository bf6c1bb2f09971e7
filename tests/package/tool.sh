#!/bin/sh
# Installs the built tool into an empty prefix: it runs there, man finds its pages, and shells find its completions.
# usage: tool.sh BUILD PREFIX
set -eu
prefix=$2
rm -rf "$prefix"
cmake --install "$1" --prefix "$prefix" >"$1/install.log"

"$prefix/bin/vexamesh" --version
for command in '' $("$prefix/bin/vexamesh" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/-\1/p'); do
    test "$(man -M "$prefix/share/man" -w "vexamesh$command")" = "$prefix/share/man/man1/vexamesh$command.1"
done
for file in bash-completion/completions/vexamesh zsh/site-functions/_vexamesh fish/vendor_completions.d/vexamesh.fish; do
    "$prefix/bin/vexamesh" completions "${file%%[-/]*}" | cmp - "$prefix/share/$file"
done

HOME=$prefix/home
mkdir "$HOME"
PATH=$prefix/bin:$PATH
export HOME PATH
XDG_DATA_DIRS=$prefix/share:/usr/share fish -c 'complete -C "vexamesh strip --index"' | grep -q ^--index-bits
ZDOTDIR=$HOME zsh -f -c "fpath=($prefix/share/zsh/site-functions \$fpath); autoload -Uz compinit; compinit -u -D
    [ \$_comps[vexamesh] = _vexamesh ]"
