# SPDX-License-Identifier: MIT
# What every target of this project is compiled with, as one interface target.
add_library(marl_options INTERFACE)
target_compile_features(marl_options INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)

# -ffp-contract=off: the portable and the vector kernels must agree bit for bit, so no compiler may fuse
# a multiply and an add that the source keeps apart.
# -fno-math-errno: nothing here asks errno about a mathematical function, and without that duty lrint and sqrt
# are one instruction instead of a call.
target_compile_options(marl_options INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -ffp-contract=off -fno-math-errno)

# Files over 2 GiB and dates after 2038 on 32-bit hosts. No header of the library has a type that depends on this.
target_compile_definitions(marl_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

option(MARL_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
if(MARL_WARNINGS_AS_ERRORS)
  target_compile_options(marl_options INTERFACE -Werror)
endif()

# A host that has this tree in its own chooses for itself.
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

# Most of the time that a source takes to compile goes by before there is anything to optimise. Off where a source
# that misses an include is to be noticed.
option(MARL_PRECOMPILED_HEADERS "Parse the headers that most sources include once a target" OFF)

# marl_precompile_headers(TARGET header...): those of the standard library that are worth it, and these.
function(marl_precompile_headers target)
  if(MARL_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} PRIVATE
      <algorithm> <array> <atomic> <chrono> <cmath> <filesystem> <functional> <map> <memory> <mutex> <optional> <set>
      <span> <string> <string_view> <vector> ${ARGN})
  endif()
endfunction()
