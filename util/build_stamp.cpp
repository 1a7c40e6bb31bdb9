// SPDX-License-Identifier: MIT

// The one source that holds a time stamp: all others compile to the same bytes at any time.
#include "util/build_stamp.h"

const char* UTIL_GetBuildDate() { return __DATE__; }

const char* UTIL_GetBuildTime() { return __TIME__; }

// The year stands behind "Jun  5 ".
const char* UTIL_GetReleaseYear() { return UTIL_GetBuildDate() + 7; }
