// SPDX-License-Identifier: MIT

// The settings store on any file: what is asked for is what a plain reading of the file holds, before
// and after the store has written the file itself; a file that cannot be read gives an empty store.
//
// Input: the byte of AllocationChoice, two bytes for a capacity, the file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/markup_reference.h"
#include "fuzz/scanner_reference.h"
#include "fuzz/support/allocation_choice.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"
#include "fuzz/support/memory_file.h"
#include "settings/registry.h"
#include "tests/settings/registry_model.h"
#include "tests/support/large_blocks.h"

namespace {

using fuzz::Require;
using markup_reference::Element;
using markup_reference::Lower;
using registry_model::Answer;

constexpr const char* kNames[] = {"N", "m"};

}  // namespace

// No folder is made for the file.
extern "C" int32_t __wrap_SYS_GetAppSupportDir(char* output, uint32_t) {
  *output = '\0';
  return 0;
}

namespace {

// ---- The plain reading ----

// The first child of the first element that is called "K", or one without attributes.
Element KeyIn(const std::optional<std::vector<Element>>& file) {
  if (!file) return {};
  const std::vector<Element>& keys = file->front().children;
  const auto found =
      std::find_if(keys.begin(), keys.end(), [](const Element& e) { return Lower(e.name) == "k"; });
  return found != keys.end() ? *found : Element{};
}

std::optional<std::string> AttributeOf(const Element& key, const std::string& name) {
  for (const auto& attribute : key.attributes) {
    if (Lower(attribute.name) == Lower(name)) return attribute.value;
  }
  return {};
}

uint64_t NumberIn(std::string_view text) {
  scanner_reference::Cursor cursor{text};
  return scanner_reference::Number(&cursor, true).value_or(0);
}

std::vector<std::string> StringsOf(const Element& key, const std::string& name,
                                   const std::string& first) {
  std::vector<std::string> strings = {first};
  for (int i = 1;; ++i) {
    const auto next = AttributeOf(key, name + "_TARVENRegMltStr" + std::to_string(i));
    if (!next) return strings;
    strings.push_back(*next);
  }
}

Answer ExpectedOf(const Element& key, const std::string& name, uint32_t capacity) {
  constexpr const char* kPrefix = "sys_reg_type_";
  const auto type_text = AttributeOf(key, name + "_TARVENRegType");
  if (!type_text) return {.result = 2, .type = 0, .size = capacity, .stored = {}};
  const std::string type = Lower(*type_text);
  const auto is_type = [&](const char* end) { return type == std::string(kPrefix) + end; };
  const std::optional<std::string> text = AttributeOf(key, name);
  const std::string present_text = text.value_or("");

  registry_model::Value value;
  if (is_type("sz") || is_type("expand_sz")) value.SetString(present_text);
  if (is_type("dword")) value.SetNumber(SYS_REG_TYPE_DWORD, NumberIn(present_text));
  if (is_type("qword")) value.SetNumber(SYS_REG_TYPE_QWORD, NumberIn(present_text));
  if (is_type("multi_sz")) value.SetStrings(StringsOf(key, name, present_text));
  Answer answer = value.Query(capacity);
  if (is_type("expand_sz")) answer.type = SYS_REG_TYPE_EXPAND_SZ;
  if (is_type("binary")) answer.type = SYS_REG_TYPE_BINARY;
  // No value, or of a type that cannot be read.
  if (!text || value.type() == 0) answer = {1, answer.type, capacity, {}};
  return answer;
}

// ---- The store ----

void RequireAnswers(const Element& expected_key, uint32_t capacity, const char* rule) {
  const SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "K");
  Require(key != nullptr, "a key can be opened whatever the file");
  for (const char* const name : kNames) {
    const Answer expected = ExpectedOf(expected_key, name, capacity);
    fuzz::ExactBuffer data(capacity);
    uint32_t type = 0;
    uint32_t size = capacity;
    Require(SYS_REG_QueryValue(key, name, &type, data.data(), &size) == expected.result, rule);
    Require(type == expected.type && size == expected.size, rule);
    Require(data.contents().starts_with(expected.stored), rule);
    data.RequireUntouchedFrom(expected.stored.size(), rule);
  }
  SYS_REG_CloseKey(key);
}

// Names that would be read as comments are not for the store to keep.
bool KeepsItsNames(const std::vector<Element>& elements) {
  return std::all_of(elements.begin(), elements.end(), [](const Element& element) {
    return !element.name.starts_with("!--") && !element.name.starts_with("!DOC") &&
           KeepsItsNames(element.children);
  });
}

void Check(std::string_view text, uint32_t capacity) {
  const auto file = markup_reference::Reader(text).Read();
  const Element key = KeyIn(file);
  RequireAnswers(key, capacity, "the file's values are read");
  SYS_REG_Flush();
  if (file && !KeepsItsNames(*file)) return;
  RequireAnswers(key, capacity, "the values are the same after a flush");
  SYS_REG_Flush();
}

// Only that it ends well: what is missing for want of memory depends on where memory was wanting.
void CheckWithoutMemory(uint32_t capacity, uint8_t allocation) {
  const fuzz::AllocationChoice choice(allocation);
  const SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "K");
  for (const char* const name : kNames) {
    fuzz::ExactBuffer data(capacity);
    uint32_t size = capacity;
    SYS_REG_QueryValue(key, name, nullptr, data.data(), &size);
    SYS_REG_DeleteValue(key, name);
    SYS_REG_SetValue(key, name, SYS_REG_TYPE_SZ, "text", 0);
  }
  SYS_REG_CloseKey(key);
  SYS_REG_Flush();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::ByteSource bytes(data, size);
  const uint8_t allocation = bytes.Byte();
  const uint32_t capacity = bytes.Number<uint16_t>() % 1000;
  const std::string_view text = bytes.Bytes(bytes.size());
  fuzz::memory_file::Put(text);
  if (allocation < 2) {
    Check(text, capacity);
  } else {
    CheckWithoutMemory(capacity, allocation);
  }
  Require(support::large_blocks::InUse() == 0, "the store gives its memory back");
  return 0;
}
