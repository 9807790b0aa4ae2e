#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What the library exports is what the list says, and it needs the C++ runtime and libc alone. `symbols.sh LIBRARY`
set -euo pipefail
library=$(realpath "$1")
cd "$(dirname "$0")/../.."
diff -u packaging/exported-symbols.txt <(scripts/list-symbols "$library") || {
  echo 'The exported symbols differ from the list; scripts/list-symbols says how to write it anew.'
  exit 1
}
needed=$(readelf -d "$library" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p')
echo "needs: ${needed//$'\n'/ }"
! grep -vE '^(libstdc\+\+|libm|libgcc_s|libc|ld-linux[-a-z0-9_]*)\.so\.[0-9]+$' <<<"$needed"
