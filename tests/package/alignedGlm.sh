#!/bin/sh
# Every public header with vectors refuses a glm that is configured with aligned types, and says why.
# usage: alignedGlm.sh PREFIX
set -eu
cd "$1/include"

for header in BoundingBox NormalQuantization AttributeTransformation MeshConcatenation; do
    for options in "" "-DGLM_FORCE_INTRINSICS -DGLM_FORCE_DEFAULT_ALIGNED_GENTYPES"; do
        message=$(echo "#include <vexa/mesh/$header.h>" | "$CXX" -std=c++20 -fsyntax-only $options -I. -x c++ - 2>&1) || true
        case "$options/$message" in
        / | -D*"compile without GLM_FORCE_DEFAULT_ALIGNED_GENTYPES"*) ;;
        *) echo "$header with \"$options\": $message" >&2 && exit 1 ;;
        esac
    done
done
