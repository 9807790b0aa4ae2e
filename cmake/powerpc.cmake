# SPDX-License-Identifier: MIT
# Toolchain: Debian's cross compiler for 32-bit PowerPC, a big-endian host whose `char` is unsigned. Programs run
# under qemu's user-mode emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)

set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)  # GoogleTest's project asks for one
set(CMAKE_FIND_ROOT_PATH /usr/powerpc-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L ${CMAKE_FIND_ROOT_PATH})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config must not offer the libraries of the machine that builds.
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_FIND_ROOT_PATH}/lib/pkgconfig)
