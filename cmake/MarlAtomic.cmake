# SPDX-License-Identifier: MIT
# MARL_ATOMIC_LIBRARY: what std::atomic of 8 bytes needs beside the compiler. Processors of 32 bits call a library.
include(CheckCXXSourceCompiles)
set(marl_atomic_source "
#include <atomic>
std::atomic<double> value{0};
int main() { value.store(1); return value.load() == 1 ? 0 : 1; }")

check_cxx_source_compiles("${marl_atomic_source}" MARL_HAS_ATOMIC_8_BYTES)
if(MARL_HAS_ATOMIC_8_BYTES)
  set(MARL_ATOMIC_LIBRARY "")
else()
  set(CMAKE_REQUIRED_LIBRARIES atomic)
  check_cxx_source_compiles("${marl_atomic_source}" MARL_LIBATOMIC_HAS_8_BYTES)
  unset(CMAKE_REQUIRED_LIBRARIES)
  if(NOT MARL_LIBATOMIC_HAS_8_BYTES)
    message(FATAL_ERROR "std::atomic<double> works neither with nor without libatomic")
  endif()
  set(MARL_ATOMIC_LIBRARY atomic)
endif()
