# SPDX-License-Identifier: MIT
# The flags every target shares (tarven_common) and those of the product alone (tarven_product).

set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Kind of build" FORCE)
endif()
set(CMAKE_C_FLAGS_RELEASE "-O2")
set(CMAKE_CXX_FLAGS_RELEASE "-O2")

# Product targets are linked by the C driver and must not pull the C++ run-time library in through it.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")

# A toolchain without that library says so.
if(NOT DEFINED TARVEN_HAS_CPP_RUN_TIME)
  set(TARVEN_HAS_CPP_RUN_TIME ON)
endif()

find_package(Threads REQUIRED)

add_library(tarven_common INTERFACE)
# Headers are found from the root and on the quote path only: a header of ours never hides a system's.
target_compile_options(tarven_common INTERFACE "-iquote${PROJECT_SOURCE_DIR}"
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
target_link_libraries(tarven_common INTERFACE Threads::Threads)
if(TARVEN_WARNINGS_AS_ERRORS)
  target_compile_options(tarven_common INTERFACE -Werror)
endif()
if(TARVEN_SANITIZERS)
  target_compile_options(tarven_common INTERFACE
    -fsanitize=${TARVEN_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tarven_common INTERFACE -fsanitize=${TARVEN_SANITIZERS})
  # Clang's check of indirect calls needs the C++ run-time library, which the product does without.
  target_compile_options(tarven_common INTERFACE $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
endif()
if(TARVEN_COVERAGE)
  target_compile_options(tarven_common INTERFACE --coverage)
  target_link_options(tarven_common INTERFACE --coverage)
endif()

include(Hardening)
add_library(tarven_product INTERFACE)
target_compile_options(tarven_product INTERFACE -fvisibility=hidden
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
target_link_libraries(tarven_product INTERFACE tarven_common tarven_hardened)
