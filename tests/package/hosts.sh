#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds a host against an installed MarlCore, by find_package and by pkg-config, with the shared and the static
# library, and runs it on a loop of three quarter notes; builds the installed examples, too. `hosts.sh PREFIX LOOP`
set -euo pipefail
prefix=$(realpath "$1")
host=$(realpath "$(dirname "$0")/host")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset CMAKE_PREFIX_PATH PKG_CONFIG_SYSROOT_DIR LD_LIBRARY_PATH MARLCORE_RESOURCES

cmake -S "$host" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/build" >/dev/null

examples=$(dirname "$(find "$prefix/share/doc" -name player.cpp)")
cmake -S "$examples" -B "$work/examples" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/examples" --parallel "$(nproc)" >/dev/null

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name marlcore.pc)")
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion marlcore)" = "$("$prefix/bin/marl" --version | cut -d' ' -f2)" ]
eval "flags=($(pkg-config --cflags --libs marlcore))"  # which quotes blanks
c++ -std=c++20 "$host/host.cpp" "${flags[@]}" -Wl,-rpath,"$(pkg-config --variable=libdir marlcore)" -o "$work/pkg-config"

check() {  # PROGRAM RESOURCE
  local expected="3 quarter notes"$'\n'"$2"
  local printed
  printed=$("$1" "$loop")
  [ "$printed" = "$expected" ] || { printf '%s prints\n%s\ninstead of\n%s\n' "$1" "$printed" "$expected"; exit 1; }
}
loop=$2
"$work/examples/recorder" --tone 440 --seconds 0.25 "$work/tone.aif" >/dev/null
"$work/examples/player" --virtual --minutes 0.02 --voices 3 "$work/tone.aif" >/dev/null
check "$work/build/shared" "$prefix/share/marlcore/Default Values.plist"
check "$work/pkg-config" "$prefix/share/marlcore/Default Values.plist"
# Loaders come by links as well, such as /lib for /usr/lib.
ln -s "$(pkg-config --variable=libdir marlcore)" "$work/linked"
LD_LIBRARY_PATH=$work/linked check "$work/build/shared" "$prefix/share/marlcore/Default Values.plist"
# A static host has no installation of the library beside it: it says where the resources are.
export MARLCORE_RESOURCES="$prefix/share/marlcore"
check "$work/build/static" "$prefix/share/marlcore/Default Values.plist"

# The next major version may break a host, an older one lacks what it asks for.
cd "$work"
for version in 0.9 1.1 2.0; do
  printf 'cmake_minimum_required(VERSION 3.25)\nproject(P NONE)\nfind_package(MarlCore %s QUIET)\n%s' "$version" \
    'if(MarlCore_FOUND)
message(FATAL_ERROR found)
endif()' >CMakeLists.txt
  cmake -S . -B refused -DCMAKE_PREFIX_PATH="$prefix" >/dev/null || { echo "offers itself as $version"; exit 1; }
done
