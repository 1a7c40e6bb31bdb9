# SPDX-License-Identifier: MIT
# Cross-builds for macOS on x86-64 with Zig's Clang, without Apple's SDK: system headers and libSystem
# come with Zig, IOKit, CoreFoundation and editline from the stubs in sdk/. docs/macos.md tells more.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")
# Probes of the compiler need not link.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_C_COMPILER ${CMAKE_CURRENT_LIST_DIR}/zig-cc)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/zig-c++)
set(CMAKE_AR ${CMAKE_CURRENT_LIST_DIR}/zig-ar)
set(CMAKE_RANLIB ${CMAKE_CURRENT_LIST_DIR}/zig-ranlib)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool-14 llvm-install-name-tool)

set(TARVEN_DARWIN_SDK ${CMAKE_CURRENT_LIST_DIR}/sdk)
set(CMAKE_C_FLAGS_INIT "-F${TARVEN_DARWIN_SDK}/frameworks")
set(CMAKE_CXX_FLAGS_INIT "-F${TARVEN_DARWIN_SDK}/frameworks")
# Without it the symbol table names the build machine's paths.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-S")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-S")
list(PREPEND CMAKE_INCLUDE_PATH ${TARVEN_DARWIN_SDK}/include)
list(PREPEND CMAKE_LIBRARY_PATH ${TARVEN_DARWIN_SDK}/lib)

# The C++ run-time library is not at hand: programs that need it are compiled, but not linked.
set(TARVEN_HAS_CPP_RUN_TIME OFF)
