// SPDX-License-Identifier: MIT

#include "settings/xml.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "settings/xml_arena.h"
#include "settings/xml_name.h"
#include "settings/xml_record.h"
#include "sys/memory.h"

namespace {

// ---- Searching ----

// The first of a chain of elements or attributes that has the name, or null.
template <typename Record>
Record* FindInChain(Record* first, std::string_view name) {
  const xml_name::Wanted wanted(name);
  Record* record = first;
  while (record != nullptr && !wanted.Is(record->name, record->name_length)) record = record->next;
  return record;
}

// Searches for a copy of the name.
XML_NODE* FindCopied(XML_NODE* first, std::string_view name) {
  auto* const copy = static_cast<char*>(SYS_MEM_Alloc(static_cast<uint32_t>(name.size())));
  if (copy == nullptr) return nullptr;
  memcpy(copy, name.data(), name.size());
  XML_NODE* const found = FindInChain(first, {copy, name.size()});
  SYS_MEM_Free(copy);
  return found;
}

// ---- Adding and removing ----

XML_NODE* NewElement(XML_ARENA* arena, const char* name) {
  return xml_record::NewElement(arena, xml_record::CopyText(arena, name));
}

XML_NODE* AddElement(XML_DOC* document, XML_NODE* parent, XML_NODE* last, const char* name) {
  XML_NODE* const element = NewElement(document->arena, name);
  if (element == nullptr) return nullptr;
  element->parent = parent;
  element->prev = last;
  if (last != nullptr) {
    last->next = element;
  } else {
    parent->first_child = element;
  }
  return element;
}

void Unlink(XML_NODE* element, XML_ATTR* attribute) {
  if (attribute->prev != nullptr) {
    attribute->prev->next = attribute->next;
  } else {
    element->first_attr = attribute->next;
  }
  if (attribute->next != nullptr) attribute->next->prev = attribute->prev;
}

// UTIL_CopyString of a text whose length is known.
void Copy(std::string_view text, char* buffer, uint32_t capacity) {
  if (capacity == 0) return;
  const size_t length = std::min(text.size(), size_t{capacity} - 1);
  memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
}

// Gives the attribute itself and a copy of its name.
XML_ATTR* WithNameCopied(XML_ATTR* attribute, char* name, uint32_t capacity) {
  if (attribute != nullptr && name != nullptr) {
    Copy({attribute->name, attribute->name_length}, name, capacity);
  }
  return attribute;
}

bool IsEmpty(const char* name) { return name == nullptr || *name == '\0'; }

}  // namespace

// ---- Documents ----

XML_DOC* XML_CreateDoc(const char* root_name) {
  if (IsEmpty(root_name)) return nullptr;
  XML_DOC* const document = xml_record::NewDocument();
  if (document == nullptr) return nullptr;
  document->first_element = NewElement(document->arena, root_name);
  if (document->first_element == nullptr) {
    XML_FreeDoc(document);
    return nullptr;
  }
  return document;
}

int32_t XML_FreeDoc(XML_DOC* document) {
  if (document != nullptr) xml_arena::Free(document->arena);
  return 0;
}

// ---- Elements ----

XML_NODE* XML_GetRoot(const XML_DOC* document) {
  return document != nullptr ? document->first_element : nullptr;
}

XML_NODE* XML_GetFirstChild(const XML_DOC*, const XML_NODE* element) {
  return element != nullptr ? element->first_child : nullptr;
}

XML_NODE* XML_GetNextSibling(const XML_DOC*, const XML_NODE* element) {
  return element != nullptr ? element->next : nullptr;
}

XML_NODE* XML_FindChild(const XML_DOC*, XML_NODE* first, const char* name) {
  constexpr size_t kFirstCopiedLength = 256;
  if (first == nullptr || name == nullptr) return nullptr;
  const std::string_view wanted = name;
  // A long name is compared through a copy on purpose: without memory for it nothing is found.
  return wanted.size() < kFirstCopiedLength ? FindInChain(first, wanted)
                                            : FindCopied(first, wanted);
}

XML_NODE* XML_FindOrAddChild(XML_DOC* document, XML_NODE* parent, const char* name) {
  if (document == nullptr || parent == nullptr || IsEmpty(name)) return nullptr;
  XML_NODE* const found = XML_FindChild(document, parent->first_child, name);
  if (found != nullptr) return found;
  return AddElement(document, parent, xml_record::LastOfChain(parent->first_child), name);
}

XML_NODE* XML_FindOrAddSibling(XML_DOC* document, XML_NODE* element, const char* name) {
  if (document == nullptr || element == nullptr || IsEmpty(name)) return nullptr;
  XML_NODE* first = element;
  while (first->prev != nullptr) first = first->prev;
  XML_NODE* const found = XML_FindChild(document, first, name);
  if (found != nullptr) return found;
  return AddElement(document, element->parent, xml_record::LastOfChain(element), name);
}

int32_t XML_GetName(const XML_DOC*, const XML_NODE* element, char* buffer, uint32_t capacity) {
  if (element == nullptr || buffer == nullptr) return -1;
  Copy({element->name, element->name_length}, buffer, capacity);
  return static_cast<int32_t>(element->name_length);
}

// ---- Attributes ----

int32_t XML_SetAttr(XML_DOC* document, XML_NODE* element, const char* name, const char* value) {
  if (document == nullptr || element == nullptr || IsEmpty(name)) return -1;
  if (value == nullptr) value = "";
  XML_ATTR* const attribute = FindInChain(element->first_attr, name);
  if (attribute == nullptr) return xml_record::AddAttribute(document, element, name, value);
  return xml_record::ReplaceValue(document, attribute, value);
}

XML_ATTR* XML_FindAttr(const XML_DOC*, const XML_NODE* element, const char* name) {
  if (element == nullptr || name == nullptr) return nullptr;
  return FindInChain(static_cast<XML_ATTR*>(element->first_attr), name);
}

int32_t XML_DeleteAttr(XML_DOC* document, XML_NODE* element, const char* name) {
  if (element == nullptr) return -1;
  XML_ATTR* const attribute = XML_FindAttr(document, element, name);
  if (attribute == nullptr) return 1;
  Unlink(element, attribute);
  return 0;
}

XML_ATTR* XML_GetFirstAttr(const XML_DOC*, const XML_NODE* element, char* name, uint32_t capacity) {
  if (element == nullptr) return nullptr;
  return WithNameCopied(element->first_attr, name, capacity);
}

XML_ATTR* XML_GetNextAttr(const XML_DOC*, const XML_ATTR* attribute, char* name,
                          uint32_t capacity) {
  if (attribute == nullptr) return nullptr;
  return WithNameCopied(attribute->next, name, capacity);
}

int32_t XML_GetAttrValue(const XML_DOC*, const XML_ATTR* attribute, char* buffer,
                         uint32_t capacity) {
  if (attribute == nullptr || buffer == nullptr) return -1;
  Copy({attribute->value, attribute->value_length}, buffer, capacity);
  return static_cast<int32_t>(attribute->value_length);
}

// ---- Names ----

void XML_MakeValidName(char* text) {
  if (text == nullptr) return;
  if (*text == '-') *text = '_';
  for (char* byte = text; *byte != '\0'; ++byte) {
    if (!xml_name::IsNameByte(*byte)) *byte = '_';
  }
}
