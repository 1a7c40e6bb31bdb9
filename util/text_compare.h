// SPDX-License-Identifier: MIT

// The comparison that the string families share.
#ifndef TARVEN_UTIL_TEXT_COMPARE_H_
#define TARVEN_UTIL_TEXT_COMPARE_H_

#include <cstddef>
#include <cstdint>

namespace text_compare {

// UTIL_stricmp over at most maximum characters, which need no terminator then.
int32_t WithoutCase(const char* first, const char* second, size_t maximum);

}  // namespace text_compare

#endif
