// SPDX-License-Identifier: MIT

// Texts from numbers and strings, beside the formatters that a user would take instead. All print
// into the same buffer, know its capacity and terminate the text.
#include <absl/strings/str_format.h>
#include <fmt/compile.h>
#include <fmt/format.h>
#include <stb/stb_sprintf.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "bench/rows.h"
#include "util/format.h"
#include "util/values.h"

namespace {

constexpr size_t kTextSize = 256;
constexpr size_t kSetCount = 64;

// A directive's arguments, one set after the other. What AddRows makes lives as long as the program.
template <typename... Arguments>
using Sets = std::vector<std::tuple<Arguments...>>;

// ---- Work ----

// Prints with one set of arguments an iteration. The compiler knows neither them nor the capacity.
template <typename Set, typename Print>
auto Walk(const std::vector<Set>& sets, size_t capacity, Print print) {
  return [&sets, capacity, print](benchmark::State& state) {
    char buffer[kTextSize];
    char* text = buffer;
    benchmark::DoNotOptimize(text);
    size_t next = 0;
    for (auto _ : state) {
      size_t room = capacity;
      benchmark::DoNotOptimize(room);
      std::apply(
          [&](auto... arguments) {
            (benchmark::DoNotOptimize(arguments), ...);
            print(text, room, arguments...);
          },
          sets[next]);
      next = (next + 1) % kSetCount;
      benchmark::ClobberMemory();
    }
  };
}

// A row whose rivals print what the project prints, which is looked at before anything is timed.
template <typename Set>
class PrintRow {
 public:
  template <typename Print>
  PrintRow(const std::string& path, const std::string& workload, double target, size_t capacity,
           const std::vector<Set>& sets, Print print)
      : row_(path, workload), target_(target), capacity_(capacity), sets_(sets) {
    for (const Set& set : sets) expected_.push_back(Text(set, print));
    row_.Project(Walk(sets, capacity, print));
  }

  template <typename Print>
  PrintRow& Peer(const char* who, Print print) {
    return Add(who, target_, print);
  }

  // A rival that does less, such as to know no capacity.
  template <typename Print>
  PrintRow& Unjudged(const char* who, Print print) {
    return Add(who, 0, print);
  }

 private:
  template <typename Print>
  std::string Text(const Set& set, Print print) {
    char text[kTextSize];
    std::apply([&](auto... arguments) { print(text, capacity_, arguments...); }, set);
    return text;
  }

  template <typename Print>
  PrintRow& Add(const char* who, double target, Print print) {
    for (size_t i = 0; i < sets_.size(); ++i) {
      const std::string text = Text(sets_[i], print);
      if (text == expected_[i]) continue;
      fprintf(stderr, "%s prints \"%s\" instead of \"%s\".\n", who, text.c_str(),
              expected_[i].c_str());
      abort();
    }
    row_.Peer(who, target, Walk(sets_, capacity_, print));
    return *this;
  }

