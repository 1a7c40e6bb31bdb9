// SPDX-License-Identifier: MIT

// Lists, versions, addresses, sizes and durations: what is read is what the reference reads, what is
// written in any buffer is the start of the whole text.
//
// Input: two bytes for a capacity, a text up to a zero, eight bytes for a number, and lists of blocks
// up to the end: a count of one byte (0 ends a list) and a size of four.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/scanner_reference.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"
#include "sys/clock.h"
#include "util/parse.h"
#include "util/values.h"

namespace {

using fuzz::ExactBuffer;
using fuzz::ExactText;
using fuzz::Require;
using scanner_reference::Cursor;

// ---- Texts that are read ----

// An item of each call until the list, or its progress, ends.
void CheckItems(const std::string& list, uint32_t capacity) {
  ExactText text(list);
  const char* at = text.begin();
  Cursor expected{list};
  for (size_t last = list.size() + 1; expected.position != last && !expected.is_at_end();) {
    last = expected.position;
    ExactBuffer item(capacity);
    UTIL_ParseListItem(&at, item.data(), capacity);
    const auto stored = ListItem(&expected, capacity).stored;
    if (stored) item.RequireText(*stored, "an item is stored, cut and terminated");
    Require(at == text.begin() + expected.position, "the cursor stands before the next item");
  }
}

void CheckVersion(const std::string& version) {
  ExactText text(version);
  const char* at = text.begin();
  Cursor cursor{version};
  const auto expected = ReadVersion(&cursor);
  uint32_t major = 1;
  uint32_t minor = 1;
  uint32_t letter = 1;
  Require(UTIL_ParseVersion(&at, &major, &minor, &letter) == (expected.is_well_formed ? 0 : -1),
          "a version is told from what is none");
  Require(major == expected.major && minor == expected.minor, "a version has its numbers");
  Require(letter == expected.letter, "a version has its letter");
  Require(at == text.begin() + cursor.position, "the cursor stands behind the version");
}

std::string WrittenAddress(uint32_t address) {
  char text[sizeof "255.255.255.255"];
  UTIL_FormatIPAddr(address, text, sizeof text);
  return text;
}

void CheckAddress(const std::string& address) {
  ExactText text(address);
  Cursor cursor{address};
  uint64_t expected = 0;
  bool is_address = true;
  for (uint32_t shift = 0; is_address && shift < 32; shift += 8) {
    is_address = shift == 0 || cursor.Accept('.');
    const auto number = is_address ? Number(&cursor, false) : std::nullopt;
    is_address = number.has_value();
    expected |= number.value_or(0) << shift;
  }
  uint32_t read = 0xDEADBEEF;
  Require(UTIL_ParseIPAddr(text.data(), &read) == (is_address ? 0 : -1),
          "an address is told from what is none");
  Require(read == (is_address ? static_cast<uint32_t>(expected) : 0xDEADBEEF),
          "an address has its numbers, the first one lowest");
  if (!is_address) return;
  uint32_t again = 0;
  Require(UTIL_ParseIPAddr(WrittenAddress(read).c_str(), &again) == 0 && again == read,
          "an address that was written reads back");
}

// Of a stamp only the place of its digits is looked at.
void CheckBuildStamp(const std::string& stamp) {
  constexpr size_t kLength = 20;
  ExactText text(stamp + std::string(kLength, '0'));
  uint32_t date = 1;
  uint32_t time = 1;
  constexpr const char* kMonths = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec ";
  const std::string month = (stamp + std::string(kLength, '0')).substr(0, 3) + " ";
  const char* const found = strstr(kMonths, month.c_str());
  const bool is_month = found != nullptr && (found - kMonths) % 4 == 0;
  Require(SYS_ParseBuildDateTime(text.data(), &date, &time) == (is_month ? 0 : -1),
          "a stamp begins with a month");
  Require(is_month || (date == 1 && time == 1), "nothing is stored without a month");
}

// ---- Texts that are written ----

using Writer = std::function<void(char* buffer, uint32_t size)>;

// The whole text is the one in a large buffer; in a smaller one it is cut, and in none it is nothing.
std::string CheckWriter(const Writer& write, uint32_t capacity) {
  ExactBuffer large(2000);
  write(large.data(), 2000);
  const std::string whole = large.data();
  ExactBuffer buffer(capacity);
  write(buffer.data(), capacity);
  if (capacity != 0) {
    buffer.RequireText(whole.substr(0, capacity - 1), "a text is cut to its buffer");
  }
  return whole;
}

std::string ExpectedSize(int64_t count) {
  constexpr struct {
    int64_t bytes;
    const char* name;
  } kUnits[] = {{1 << 30, " GB"}, {1 << 20, " MB"}, {1 << 10, " KB"}};
  for (const auto& unit : kUnits) {
    if (count != 0 && count % unit.bytes == 0) {
      return std::to_string(static_cast<int32_t>(count / unit.bytes)) + unit.name;
    }
    if (count > unit.bytes && count % (unit.bytes / 2) == 0) {
      return std::to_string(count / unit.bytes) + ".5" + unit.name;
    }
  }
  const auto low_half = static_cast<uint32_t>(count);
  const std::string number =
      count < 0 ? "-" + std::to_string(0 - low_half) : std::to_string(low_half);
  return number + (count == 1 || count == -1 ? " Byte" : " Bytes");
}

void CheckSize(int64_t count, uint32_t capacity) {
  const auto write = [=](char* buffer, uint32_t size) { UTIL_FormatSize(count, buffer, size); };
  Require(CheckWriter(write, capacity) == ExpectedSize(count),
          "a size has the greatest unit that needs no rounding");
}

std::string ThreeDigits(uint64_t number) { return std::to_string(1000 + number).substr(1); }

void CheckDuration(uint64_t microseconds, uint32_t capacity) {
  const auto hours = static_cast<int32_t>(microseconds / 3'600'000'000);
  const uint64_t minutes = microseconds / 60'000'000 % 60;
  std::string expected = ThreeDigits(microseconds / 1'000'000 % 60).substr(1) + "." +
                         ThreeDigits(microseconds / 1000 % 1000) + " " +
                         ThreeDigits(microseconds % 1000);
  if (hours != 0) {
    expected = std::to_string(hours) + ":" + ThreeDigits(minutes).substr(1) + ":" + expected;
  } else if (minutes != 0) {
    expected = std::to_string(minutes) + ":" + expected;
  } else if (expected[0] == '0') {
    expected.erase(0, 1);
  }
  const auto write = [=](char* buffer, uint32_t size) {
    UTIL_FormatDuration(microseconds, buffer, size);
  };
  Require(CheckWriter(write, capacity) == expected, "a duration is told in its parts");
}

void CheckSplitVersion(uint32_t number) {
  UTIL_VERSION version;
  memset(&version, 0x5A, sizeof version);
  UTIL_SplitVersion(&version, number);
  const uint32_t revision = number % 100;
  std::string expected;
  if (revision > 26) {
    expected = "z" + std::to_string(100 + revision - 26).substr(1);
  } else if (revision > 0) {
    expected = static_cast<char>('a' + revision - 1);
  }
  Require(memchr(version.revision, '\0', sizeof version.revision) != nullptr &&
              version.revision == expected,
          "a version has its revision");
  Require(version.major == number / 10000 && version.minor == number / 100 % 100,
          "a version has its numbers");
}

void CheckSizeList(fuzz::ByteSource bytes, uint32_t capacity) {
  // A list that starts with an empty block is none at all.
  std::vector<std::vector<UTIL_SIZE_BLOCK>> lists;
  std::string expected;
  uint32_t expected_total = 0;
  while (!bytes.is_empty() && lists.size() < 20) {
    std::vector<UTIL_SIZE_BLOCK>& list = lists.emplace_back();
    uint64_t list_size = 0;
    for (uint32_t count = bytes.Byte(); count != 0; count = bytes.Byte()) {
      list.push_back({count, bytes.Number<uint32_t>(), 0x5A5A5A5A});
      list_size += uint64_t{count} * list.back().unit_size;
    }
    if (!list.empty()) list.push_back({0, 0x5A5A5A5A, 0x5A5A5A5A});
    expected_total += static_cast<uint32_t>(list_size);
    expected += (lists.size() > 1 ? " + " : "") + ExpectedSize(static_cast<int64_t>(list_size));
  }
  if (lists.empty()) expected = "-";
  std::vector<const UTIL_SIZE_BLOCK*> pointers;
  for (auto& list : lists) {
    list.shrink_to_fit();
    pointers.push_back(list.empty() ? nullptr : list.data());
  }
  uint32_t total = 0;
  const auto write = [&](char* buffer, uint32_t size) {
    total =
        UTIL_FormatSizeList(pointers.data(), static_cast<uint32_t>(pointers.size()), buffer, size);
  };
  Require(CheckWriter(write, capacity) == expected, "every list has its size");
  Require(total == expected_total, "the sizes add up");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::ByteSource bytes(data, size);
  const uint32_t capacity = bytes.Number<uint16_t>() % 400;
  const std::string text = bytes.Text();
  const auto number = bytes.Number<uint64_t>();
  CheckItems(text, capacity);
  CheckVersion(text);
  CheckAddress(text);
  CheckBuildStamp(text);
  CheckSize(static_cast<int64_t>(number), capacity);
  CheckDuration(number, capacity);
  CheckSplitVersion(static_cast<uint32_t>(number));
  CheckSizeList(bytes, capacity);
  return 0;
}
