# SPDX-License-Identifier: MIT
#
# Run by CPack before it packs: brings the documents of the .deb files into the form and the places that
# Debian's policy (chapter 12) gives them.

if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

function(compress)
  foreach(file IN LISTS ARGN)
    execute_process(COMMAND gzip -9n ${file} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endfunction()

# The time of SOURCE_DATE_EPOCH where that is set, in UTC.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  set(documents ${share}/doc/${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  file(REMOVE ${documents}/LICENSE)
  configure_file(${CPACK_RESOURCE_FILE_LICENSE} ${documents}/copyright COPYONLY)
  file(WRITE ${documents}/changelog
    "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
    "  * What is new stands in /usr/share/doc/vqxclient/CHANGELOG.md.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  file(GLOB pages ${share}/man/man*/*)
  compress(${documents}/changelog ${pages})
endforeach()
