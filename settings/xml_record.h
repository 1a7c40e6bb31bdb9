// SPDX-License-Identifier: MIT

// The records of a document, made in its arena. All of them give null without memory.
#ifndef TARVEN_SETTINGS_XML_RECORD_H_
#define TARVEN_SETTINGS_XML_RECORD_H_

#include <cstdint>
#include <cstring>
#include <string_view>

#include "settings/xml.h"
#include "settings/xml_arena.h"
#include "settings/xml_bytes.h"

namespace xml_record {

// An empty document with an arena of its own.
XML_DOC* NewDocument();

template <typename Record>
Record* NewRecord(XML_ARENA* arena) {
  return static_cast<Record*>(xml_arena::Carve(arena, sizeof(Record)));
}

inline void Fill(XML_ATTR* attribute, std::string_view name, std::string_view value) {
  *attribute = {.name = name.data(),
                .value = value.data(),
                .name_length = static_cast<uint32_t>(name.size()),
                .value_length = static_cast<uint32_t>(value.size()),
                .prev = nullptr,
                .next = nullptr};
}

template <typename CopyFunction>
std::string_view CopyWith(CopyFunction copy_bytes, XML_ARENA* arena, std::string_view text) {
  auto* const copy = static_cast<char*>(xml_arena::Carve(arena, text.size() + 1));
  if (copy == nullptr) return {};
  copy_bytes(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return {copy, text.size()};
}

// A copy with a terminating zero. Without memory its bytes are null.
inline std::string_view CopyText(XML_ARENA* arena, std::string_view text) {
  return CopyWith(memcpy, arena, text);
}

// CopyText of what stands in a padded text.
inline std::string_view CopyPaddedText(XML_ARENA* arena, std::string_view text) {
  return CopyWith(xml_bytes::Copy, arena, text);
}

// An element or attribute without links. The strings are copies already; when their bytes are null,
// so is the result.
inline XML_NODE* NewElement(XML_ARENA* arena, std::string_view name) {
  if (name.data() == nullptr) return nullptr;
  auto* const element = NewRecord<XML_NODE>(arena);
  if (element == nullptr) return nullptr;
  *element = {};
  element->name = name.data();
  element->name_length = static_cast<uint32_t>(name.size());
  return element;
}

inline XML_ATTR* NewAttribute(XML_ARENA* arena, std::string_view name, std::string_view value) {
  if (name.data() == nullptr || value.data() == nullptr) return nullptr;
  auto* const attribute = NewRecord<XML_ATTR>(arena);
  if (attribute == nullptr) return nullptr;
  Fill(attribute, name, value);
  return attribute;
}

// ---- Short attributes ----

// Most attributes have short strings: these are copied whole, without a look at their lengths.
constexpr uint32_t kShortName = 32;
constexpr uint32_t kShortValue = 64;
constexpr uint32_t kShortAttribute = kShortName + 1 + kShortValue + 1 + sizeof(XML_ATTR);

// Copies of a name of at most kShortName bytes, at whose beginning that many may be read, and a value
// likewise. REQUIRES: the arena's first block has room for kShortAttribute bytes.
inline XML_ATTR* NewShortAttribute(XML_ARENA* arena, std::string_view name,
                                   std::string_view value) {
  const auto size = static_cast<uint32_t>(name.size() + 1 + value.size() + 1 + sizeof(XML_ATTR));
  auto* const name_copy = static_cast<char*>(xml_arena::CarveFrom(arena, size));
  memcpy(name_copy, name.data(), kShortName);
  name_copy[name.size()] = '\0';
  char* const value_copy = name_copy + name.size() + 1;
  memcpy(value_copy, value.data(), kShortValue / 2);
  if (value.size() > kShortValue / 2) {
    memcpy(value_copy + kShortValue / 2, value.data() + kShortValue / 2, kShortValue / 2);
  }
  value_copy[value.size()] = '\0';
  auto* const attribute = reinterpret_cast<XML_ATTR*>(value_copy + value.size() + 1);
  Fill(attribute, {name_copy, name.size()}, {value_copy, value.size()});
  return attribute;
}

// ---- Links ----

// The last of a chain, or null of none.
template <typename Record>
Record* LastOfChain(Record* first) {
  Record* record = first;
  while (record != nullptr && record->next != nullptr) record = record->next;
  return record;
}

// Makes an attribute the one behind the element's last, or its first when that is null.
inline void Link(XML_NODE* element, XML_ATTR* last, XML_ATTR* attribute) {
  attribute->prev = last;
  if (last != nullptr) {
    last->next = attribute;
  } else {
    element->first_attr = attribute;
  }
}

// ---- Changes ----
//
// Both give 0, or -1 without memory.

// Adds an attribute behind the element's last.
int32_t AddAttribute(XML_DOC* document, XML_NODE* element, std::string_view name,
                     std::string_view value);

int32_t ReplaceValue(XML_DOC* document, XML_ATTR* attribute, std::string_view value);

}  // namespace xml_record

#endif
