// SPDX-License-Identifier: MIT

#include "settings/xml_record.h"

#include <cstddef>
#include <cstring>

#include "settings/xml_bytes.h"

namespace {

// The layout that a C compiler gives the records without packing.
static_assert(sizeof(XML_ATTR) == 40 && alignof(XML_ATTR) == 1);
static_assert(offsetof(XML_ATTR, name) == 0 && offsetof(XML_ATTR, value) == 8);
static_assert(offsetof(XML_ATTR, name_length) == 16 && offsetof(XML_ATTR, value_length) == 20);
static_assert(offsetof(XML_ATTR, prev) == 24 && offsetof(XML_ATTR, next) == 32);

static_assert(sizeof(XML_NODE) == 56 && alignof(XML_NODE) == 1);
static_assert(offsetof(XML_NODE, name) == 0 && offsetof(XML_NODE, name_length) == 8);
static_assert(offsetof(XML_NODE, first_attr) == 16 && offsetof(XML_NODE, parent) == 24);
static_assert(offsetof(XML_NODE, prev) == 32 && offsetof(XML_NODE, next) == 40);
static_assert(offsetof(XML_NODE, first_child) == 48);

static_assert(sizeof(XML_DOC) == 24 && alignof(XML_DOC) == 1);
static_assert(offsetof(XML_DOC, first_element) == 0 && offsetof(XML_DOC, line_count) == 8);
static_assert(offsetof(XML_DOC, arena) == 16);

}  // namespace

XML_DOC* xml_record::NewDocument() {
  XML_ARENA* const arena = xml_arena::Create();
  if (arena == nullptr) return nullptr;
  auto* const document = NewRecord<XML_DOC>(arena);
  *document = {};
  document->arena = arena;
  return document;
}

int32_t xml_record::AddAttribute(XML_DOC* document, XML_NODE* element, std::string_view name,
                                 std::string_view value) {
  const std::string_view name_copy = CopyText(document->arena, name);
  const std::string_view value_copy = CopyText(document->arena, value);
  XML_ATTR* const attribute = NewAttribute(document->arena, name_copy, value_copy);
  if (attribute == nullptr) return -1;
  Link(element, LastOfChain(element->first_attr), attribute);
  return 0;
}

int32_t xml_record::ReplaceValue(XML_DOC* document, XML_ATTR* attribute, std::string_view value) {
  const std::string_view copy = CopyText(document->arena, value);
  if (copy.data() == nullptr) return -1;
  attribute->value = copy.data();
  attribute->value_length = static_cast<uint32_t>(copy.size());
  return 0;
}
