#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Compiles each installed header alone, without anything else of the source tree. `headers.sh PREFIX COMPILER`
set -euo pipefail
cd "$1/include"
compiler=$2
export compiler
compile() {
  "$compiler" -fsyntax-only -std=c++20 -Wall -Wextra -Wconversion -Wshadow -Werror -I. -x c++ - <<<"#include <$1>" ||
    { echo "$1 does not compile alone"; exit 255; }
}
export -f compile
count=$(find MarlCore -name '*.h' | wc -l)
find MarlCore -name '*.h' -print0 | xargs -0 -P "$(nproc)" -I{} bash -c 'compile {}'
echo "$count headers"
[ "$count" -ge 50 ]
