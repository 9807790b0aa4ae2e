#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs a build, and moves the installation away from the folder that it was made for.
# `install.sh BUILD_DIR PREFIX`
set -euo pipefail
unset DESTDIR
rm -rf "$2" "$2.first"
cmake --install "$1" --prefix "$2.first" --strip >/dev/null
mv "$2.first" "$2"
"$2/bin/marl" --version
