// SPDX-License-Identifier: MIT

// Compares, searches, fills and copies of buffers and strings, beside the C and C++ libraries and
// beside the loop of one byte a turn. A search finds what it looks for in the last byte.
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "bench/byte_loops.h"
#include "bench/rows.h"
#include "util/bits.h"
#include "util/memory.h"
#include "util/strings.h"
#include "util/text.h"

namespace {

constexpr char kPath[] = "compares, searches, fills";
constexpr size_t kLargest = 64 << 10;

struct Size {
  const char* name;
  size_t bytes;
};

constexpr Size kSizes[] = {
    {"16 B", 16}, {"64 B", 64}, {"256 B", 256}, {"4 KiB", 4 << 10}, {"64 KiB", kLargest}};

// ---- Targets ----

// In times of a rival's, up to 64 bytes, 256 bytes and beyond.
struct Target {
  double short_;
  double medium;
  double long_;

  double Of(size_t size) const { return size <= 64 ? short_ : size <= 256 ? medium : long_; }
};

constexpr Target kOnlyToldOf{0, 0, 0};
constexpr Target kNoMore{1.0, 1.0, 1.0};
constexpr Target kOfTheLibrary{1.2, 1.2, 1.2};
constexpr Target kOfTheByteLoop{1.0, 0.2, 0.2};

// ---- Buffers ----

alignas(4096) uint8_t first_buffer[kLargest + 1];
alignas(4096) uint8_t second_buffer[kLargest + 1];
alignas(4096) uint8_t output[kLargest + 1];

// What a row works on. The compiler does not know what it points to.
struct Buffers {
  uint8_t* first = first_buffer;
  uint8_t* second = second_buffer;
  uint8_t* output = ::output;
  size_t size;

  char* first_text() const { return reinterpret_cast<char*>(first); }
  char* second_text() const { return reinterpret_cast<char*>(second); }
  char* output_text() const { return reinterpret_cast<char*>(output); }
  int32_t count() const { return static_cast<int32_t>(size); }
  uint32_t unsigned_count() const { return static_cast<uint32_t>(size); }
};

// Text without a zero before its end, "Some text of a setting" again and again.
void FillWithText(uint8_t* buffer, size_t size) {
  constexpr char kText[] = "Some text of a setting ";
  for (size_t i = 0; i < size; ++i) buffer[i] = static_cast<uint8_t>(kText[i % (sizeof kText - 1)]);
  buffer[size] = '\0';
}

// Each makes the buffers that its rows start from.

void MakeEqualButForTheLast(const Buffers& buffers) {
  FillWithText(buffers.first, buffers.size);
  FillWithText(buffers.second, buffers.size);
  buffers.second[buffers.size - 1] = '!';
}

void MakeEqualButForCaseAndTheLast(const Buffers& buffers) {
  MakeEqualButForTheLast(buffers);
  for (size_t i = 0; i < buffers.size; i += 2) {
    uint8_t& byte = buffers.second[i];
    if (byte >= 'a' && byte <= 'z') byte = static_cast<uint8_t>(byte - 0x20);
  }
}

void MakeOnesButForTheLast(const Buffers& buffers) {
  memset(buffers.first, 0xFF, buffers.size);
  buffers.first[buffers.size - 1] = 0x7F;
}

void MakeText(const Buffers& buffers) {
  FillWithText(buffers.first, buffers.size);
  memset(buffers.output, 0, buffers.size + 1);
}

void MakeTextThatEndsInACapital(const Buffers& buffers) {
  FillWithText(buffers.first, buffers.size);
  buffers.first[buffers.size - 1] = 'X';
}

// ---- Rows ----

// What a function of the buffers returns, or 0.
template <typename Function>
auto Result(Function function, const Buffers& buffers) {
  if constexpr (std::is_void_v<std::invoke_result_t<Function, const Buffers&>>) {
    function(buffers);
    return 0;
  } else {
    return function(buffers);
  }
}

// One kind of work in every size. All its functions return the same, and leave the same buffers.
template <typename Project>
class Rows {
 public:
  Rows(const char* name, void (*make)(const Buffers&), Project project)
      : make_(make), project_(project) {
    for (const Size& size : kSizes) {
      rows_.emplace_back(kPath, std::string(name) + ", " + size.name);
      rows_.back().Project(Work(project, Buffers{.size = size.bytes}));
    }
  }

  template <typename Rival>
  Rows& Peer(const char* who, const Target& target, Rival rival) {
    return Add(rival, target,
               [=](bench::Row& row, double limit, auto work) { row.Peer(who, limit, work); });
  }

  template <typename Rival>
  Rows& Limit(const char* who, const Target& target, Rival rival) {
    return Add(rival, target,
               [=](bench::Row& row, double limit, auto work) { row.Limit(who, limit, work); });
  }

  template <typename Rival>
  Rows& Loop(Rival rival) {
    return Peer("byte loop", kOfTheByteLoop, rival);
  }

