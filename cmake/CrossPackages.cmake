# SPDX-License-Identifier: MIT
# Packages for a target that Debian has none for, made from what the building machine's packages hold of them:
# GoogleTest from its sources, CLI11 and nlohmann-json as the headers that they are. Named by
# CMAKE_PROJECT_TOP_LEVEL_INCLUDES; answers find_package, so that no other file knows of it.

# Only the named folder of /usr/include is offered: the rest of it belongs to the building machine's libraries.
function(cross_header_only target folder)
  if(TARGET ${target})
    return()
  endif()
  set(include_folder ${CMAKE_BINARY_DIR}/header-only)
  file(MAKE_DIRECTORY ${include_folder})
  file(CREATE_LINK /usr/include/${folder} ${include_folder}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} INTERFACE ${include_folder})
endfunction()

macro(cross_provide_package method package)
  if("${package}" STREQUAL "GTest")
    if(NOT TARGET GTest::gtest)
      set(INSTALL_GTEST OFF)
      add_subdirectory(/usr/src/googletest/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    endif()
    set(GTest_FOUND TRUE)
  elseif("${package}" STREQUAL "CLI11")
    cross_header_only(CLI11::CLI11 CLI)
    set(CLI11_FOUND TRUE)
  elseif("${package}" STREQUAL "nlohmann_json")
    cross_header_only(nlohmann_json::nlohmann_json nlohmann)
    set(nlohmann_json_FOUND TRUE)
  endif()
endmacro()

cmake_language(SET_DEPENDENCY_PROVIDER cross_provide_package SUPPORTED_METHODS FIND_PACKAGE)