  bench::Row row_;
  double target_;
  size_t capacity_;
  const std::vector<Set>& sets_;
  std::vector<std::string> expected_;
};

// Some rivals take their formats as literals only, hence the macros: a printer of any arguments.
#define PRINT(...) \
  []([[maybe_unused]] char* text, [[maybe_unused]] size_t room, auto... arguments) { __VA_ARGS__; }

// The rivals of a row, with the format in both notations.
#define RIVALS(percent, braces)                                                                    \
  Peer("snprintf", PRINT(snprintf(text, room, percent, arguments...)))                             \
      .Peer(                                                                                       \
          "fmt",                                                                                   \
          PRINT(*fmt::format_to_n(text, room - 1, fmt::runtime(braces), arguments...).out = '\0')) \
      .Peer(                                                                                       \
          "fmt compiled",                                                                          \
          PRINT(*fmt::format_to_n(text, room - 1, FMT_COMPILE(braces), arguments...).out = '\0'))  \
      .Peer("stb_snprintf",                                                                        \
            PRINT(stbsp_snprintf(text, static_cast<int>(room), percent, arguments...)))            \
      .Peer("absl::SNPrintF", PRINT(absl::SNPrintF(text, room, percent, arguments...)))

// {fmt}'s interface without a capacity, where nothing is cut.
#define UNBOUNDED(braces)            \
  Unjudged("fmt compiled, no bound", \
           PRINT(*fmt::format_to(text, FMT_COMPILE(braces), arguments...) = '\0'))

#define PROJECT(percent) \
  PRINT(UTIL_snprintf(text, static_cast<int32_t>(room), percent, arguments...))

// ---- Arguments ----

std::mt19937_64& Random() {
  static std::mt19937_64 random(20'200'605);
  return random;
}

// make() gives a set.
template <typename Make>
const auto& SetsOf(Make make) {
  auto* const sets = new std::vector<decltype(make())>;
  for (size_t i = 0; i < kSetCount; ++i) sets->push_back(make());
  return *sets;
}

int64_t Between(int64_t first, int64_t last) {
  return std::uniform_int_distribution<int64_t>(first, last)(Random());
}

int IntBetween(int64_t first, int64_t last) { return static_cast<int>(Between(first, last)); }

unsigned UnsignedBetween(int64_t first, int64_t last) {
  return static_cast<unsigned>(Between(first, last));
}

// Numbers of all lengths alike.
uint64_t OfAnyLength(int bits) {
  return Random()() >> 1 >> (63 - static_cast<unsigned>(Between(0, bits)));
}

int64_t OfAnySign(uint64_t magnitude) {
  const auto value = static_cast<int64_t>(magnitude);
  return Between(0, 1) == 0 ? value : -value;
}

const char* TextOf(int64_t shortest, int64_t longest) {
  auto* const text = new std::string;
  for (int64_t length = Between(shortest, longest); length > 0; --length) {
    text->push_back(static_cast<char>(Between('a', 'z')));
  }
  return text->c_str();
}

// ---- Rows ----

constexpr double kFormattedTarget = 0.95;
constexpr double kHexTarget = 0.42;
constexpr double kTextTarget = 0.75;

#define PRINT_ROW(path, workload, target, capacity, sets, percent, braces) \
  PrintRow(path, workload, target, capacity, sets, PROJECT(percent)).RIVALS(percent, braces)

#define FULL_ROW(path, workload, target, sets, percent, braces) \
  PRINT_ROW(path, workload, target, kTextSize, sets, percent, braces).UNBOUNDED(braces)

void AddDecimalRows() {
  const char* const path = "formatted output";
  FULL_ROW(path, "%d, small", kFormattedTarget,
           SetsOf([] { return std::tuple(IntBetween(-99, 99)); }), "%d", "{}");
  FULL_ROW(path, "%d, large", kFormattedTarget, SetsOf([] {
             return std::tuple(static_cast<int>(
                 OfAnySign(static_cast<uint64_t>(Between(100'000'000, INT32_MAX)))));
           }),
           "%d", "{}");
  FULL_ROW(path, "%d, mixed", kFormattedTarget,
           SetsOf([] { return std::tuple(static_cast<int>(OfAnySign(OfAnyLength(31)))); }), "%d",
           "{}");
  FULL_ROW(path, "%u, mixed", kFormattedTarget,
           SetsOf([] { return std::tuple(static_cast<unsigned>(OfAnyLength(32))); }), "%u", "{}");
  FULL_ROW(path, "%lld, mixed", kFormattedTarget,
           SetsOf([] { return std::tuple(static_cast<long long>(OfAnySign(OfAnyLength(63)))); }),
           "%lld", "{}");
  FULL_ROW(path, "%llu, large", kFormattedTarget, SetsOf([] {
             return std::tuple(static_cast<unsigned long long>(Random()() | uint64_t{1} << 63));
           }),
           "%llu", "{}");
  FULL_ROW(path, "%5d", kFormattedTarget, SetsOf([] { return std::tuple(IntBetween(0, 99'999)); }),
           "%5d", "{:5}");
  FULL_ROW(path, "%.3d", kFormattedTarget, SetsOf([] { return std::tuple(IntBetween(0, 999)); }),
           "%.3d", "{:03}");
  FULL_ROW(path, "%20llu", kFormattedTarget,
           SetsOf([] { return std::tuple(static_cast<unsigned long long>(OfAnyLength(63))); }),
           "%20llu", "{:20}");
}

void AddMessageRows() {
  const char* const path = "formatted output";
  FULL_ROW(path, "message of one number", kFormattedTarget,
           SetsOf([] { return std::tuple(IntBetween(1, 65'535)); }),
           "Connecting to M-Bolt VQX Server via localhost:%d ...",
           "Connecting to M-Bolt VQX Server via localhost:{} ...");
  FULL_ROW(path, "message of all kinds", kFormattedTarget, SetsOf([] {
             return std::tuple(TextOf(3, 16), static_cast<unsigned>(OfAnyLength(32)),
                               static_cast<long long>(OfAnySign(OfAnyLength(63))),
                               static_cast<unsigned>(Random()()), IntBetween(-99, 99), '!');
           }),
           "Target %s: read %u of %lld bytes at 0x%.8X, code %d%c",
           "Target {}: read {} of {} bytes at 0x{:08X}, code {}{}");
}

void AddHexRows() {
  const char* const path = "hexadecimal output";
  const auto word = [] { return static_cast<unsigned>(Random()()); };
  FULL_ROW(path, "%.8X", kHexTarget, SetsOf([=] { return std::tuple(word()); }), "%.8X", "{:08X}");
  FULL_ROW(path, "0x%.8X%.8X", kHexTarget, SetsOf([=] { return std::tuple(word(), word()); }),
           "0x%.8X%.8X", "0x{:08X}{:08X}");

  const auto& addresses = SetsOf([] {
    const auto byte = [] { return UnsignedBetween(0, 255); };
    return std::tuple(byte(), ':', byte(), ':', byte(), ':', byte(), ':', byte(), ':', byte());
  });
  PrintRow(path, "MAC address", kHexTarget, kTextSize, addresses,
           [](char* text, size_t room, auto... arguments) {
             const std::tuple all(arguments...);
             const uint8_t bytes[] = {
                 static_cast<uint8_t>(std::get<0>(all)), static_cast<uint8_t>(std::get<2>(all)),
                 static_cast<uint8_t>(std::get<4>(all)), static_cast<uint8_t>(std::get<6>(all)),
                 static_cast<uint8_t>(std::get<8>(all)), static_cast<uint8_t>(std::get<10>(all))};
             UTIL_FormatMACAddr(bytes, std::get<1>(all), text, static_cast<uint32_t>(room));
           })
      .RIVALS("%.2X%c%.2X%c%.2X%c%.2X%c%.2X%c%.2X",
              "{:02X}{}{:02X}{}{:02X}{}{:02X}{}{:02X}{}{:02X}")
      .UNBOUNDED("{:02X}{}{:02X}{}{:02X}{}{:02X}{}{:02X}{}{:02X}");
}

void AddTextRows() {
  const char* const path = "text output";
  FULL_ROW(path, "%s, short", kTextTarget, SetsOf([] { return std::tuple(TextOf(0, 15)); }), "%s",
           "{}");
  FULL_ROW(path, "%s, long", kTextTarget, SetsOf([] { return std::tuple(TextOf(40, 120)); }), "%s",
           "{}");
  FULL_ROW(path, "path", kTextTarget,
           SetsOf([] { return std::tuple(TextOf(10, 60), TextOf(4, 20)); }), "%s/%s", "{}/{}");
  FULL_ROW(path, "name of a value's type", kTextTarget,
           SetsOf([] { return std::tuple(TextOf(4, 20)); }), "%s_TARVENRegType",
           "{}_TARVENRegType");
  FULL_ROW(path, "name of a string of many", kTextTarget,
           SetsOf([] { return std::tuple(TextOf(4, 20), IntBetween(0, 12)); }),
           "%s_TARVENRegMltStr%d", "{}_TARVENRegMltStr{}");
  const auto& no_arguments = SetsOf([] { return std::tuple(); });
  FULL_ROW(path, "literal, short", kTextTarget, no_arguments, "text", "text");
  FULL_ROW(path, "literal", kTextTarget, no_arguments, "Connection lost. Going to reconnect.",
           "Connection lost. Going to reconnect.");
  PRINT_ROW(path, "cut string", kTextTarget, 16, SetsOf([] { return std::tuple(TextOf(20, 60)); }),
            "%s", "{}");
  PRINT_ROW(path, "cut message", kTextTarget, 32,
            SetsOf([] { return std::tuple(TextOf(3, 16), static_cast<unsigned>(Random()())); }),
            "Target %s did not answer: error %u", "Target {} did not answer: error {}");
}

}  // namespace

void bench::AddRows() {
  AddDecimalRows();
  AddMessageRows();
  AddHexRows();
  AddTextRows();
}