 private:
  template <typename Rival, typename AddTo>
  Rows& Add(Rival rival, const Target& target, AddTo add) {
    for (size_t i = 0; i < rows_.size(); ++i) {
      const Buffers buffers{.size = kSizes[i].bytes};
      if (Run(buffers, project_) != Run(buffers, rival)) abort();
      add(rows_[i], target.Of(buffers.size), Work(rival, buffers));
    }
    return *this;
  }

  // The function forgets between calls what it knows of the buffers.
  template <typename Function>
  auto Work(Function function, const Buffers& buffers) const {
    return [function, buffers, make = make_](benchmark::State& state) {
      make(buffers);
      Buffers used = buffers;
      for (auto _ : state) {
        benchmark::DoNotOptimize(used);
        benchmark::DoNotOptimize(Result(function, used));
        benchmark::ClobberMemory();
      }
    };
  }

  template <typename Function>
  auto Run(const Buffers& buffers, Function function) const {
    make_(buffers);
    const auto result = static_cast<int64_t>(Result(function, buffers));
    std::string left(buffers.first, buffers.first + buffers.size);
    left.append(buffers.output, buffers.output + buffers.size);
    return std::pair(result, left);
  }

  void (*make_)(const Buffers&);
  Project project_;
  std::vector<bench::Row> rows_;
};

int Sign(int number) { return (number > 0) - (number < 0); }

int64_t IndexIn(const void* start, const void* found) {
  if (found == nullptr) return -1;
  return static_cast<const uint8_t*>(found) - static_cast<const uint8_t*>(start);
}

// ---- Buffers compared and searched ----

void AddCompares() {
  Rows("first difference", MakeEqualButForTheLast,
       [](const Buffers& b) { return UTIL_FindFirstDiff(b.first, b.second, b.count()); })
      .Peer("std::mismatch", kNoMore,
            [](const Buffers& b) {
              const auto place = std::mismatch(b.first, b.first + b.size, b.second).first;
              return place == b.first + b.size ? -1 : place - b.first;
            })
      // It tells no index, and so less: here it is the last one.
      .Limit("memcmp", kOfTheLibrary,
             [](const Buffers& b) {
               return memcmp(b.first, b.second, b.size) == 0 ? -1 : b.count() - 1;
             })
      .Loop(
          [](const Buffers& b) { return byte_loops::FirstDifference(b.first, b.second, b.size); });
  Rows("comparison", MakeEqualButForTheLast,
       [](const Buffers& b) { return Sign(UTIL_memcmp(b.first, b.second, b.count())); })
      .Limit("memcmp", kOfTheLibrary,
             [](const Buffers& b) { return Sign(memcmp(b.first, b.second, b.size)); })
      .Loop([](const Buffers& b) {
        const int64_t i = byte_loops::FirstDifference(b.first, b.second, b.size);
        return i < 0 ? 0 : Sign(b.first[i] - b.second[i]);
      });
  Rows("first other byte", MakeOnesButForTheLast,
       [](const Buffers& b) { return UTIL_FindNotByte(b.first, 0xFF, b.unsigned_count()); })
      .Limit("memchr", kOfTheLibrary,
             [](const Buffers& b) { return IndexIn(b.first, memchr(b.first, 0x7F, b.size)); })
      .Loop([](const Buffers& b) { return byte_loops::FirstOther(b.first, 0xFF, b.size); });
}

void AddComparesWithoutCase() {
  Rows("comparison without case", MakeEqualButForCaseAndTheLast,
       [](const Buffers& b) { return Sign(UTIL_memicmp(b.first, b.second, b.unsigned_count())); })
      .Peer("strncasecmp", kOnlyToldOf,
            [](const Buffers& b) {
              return Sign(strncasecmp(b.first_text(), b.second_text(), b.size));
            })
      .Loop([](const Buffers& b) {
        const int64_t i = byte_loops::FirstDifferenceWithoutCase(b.first, b.second, b.size);
        return i < 0 ? 0 : Sign((b.first[i] | 0x20) - (b.second[i] | 0x20));
      });
  Rows("strings without case", MakeEqualButForCaseAndTheLast,
       [](const Buffers& b) { return Sign(UTIL_stricmp(b.first_text(), b.second_text())); })
      .Peer("strcasecmp", kOnlyToldOf,
            [](const Buffers& b) { return Sign(strcasecmp(b.first_text(), b.second_text())); })
      .Loop([](const Buffers& b) {
        return Sign(byte_loops::CompareWithoutCase(b.first_text(), b.second_text()));
      });
  Rows("bounded strings without case", MakeEqualButForCaseAndTheLast,
       [](const Buffers& b) {
         return Sign(UTIL_strnicmp(b.first_text(), b.second_text(), b.unsigned_count()));
       })
      .Peer("strncasecmp", kOnlyToldOf,
            [](const Buffers& b) {
              return Sign(strncasecmp(b.first_text(), b.second_text(), b.size));
            })
      .Loop([](const Buffers& b) {
        return Sign(byte_loops::CompareWithoutCase(b.first_text(), b.second_text(), b.size));
      });
}

// ---- Buffers changed ----

// All bits of the output but the first three and the last five.
void SetEnds(const Buffers& buffers) {
  buffers.output[0] |= 0xF8;
  buffers.output[buffers.size - 1] |= 0x07;
}

void AddFillsAndCopies() {
  Rows("run of bits", MakeText,
       [](const Buffers& b) { UTIL_SetBitRange(b.output, 3, b.unsigned_count() * 8 - 8); })
      .Limit("memset", kOfTheLibrary,
             [](const Buffers& b) {
               SetEnds(b);
               memset(b.output + 1, 0xFF, b.size - 2);
             })
      .Loop([](const Buffers& b) {
        SetEnds(b);
        byte_loops::Fill(b.output + 1, 0xFF, b.size - 2);
      });
  Rows("copied records", MakeText, [](const Buffers& b) {
    UTIL_CopyRecords(b.output, 16, b.first, 16, b.unsigned_count() / 16);
  }).Limit("memcpy", kOfTheLibrary, [](const Buffers& b) {
      memcpy(b.output, b.first, b.size);
    }).Loop([](const Buffers& b) { byte_loops::Copy(b.output, b.first, b.size); });
  Rows("copied string", MakeText,
       [](const Buffers& b) {
         UTIL_CopyString(b.output_text(), b.first_text(), b.unsigned_count() + 1);
       })
      .Limit("strlen and memcpy", kOfTheLibrary,
             [](const Buffers& b) { memcpy(b.output, b.first, strlen(b.first_text()) + 1); })
      .Loop([](const Buffers& b) {
        byte_loops::CopyString(b.output_text(), b.first_text(), b.size + 1);
      });
  Rows("reversal", MakeText, [](const Buffers& b) { UTIL_Reverse(b.first, b.unsigned_count()); })
      .Peer("std::reverse", kNoMore,
            [](const Buffers& b) { std::reverse(b.first, b.first + b.size); })
      .Loop([](const Buffers& b) { byte_loops::Reverse(b.first, b.size); });
}

// ---- Strings ----

template <typename Convert>
void Transform(char* text, Convert convert) {
  std::transform(text, text + strlen(text), text, convert);
}

void AddSearchesInStrings() {
  Rows("bounded length", MakeText,
       [](const Buffers& b) { return UTIL_strnlen(b.first_text(), 0x80000000); })
      .Limit("strnlen", kOfTheLibrary,
             [](const Buffers& b) { return strnlen(b.first_text(), 0x80000000); })
      .Loop([](const Buffers& b) { return byte_loops::Length(b.first_text(), 0x80000000); });
  Rows("character in a string", MakeTextThatEndsInACapital,
       [](const Buffers& b) { return UTIL_strchrIndex(b.first_text(), 'X'); })
      .Limit("strchr", kOfTheLibrary,
             [](const Buffers& b) { return IndexIn(b.first, strchr(b.first_text(), 'X')); })
      .Loop([](const Buffers& b) { return byte_loops::IndexOf(b.first_text(), 'X'); });
  Rows("plain text", MakeText, [](const Buffers& b) { return UTIL_IsPlainText(b.first_text()); })
      .Peer("std::all_of", kNoMore,
            [](const Buffers& b) {
              const char* const text = b.first_text();
              return std::all_of(text, text + strlen(text),
                                 [](char c) { return c != '"' && static_cast<uint8_t>(c) < 0x80; });
            })
      .Loop([](const Buffers& b) { return byte_loops::IsPlain(b.first_text()); });
}

void AddStringsChanged() {
  Rows("string to small letters", MakeText, [](const Buffers& b) { UTIL_ToLower(b.first_text()); })
      .Peer("std::transform", kNoMore,
            [](const Buffers& b) {
              Transform(b.first_text(), [](char c) {
                return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c;
              });
            })
      .Loop([](const Buffers& b) { byte_loops::ToLower(b.first_text()); });
  Rows("string to capitals", MakeText, [](const Buffers& b) { UTIL_ToUpper(b.first_text()); })
      .Peer("std::transform", kNoMore,
            [](const Buffers& b) {
              Transform(b.first_text(), [](char c) {
                return c >= 'a' && c <= 'z' ? static_cast<char>(c - 0x20) : c;
              });
            })
      .Loop([](const Buffers& b) { byte_loops::ToUpper(b.first_text()); });
  Rows("replaced character", MakeText,
       [](const Buffers& b) { UTIL_ReplaceChar(b.first_text(), ' ', '_'); })
      .Peer("std::replace", kNoMore,
            [](const Buffers& b) {
              char* const text = b.first_text();
              std::replace(text, text + strlen(text), ' ', '_');
            })
      .Loop([](const Buffers& b) { byte_loops::ReplaceCharacter(b.first_text(), ' ', '_'); });
}

}  // namespace

void bench::AddRows() {
  AddCompares();
  AddComparesWithoutCase();
  AddFillsAndCopies();
  AddSearchesInStrings();
  AddStringsChanged();
}
