// SPDX-License-Identifier: MIT

// Paths and names as texts: split, put together, joined and cleaned as plain string operations do it.
//
// Input: the byte of AllocationChoice, two bytes for a capacity, a byte whose lowest bit says whether
// paths can be opened, then up to three texts, each up to a zero.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/support/allocation_choice.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"
#include "settings/xml.h"
#include "sys/paths.h"
#include "util/strings.h"
#include "util/text.h"

namespace {

constexpr int kDescriptor = 1000;

// Only while a path function runs: everybody else opens files as ever.
enum class Opening { kReal, kWorks, kFails };
Opening opening = Opening::kReal;

}  // namespace

extern "C" {

int __real_open(const char* path, int flags, unsigned mode);
int __real_close(int descriptor);

int __wrap_open(const char* path, int flags, unsigned mode) {
  if (opening == Opening::kReal) return __real_open(path, flags, mode);
  return opening == Opening::kWorks ? kDescriptor : -1;
}

int __wrap_close(int descriptor) {
  return opening == Opening::kReal ? __real_close(descriptor) : 0;
}

}  // extern "C"

namespace {

using fuzz::ExactBuffer;
using fuzz::ExactText;
using fuzz::Require;

struct Input {
  uint8_t allocation;
  uint32_t capacity;
  Opening opening;
  std::string path;
  std::string second;
  std::string third;
};

Input ReadInput(fuzz::ByteSource bytes) {
  Input input;
  input.allocation = bytes.Byte();
  input.capacity = bytes.Number<uint16_t>() % 1200;
  input.opening = bytes.Byte() % 2 == 0 ? Opening::kFails : Opening::kWorks;
  input.path = bytes.Text();
  input.second = bytes.Text();
  input.third = bytes.Text();
  return input;
}

std::string CutToPath(const std::string& text) { return text.substr(0, SYS_PATH_CAPACITY - 1); }

// ---- Splitting ----

struct Parts {
  std::string directory;
  std::string name;
  std::string extension;
};

Parts PartsOf(const std::string& path) {
  Parts parts;
  const size_t slash = path.rfind('/');
  const std::string last = slash == path.npos ? path : path.substr(slash + 1);
  const size_t dot = last.rfind('.');
  if (dot != last.npos && dot != 0) parts.extension = last.substr(dot);
  parts.name = last;
  if (slash != path.npos) {
    parts.directory = path.substr(0, slash);
    parts.name.resize(last.size() - parts.extension.size());
  }
  return parts;
}

// Each output has the capacity, but room for a path at least.
void CheckSplit(const Input& input) {
  const uint32_t capacity = input.capacity;
  const size_t room = std::max<size_t>(capacity, SYS_PATH_CAPACITY);
  ExactText path(input.path);
  ExactBuffer drive(room);
  ExactBuffer directory(room);
  ExactBuffer name(room);
  ExactBuffer extension(room);
  {
    const fuzz::AllocationChoice choice(input.allocation);
    SYS_SplitPath(path.data(), drive.data(), capacity, directory.data(), capacity, name.data(),
                  capacity, extension.data(), capacity);
  }
  // The copy of the path is the one allocation.
  if (input.allocation / 2 == 1) {
    for (const auto* const part : {&drive, &directory, &name, &extension}) {
      part->RequireUntouchedFrom(0, "without memory nothing is stored");
    }
    return;
  }
  const Parts parts = PartsOf(input.path);
  drive.RequireText("", "there are no drives");
  directory.RequireText(parts.directory.substr(0, room - 1), "the directory is cut to its room");
  name.RequireText(parts.name.substr(0, room - 1), "the name is cut to its room");
  extension.RequireText(parts.extension.substr(0, room - 1), "the extension is cut to its room");
}

using PartFunction = void (*)(const char* path, char* output, uint32_t capacity);

// A text of just the capacity has its terminator behind it.
void CheckPart(const Input& input, PartFunction get_part, const std::string& whole_part) {
  const std::string part = CutToPath(whole_part);
  ExactText path(input.path);
  ExactBuffer output(input.capacity + 1);
  get_part(path.data(), output.data(), input.capacity);
  output.RequireText(part.size() <= input.capacity ? part : "", "a part is stored if it fits");
}

// ---- Putting together ----

void CheckMake(const Input& input) {
  ExactText directory(input.path);
  ExactText name(input.second);
  ExactText extension(input.third);
  const bool has_extension = input.capacity % 2 == 0;
  ExactBuffer output(SYS_PATH_CAPACITY);
  SYS_MakePath(output.data(), nullptr, directory.data(), name.data(),
               has_extension ? extension.data() : nullptr);
  std::string expected = CutToPath(input.path);
  if (!expected.empty() && expected.back() != '/') expected += '/';
  expected += input.second;
  if (has_extension) expected += "." + input.third;
  output.RequireText(CutToPath(expected), "a path is put together and cut");
}

void CheckJoin(const Input& input) {
  ExactText base(input.path);
  ExactText relative(input.second);
  ExactBuffer output(input.capacity);
  opening = input.opening;
  SYS_JoinPath(base.data(), relative.data(), output.data(), input.capacity);
  opening = Opening::kReal;
  std::string expected = input.path;
  if (input.opening == Opening::kWorks) expected.resize(input.path.rfind('/') + 1);
  if (input.second.empty() || input.second[0] == '/') expected.clear();
  expected += input.second;
  expected.resize(std::min<size_t>(expected.size(), input.capacity > 0 ? input.capacity - 1 : 0));
  expected.resize(input.capacity, '\0');
  Require(output.contents() == expected, "a joined path is cut and filled up with zeros");
}

void CheckFolder(const Input& input) {
  ExactText path(input.path);
  opening = input.opening;
  const int32_t result = SYS_DirOfPathExists(path.data());
  opening = Opening::kReal;
  Require(result == (input.opening == Opening::kWorks ? 1 : 0), "the folder can be opened or not");
}

// ---- Cleaning ----

void CheckNames(const Input& input) {
  std::string expected = input.path;
  for (char& c : expected) {
    const bool is_letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    const bool is_digit = c >= '0' && c <= '9';
    if (!is_letter && !is_digit && c != '!' && c != '-' && c != '_') c = '_';
  }
  if (expected.starts_with('-')) expected[0] = '_';
  ExactText text(input.path);
  XML_MakeValidName(text.data());
  Require(text.data() == expected, "a valid name has what names consist of");
}

void CheckReplacing(const Input& input) {
  std::string expected = input.path;
  std::replace(expected.begin(), expected.end(), '\\', '/');
  ExactText text(input.path);
  UTIL_ReplaceChar(text.data(), '\\', '/');
  Require(text.data() == expected, "UTIL_ReplaceChar replaces every one");
  const bool is_plain = std::all_of(input.path.begin(), input.path.end(), [](char c) {
    return static_cast<uint8_t>(c) < 0x80 && c != '"';
  });
  ExactText original(input.path);
  Require(UTIL_IsPlainText(original.data()) == (is_plain ? 1 : 0), "UTIL_IsPlainText knows");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Input input = ReadInput(fuzz::ByteSource(data, size));
  const Parts parts = PartsOf(input.path);
  CheckSplit(input);
  CheckPart(input, SYS_GetFileExt, parts.extension);
  CheckPart(input, SYS_GetFileName, parts.name);
  CheckMake(input);
  CheckJoin(input);
  CheckFolder(input);
  CheckNames(input);
  CheckReplacing(input);
  return 0;
}
