# SPDX-License-Identifier: MIT
# Run by `cmake --install`: installs the headers that hosts need. Those are the ones that mark anything with
# MARLCORE_EXPORT and what these include; so a new header needs no entry in a list. Expects MARL_SOURCE_DIR and
# MARL_INCLUDEDIR, an absolute or relative folder.
cmake_minimum_required(VERSION 3.25)
file(GLOB_RECURSE headers RELATIVE ${MARL_SOURCE_DIR} ${MARL_SOURCE_DIR}/MarlCore/*.h)
set(open)
foreach(header IN LISTS headers)
  file(STRINGS ${MARL_SOURCE_DIR}/${header} marks REGEX MARLCORE_EXPORT LIMIT_COUNT 1)
  if(marks)
    list(APPEND open ${header})
  endif()
endforeach()

set(public)
while(open)
  list(POP_FRONT open header)
  if(header IN_LIST public)
    continue()
  elseif(header MATCHES "Impl\\.h$")
    message(FATAL_ERROR "${header} is the library's own, but hosts need it: it exports, or a public header includes it")
  endif()
  list(APPEND public ${header})
  file(STRINGS ${MARL_SOURCE_DIR}/${header} includes REGEX "^#include <MarlCore/")
  list(TRANSFORM includes REPLACE "^#include <([^>]+)>.*" "\\1")
  list(APPEND open ${includes})
endwhile()

list(SORT public)
foreach(header IN LISTS public)
  get_filename_component(folder ${header} DIRECTORY)
  cmake_path(ABSOLUTE_PATH MARL_INCLUDEDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE include_folder)
  file(INSTALL ${MARL_SOURCE_DIR}/${header} DESTINATION ${include_folder}/${folder})
endforeach()
