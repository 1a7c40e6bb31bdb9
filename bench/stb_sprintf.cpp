// SPDX-License-Identifier: MIT

// The code of a library that consists of a header.
#define STB_SPRINTF_IMPLEMENTATION
#include <stb/stb_sprintf.h>
