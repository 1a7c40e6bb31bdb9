// SPDX-License-Identifier: MIT

// A stand-in for the probe's shared library, with every function of the probe's interface and no
// probe behind it. It shows how the functions are called: with PROBE_LIBRARY_LOG set in the
// environment when it is loaded, each call adds a line to the file of that name,
//
//   MBOLT_SetBP(0x3, 0x8000)
//
// Every function returns a 64-bit value of its own: the 64-bit FNV-1a hash (by Fowler, Noll and
// Vo) of its name.
#include <atomic>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string_view>

#include "probe/mbolt_api.h"
#include "probe/parameters.h"

namespace {

class CallLog {
 public:
  CallLog() {
    if (const char* path = std::getenv("PROBE_LIBRARY_LOG")) file_ = std::fopen(path, "a");
  }
  ~CallLog() {
    if (IsOpen()) std::fclose(file_);
  }
  CallLog(const CallLog&) = delete;
  CallLog& operator=(const CallLog&) = delete;

  bool IsOpen() const { return file_.load(std::memory_order_acquire) != nullptr; }

  // The lines of several threads do not mix.
  [[gnu::noinline]] void Add(const char* name, std::initializer_list<uintptr_t> arguments) const {
    std::FILE* const file = file_;
    flockfile(file);
    std::fprintf(file, "%s(", name);
    const char* separator = "";
    for (const uintptr_t argument : arguments) {
      std::fprintf(file, "%s0x%" PRIxPTR, separator, argument);
      separator = ", ";
    }
    std::fputs(")\n", file);
    std::fflush(file);
    funlockfile(file);
  }

 private:
  // Which thread loads the library and which call it is the caller's choice.
  std::atomic<std::FILE*> file_ = nullptr;
};

CallLog call_log;

constexpr intptr_t ValueOf(std::string_view name) {
  uint64_t hash = 0xCBF29CE484222325;
  for (const char character : name) {
    hash = (hash ^ static_cast<uint8_t>(character)) * 0x100000001B3;
  }
  return static_cast<intptr_t>(hash);
}

}  // namespace

#define ENTRY_POINT(name, argument_count)                                     \
  intptr_t name(PARAMETERS_##argument_count) {                                \
    if (call_log.IsOpen()) call_log.Add(#name, {ARGUMENTS_##argument_count}); \
    constexpr intptr_t kValue = ValueOf(#name);                               \
    return kValue;                                                            \
  }
#include "probe/entry_points.def"
#undef ENTRY_POINT
