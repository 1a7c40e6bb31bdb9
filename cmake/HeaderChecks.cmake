# SPDX-License-Identifier: MIT
# tarven_check_headers(TARGET HEADER...)
#
# Compiles every header alone, as C11 and as C++20, with all warnings: building the target is the check.
function(tarven_check_headers target)
  set(sources)
  foreach(header IN LISTS ARGN)
    string(MAKE_C_IDENTIFIER ${header} name)
    foreach(extension c cpp)
      set(source ${CMAKE_CURRENT_BINARY_DIR}/headers/${name}.${extension})
      file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${header}\"\n#include \"${header}\"\n")
      list(APPEND sources ${source})
    endforeach()
  endforeach()
  add_library(${target} OBJECT ${sources})
  target_link_libraries(${target} PRIVATE tarven_common)
endfunction()
