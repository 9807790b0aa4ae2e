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
# Their layout depends on what a host defines, _FILE_OFFSET_BITS and the like.
if grep -rnwE 'off_t|time_t|ino_t|dev_t|stat|timespec|timeval' MarlCore | grep -vE ':[0-9]+: *//'; then
  echo 'A host of 32 bits may see another type than the library'
  exit 1
fi
count=$(find MarlCore -name '*.h' | wc -l)
find MarlCore -name '*.h' -print0 | xargs -0 -P "$(nproc)" -I{} bash -c 'compile {}'
echo "$count headers"
[ "$count" -ge 50 ]
