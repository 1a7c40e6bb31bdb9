# SPDX-License-Identifier: MIT
# tarven_hardened: what makes an overrun in a release build end the program instead of serving an
# attacker. The tests' builds have sanitizers for that.

include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)

add_library(tarven_hardened INTERFACE)
# The checks of the C library's calls against the sizes of what they write into: a compiler that
# knows no third level takes it for the second.
target_compile_options(tarven_hardened INTERFACE $<$<CONFIG:Release>:
  -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>)
# Every page of a large frame is touched; relocations are read-only, all symbols are bound at the
# start, and no stack is executed. Mach-O files have their like without being asked.
if(CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
  target_compile_options(tarven_hardened INTERFACE $<$<CONFIG:Release>:-fstack-clash-protection>)
  target_link_options(tarven_hardened INTERFACE
    $<$<CONFIG:Release>:-Wl,-z,relro,-z,now,-z,noexecstack>)
endif()
