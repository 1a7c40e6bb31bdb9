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
