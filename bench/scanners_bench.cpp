// SPDX-License-Identifier: MIT

// Numbers out of text: the decimal and hexadecimal scanners beside those of the C and C++ libraries.
// All of them give the value and the place behind the number.
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bench/rows.h"
#include "util/parse.h"

namespace {

struct Scan {
  uint64_t value;
  const char* end;

  bool operator==(const Scan&) const = default;
};

using Texts = std::vector<std::string>;

// ---- The scanners ----

Scan ProjectDecimal(const std::string& text) {
  Scan scan = {0, text.c_str()};
  if (UTIL_ParseNumber64(&scan.end, &scan.value, 0) != 0) std::abort();
  return scan;
}

Scan ProjectHex(const std::string& text) {
  Scan scan = {0, text.c_str()};
  if (UTIL_ParseHex64(&scan.end, &scan.value) != 0) std::abort();
  return scan;
}

template <int kBase>
Scan Strtoull(const std::string& text) {
  char* end;
  const uint64_t value = strtoull(text.c_str(), &end, kBase);
  return {value, end};
}

Scan FromChars(const char* first, const char* last, int base) {
  Scan scan = {0, first};
  const auto result = std::from_chars(first, last, scan.value, base);
  if (result.ec != std::errc()) std::abort();
  scan.end = result.ptr;
  return scan;
}

// It is told where the text ends.
Scan FromCharsDecimal(const std::string& text) {
  return FromChars(text.data(), text.data() + text.size(), 10);
}

Scan FromCharsHex(const std::string& text) {
  return FromChars(text.data(), text.data() + text.size(), 16);
}

// It takes no prefix.
Scan FromCharsHexBehindPrefix(const std::string& text) {
  const char* first = text.data();
  if (first[0] == '0' && (first[1] == 'x' || first[1] == 'X')) first += 2;
  return FromChars(first, text.data() + text.size(), 16);
}

// ---- The texts ----

// Few enough to stay in the nearest cache.
constexpr int kTexts = 500;

// Numbers with so many digits, the first of which is none of the leading zeros.
Texts Numbers(const std::string& prefix, const std::string& digits, int fewest, int most) {
  std::mt19937 random(20240229);
  const auto draw = [&random](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  const int base = static_cast<int>(digits.size());
  Texts texts;
  for (int i = 0; i < kTexts; ++i) {
    std::string text = prefix;
    for (int left = draw(fewest, most); left > 0; --left) {
      const int lowest = text.size() == prefix.size() ? 1 : 0;
      // Twenty digits that begin with a 1 and a number below 8 fit in 64 bits.
      const int highest = most == 20 && text.size() < 2 ? (text.empty() ? 1 : 7) : base - 1;
      text += digits[static_cast<size_t>(draw(lowest, highest))];
    }
    texts.push_back(text);
  }
  return texts;
}

Texts Decimal(int fewest, int most) { return Numbers("", "0123456789", fewest, most); }

Texts Hexadecimal(const std::string& prefix, int fewest, int most) {
  return Numbers(prefix, "0123456789ABCDEF", fewest, most);
}

// ---- The rows ----

template <typename Scanner>
auto ScanAll(const Texts& texts, Scanner scanner) {
  return [texts, scanner](benchmark::State& state) {
    for (auto _ : state) {
      for (const std::string& text : texts) {
        Scan scan = scanner(text);
        benchmark::DoNotOptimize(scan);
      }
    }
  };
}

template <typename Scanner, typename OtherScanner>
void ExpectSame(const Texts& texts, Scanner scanner, OtherScanner other) {
  for (const std::string& text : texts) {
    if (!(scanner(text) == other(text))) std::abort();
  }
}

void AddDecimalRow(const std::string& workload, const Texts& texts) {
  ExpectSame(texts, ProjectDecimal, Strtoull<10>);
  ExpectSame(texts, ProjectDecimal, FromCharsDecimal);
  bench::Row("number scanners", workload)
      .Project(ScanAll(texts, [](const std::string& text) { return ProjectDecimal(text); }))
      .Peer("strtoull", 0.92,
            ScanAll(texts, [](const std::string& text) { return Strtoull<10>(text); }))
      .Peer("std::from_chars", 0.92,
            ScanAll(texts, [](const std::string& text) { return FromCharsDecimal(text); }));
}

template <typename FromCharsScanner>
void AddHexRow(const std::string& workload, const Texts& texts, FromCharsScanner from_chars) {
  ExpectSame(texts, ProjectHex, Strtoull<16>);
  ExpectSame(texts, ProjectHex, from_chars);
  bench::Row("number scanners", workload)
      .Project(ScanAll(texts, [](const std::string& text) { return ProjectHex(text); }))
      .Peer("strtoull", 0.65,
            ScanAll(texts, [](const std::string& text) { return Strtoull<16>(text); }))
      .Peer("std::from_chars", 0.65, ScanAll(texts, from_chars));
}

}  // namespace

void bench::AddRows() {
  AddDecimalRow("500 decimal, 1 to 3 digits", Decimal(1, 3));
  AddDecimalRow("500 decimal, 19 digits", Decimal(19, 19));
  AddDecimalRow("500 decimal, 1 to 20 digits", Decimal(1, 20));
  const struct {
    const char* name;
    int fewest;
    int most;
  } lengths[] = {{"8 digits", 8, 8}, {"16 digits", 16, 16}, {"1 to 16 digits", 1, 16}};
  for (const auto& length : lengths) {
    const std::string name = std::string("500 hexadecimal, ") + length.name;
    AddHexRow(name, Hexadecimal("", length.fewest, length.most),
              [](const std::string& text) { return FromCharsHex(text); });
    AddHexRow(name + " behind 0x", Hexadecimal("0x", length.fewest, length.most),
              [](const std::string& text) { return FromCharsHexBehindPrefix(text); });
  }
}
