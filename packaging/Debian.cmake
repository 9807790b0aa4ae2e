# SPDX-License-Identifier: MIT
# cpack: a Debian package of each component. Configure with the preset `package`, which has Debian's folders and flags.
set(marl_deb_library libmarlcore${PROJECT_VERSION_MAJOR})
set(marl_deb_development libmarlcore-dev)
set(marl_deb_program marl)

# The newest entry of the changelog names the version that is packaged.
set(marl_debian_changelog ${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog)
file(STRINGS ${marl_debian_changelog} marl_debian_version LIMIT_COUNT 1)
if(NOT marl_debian_version MATCHES "^marlcore \\(${PROJECT_VERSION}-([0-9]+)\\)")
  message(FATAL_ERROR "packaging/debian/changelog does not begin with version ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
set(marl_debian_version ${PROJECT_VERSION}-${CMAKE_MATCH_1})

# What Debian wants beside each package; left out when no package is made.
marl_gzip(${marl_debian_changelog} changelog.Debian.gz)
marl_gzip(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)
foreach(component library development program)
  install(FILES debian/copyright
                ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${marl_deb_${component}} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME marlcore)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package begins with its own
set(CPACK_PACKAGE_CONTACT "MarlCore maintainers <maintainers@marlcore.example>" CACHE STRING
    "Name and address of who answers for the packages")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development program)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE marlcore)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${marl_deb_library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# The trigger that Debian's policy asks for; cpack's scripts call ldconfig besides.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "library for loop-based music software
MarlCore opens AIFF and WAV loops and QuickTime movies with their musical
metadata, converts and streams their samples, records, draws waveforms, and
indexes and searches large collections of loops.
.
This package contains the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${marl_deb_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${marl_deb_library} (= ${marl_debian_version})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "library for loop-based music software (development files)
MarlCore opens AIFF and WAV loops and QuickTime movies with their musical
metadata, converts and streams their samples, records, draws waveforms, and
indexes and searches large collections of loops.
.
This package contains headers, static library, files for CMake and pkg-config,
and examples.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ${marl_deb_program})
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${marl_deb_library} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "browse, convert, index and search loop files
marl reads AIFF and WAV loops and QuickTime movies with tempo, key, meter,
instrument and genre, converts, streams, draws and records them, and finds
the right loop among many thousands.")

include(CPack)
