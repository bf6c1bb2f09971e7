#!/bin/sh
# Fails if a shared library exports a symbol outside its namespace.
# usage: symbols.sh LIBRARY NAMESPACE
set -eu
symbols=$(nm -D --defined-only -C "$1" | cut -d ' ' -f 3-)
test -n "$symbols"

kinds='((vtable|typeinfo|typeinfo name|VTT|construction vtable) for |(non-virtual|virtual) thunk to )?'
# An exception that libc++ defines anew in every library.
shared='typeinfo (name )?for std::__1::bad_function_call$'
if echo "$symbols" | grep -Ev "^($kinds$2::|$shared)"; then
    echo "shown by $1, though not of $2" >&2
    exit 1
fi
