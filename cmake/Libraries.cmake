# SPDX-License-Identifier: MIT
#
# The libraries for users, and the headers that go with them.
#
# Users write <tarven/sys/sys.h> whether they build the libraries themselves or find them installed: the
# build has a folder of links, include/tarven/, with the same names as the installed one. Public headers
# include each other as siblings ("clock.h"), so that they need no search path of their own in either.

set(TARVEN_PUBLIC_INCLUDE ${PROJECT_BINARY_DIR}/include)
set(TARVEN_PKG_CONFIG_FILES ${PROJECT_BINARY_DIR}/pkgconfig)

if(TARVEN_INSTALL)
  include(GNUInstallDirs)
  set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endif()

# tarven_publish_headers(HEADER...)
#
# Makes headers of the current folder public: <tarven/FOLDER/HEADER>. All others stay in the tree. The
# global property TARVEN_PUBLIC_HEADERS lists them as FOLDER/HEADER.
function(tarven_publish_headers)
  get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  file(MAKE_DIRECTORY ${TARVEN_PUBLIC_INCLUDE}/tarven/${folder})
  foreach(header IN LISTS ARGN)
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header}
      ${TARVEN_PUBLIC_INCLUDE}/tarven/${folder}/${header} SYMBOLIC)
    set_property(GLOBAL APPEND PROPERTY TARVEN_PUBLIC_HEADERS ${folder}/${header})
  endforeach()
  if(TARVEN_INSTALL)
    install(FILES ${ARGN} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarven/${folder}
      COMPONENT development)
  endif()
endfunction()

# tarven_add_library(NAME DESCRIPTION text PARTS object-library... NEEDS item...)
#
# Makes the static library tarven_NAME for users, who know it as tarven::NAME and as tarven-NAME to
# pkg-config. Inside it there is one ring of objects per folder, so that no two folders need each other.
#
#   NEEDS   what programs link besides: libraries, -options, and tarven::NAME for another of ours
function(tarven_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION" "PARTS;NEEDS")
  set(target tarven_${name})
  list(TRANSFORM arg_PARTS REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)
  add_library(${target} STATIC ${objects})
  add_library(tarven::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${TARVEN_PUBLIC_INCLUDE}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PUBLIC ${arg_NEEDS})
  if(TARVEN_INSTALL)
    install(TARGETS ${target} EXPORT tarven-targets
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
    tarven_install_pkg_config(${name} "${arg_DESCRIPTION}" ${arg_NEEDS})
  endif()
endfunction()

# Writes tarven-NAME.pc. It names the prefix by the file's own place, so that the tree can be moved.
function(tarven_install_pkg_config name description)
  set(requires)
  set(libraries)
  foreach(item IN LISTS ARGN)
    if(item MATCHES "^tarven::(.+)$")
      list(APPEND requires tarven-${CMAKE_MATCH_1})
    elseif(item STREQUAL "Threads::Threads")
      list(APPEND libraries ${CMAKE_THREAD_LIBS_INIT})
    elseif(item MATCHES "^-")
      list(APPEND libraries ${item})
    elseif(item MATCHES "^\\$<INSTALL_INTERFACE:(.+)>$")
      list(APPEND libraries -l${CMAKE_MATCH_1})
    elseif(NOT item MATCHES "^\\$<BUILD_INTERFACE:")
      list(APPEND libraries -l${item})
    endif()
  endforeach()
  list(JOIN requires " " requires)
  list(JOIN libraries " " libraries)
  set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH way_to_prefix ${CMAKE_INSTALL_PREFIX}/${folder} ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" way_to_prefix ${way_to_prefix})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/tarven.pc.in
    ${TARVEN_PKG_CONFIG_FILES}/tarven-${name}.pc @ONLY)
  install(FILES ${TARVEN_PKG_CONFIG_FILES}/tarven-${name}.pc DESTINATION ${folder}
    COMPONENT development)
endfunction()
