#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Configures the source tree as others do, without building it: with folders that do not lie in the prefix, and inside a
# host's own tree. `configure.sh SOURCE_DIR`
set -euo pipefail
source=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset CMAKE_BUILD_TYPE

cmake -S "$source" -B "$work/apart" -DMARL_BUILD_TESTS=OFF -DMARL_BUILD_EXAMPLES=OFF -DMARL_BUILD_TOOLS=OFF \
  -DCMAKE_INSTALL_PREFIX="$work/prefix" -DCMAKE_INSTALL_LIBDIR=/libraries -DCMAKE_INSTALL_INCLUDEDIR=/headers >/dev/null
for folder in libdir=/libraries includedir=/headers; do
  grep -qx "$folder" "$work/apart/packaging/marlcore.pc" || { cat "$work/apart/packaging/marlcore.pc"; exit 1; }
done

# The host gets the library and none of its settings, targets or options for those who work on it.
cat >"$work/CMakeLists.txt" <<HOST
cmake_minimum_required(VERSION 3.25)
project(Host LANGUAGES CXX)
include(FetchContent)
FetchContent_Declare(MarlCore SOURCE_DIR "$source" OVERRIDE_FIND_PACKAGE)
find_package(MarlCore REQUIRED)
file(WRITE \${CMAKE_CURRENT_BINARY_DIR}/host.cpp "int main() {}")
add_executable(host \${CMAKE_CURRENT_BINARY_DIR}/host.cpp)
target_link_libraries(host PRIVATE MarlCore::MarlCore)
foreach(unwanted CMAKE_BUILD_TYPE MARL_BUILD_TESTS CMAKE_RUNTIME_OUTPUT_DIRECTORY)
  if(NOT "\${\${unwanted}}" STREQUAL "")
    message(FATAL_ERROR "the host's \${unwanted} is \${\${unwanted}}")
  endif()
endforeach()
HOST
cmake -S "$work" -B "$work/host" >/dev/null
