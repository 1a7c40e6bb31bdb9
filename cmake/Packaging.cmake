# SPDX-License-Identifier: MIT
#
# Packages, in the build's folder packages/: one .tar.gz with everything, and where Debian's tools are, a
# .deb for each component. scripts/package.sh makes them as they are published.

set(CPACK_PACKAGE_NAME vqxclient)
set(CPACK_PACKAGE_VENDOR TARVEN)
set(CPACK_PACKAGE_CONTACT "TARVEN <support@tarven.example>")
# Each .deb has a summary of its own, in the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_VERBATIM_VARIABLES ON)
# The strip at hand knows this system's programs alone.
if(NOT CMAKE_CROSSCOMPILING)
  set(CPACK_STRIP_FILES ON)
endif()

find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
mark_as_advanced(DPKG_SHLIBDEPS)
set(CPACK_GENERATOR TGZ)
if(DPKG_SHLIBDEPS AND NOT CMAKE_CROSSCOMPILING)
  list(APPEND CPACK_GENERATOR DEB)
endif()

# ---- .tar.gz ----

string(TOLOWER ${CMAKE_SYSTEM_NAME} system)
set(CPACK_PACKAGE_FILE_NAME vqxclient-${PROJECT_VERSION}-${system}-${CMAKE_SYSTEM_PROCESSOR})

# ---- .deb ----

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE vqxclient)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianDocuments.cmake)

set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME vqxclient)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION embedded)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SUGGESTS libtarven-dev)
set(CPACK_DEBIAN_CLIENT_DESCRIPTION
  "terminal onto an embedded target behind an M-Bolt debug probe
The software of an M-Bolt debug probe runs a terminal server. This client
connects to it, shows what the target prints, sends what is typed, key by
key, and finds the server again whenever the connection drops.

With it come a wrapper that adds a key to quit, and a demo server with a
simulated target.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtarven-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# Programs that link the libraries need these; the module needs no more.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libc6-dev, libedit-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "run-time layers of the VQX Client, for programs in C and C++
Static libraries with their headers: utilities, the system layer (sockets,
threads, files, serial ports), a settings store, and the programming
interface of the M-Bolt debug probe.

That interface is here as a module as well, for programs that load it at
run time.")

include(CPack)
