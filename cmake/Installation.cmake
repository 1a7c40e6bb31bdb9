# SPDX-License-Identifier: MIT
#
# What is installed besides the libraries and headers of Libraries.cmake, in two components:
#
#   client        the programs and the documents
#   development   the libraries, their headers and what finds them, the module, the examples

include(CMakePackageConfigHelpers)

# ---- The CMake package ----

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/tarven)
configure_package_config_file(cmake/tarven-config.cmake.in tarven-config.cmake
  INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO)
# Before 1.0.0 a new minor version may break what the one before promised.
write_basic_package_version_file(tarven-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/tarven-config.cmake ${PROJECT_BINARY_DIR}/tarven-config-version.cmake
  DESTINATION ${package_folder} COMPONENT development)
install(EXPORT tarven-targets NAMESPACE tarven:: DESTINATION ${package_folder} COMPONENT development)

# ---- The module: in a folder of its own, since programs load it by its path and do not link it ----

install(TARGETS tarvenprobe LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tarven COMPONENT development)

# ---- The programs ----

if(TARVEN_BUILD_PROGRAMS)
  install(TARGETS vqxclient RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT client)
  install(PROGRAMS client/vqx DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT client)
  if(TARVEN_HAS_CPP_RUN_TIME)
    install(TARGETS vqx-terminal-server RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT client)
  endif()

  # ---- The documents, which refer to each other by these places ----

  set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/vqxclient)
  install(FILES README.md CHANGELOG.md CONTRIBUTING.md LICENSE SECURITY.md
    DESTINATION ${documents} COMPONENT client)
  install(DIRECTORY docs DESTINATION ${documents} COMPONENT client
    FILES_MATCHING PATTERN *.md PATTERN *.svg PATTERN man EXCLUDE)
endif()

# The examples include the headers as they are installed.
file(GLOB example_sources CONFIGURE_DEPENDS examples/*.c)
install(FILES ${example_sources} DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/vqxclient/examples
  COMPONENT development)

# ---- The manual pages: section 1 for the programs, 3 for the libraries ----

file(GLOB pages CONFIGURE_DEPENDS docs/man/*.[1-9])
foreach(page IN LISTS pages)
  string(REGEX MATCH "[1-9]$" section ${page})
  set(component client)
  if(section EQUAL 3)
    set(component development)
  endif()
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endforeach()
