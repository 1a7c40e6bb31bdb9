// SPDX-License-Identifier: MIT

// The entry points as a table, with what the tests pass to them and the stand-in library returns.
#ifndef TARVEN_TESTS_PROBE_ENTRY_POINT_LIST_H_
#define TARVEN_TESTS_PROBE_ENTRY_POINT_LIST_H_

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

namespace probe_test {

struct EntryPoint {
  const char* name;
  int argument_count;
};

inline constexpr EntryPoint kEntryPoints[] = {
#define ENTRY_POINT(name, argument_count) {#name, argument_count},
#include "probe/entry_points.def"
#undef ENTRY_POINT
};

// Arguments whose eight bytes all differ from those of every other argument, entry point and round:
// byte 0 tells the round, byte 1 the argument, bytes 2 and 3 the entry point, the upper half is the
// complement of the lower.
inline std::vector<uintptr_t> PatternsFor(const EntryPoint& entry_point, int round) {
  const auto index = static_cast<uintptr_t>(&entry_point - kEntryPoints);
  std::vector<uintptr_t> patterns;
  for (int i = 0; i < entry_point.argument_count; ++i) {
    const uintptr_t lower =
        index << 16 | static_cast<uintptr_t>(i + 1) << 8 | static_cast<uintptr_t>(round + 1);
    patterns.push_back((~lower & 0xFFFFFFFF) << 32 | lower);
  }
  return patterns;
}

// What the stand-in library returns for a name: the 64-bit FNV-1a hash.
inline intptr_t ValueOf(std::string_view name) {
  uint64_t hash = 14695981039346656037U;
  for (const char character : name) {
    hash ^= static_cast<uint8_t>(character);
    hash *= 1099511628211U;
  }
  return static_cast<intptr_t>(hash);
}

}  // namespace probe_test

#endif
