// SPDX-License-Identifier: MIT

#include "tests/settings/markup_document.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/support/temporary_home.h"

namespace {

std::string OutlineOf(const XML_NODE* element, const XML_NODE* parent);

std::string OutlineOfAttributes(const XML_NODE* element) {
  std::string line;
  const XML_ATTR* previous = nullptr;
  for (const XML_ATTR* attribute = element->first_attr; attribute != nullptr;
       attribute = attribute->next) {
    const XML_ATTR* const known_previous = attribute->prev;
    EXPECT_EQ(known_previous, previous);
    EXPECT_EQ(strlen(attribute->name), size_t{attribute->name_length});
    EXPECT_EQ(strlen(attribute->value), size_t{attribute->value_length});
    line += std::string("[") + attribute->name + "=" + attribute->value + "]";
    previous = attribute;
  }
  return line;
}

std::string OutlineOfSiblings(const XML_NODE* first, const XML_NODE* parent) {
  std::string line;
  for (const XML_NODE* element = first; element != nullptr; element = element->next) {
    if (element != first) line += " ";
    line += OutlineOf(element, parent);
  }
  return line;
}

std::string OutlineOf(const XML_NODE* element, const XML_NODE* parent) {
  const XML_NODE* const known_parent = element->parent;
  EXPECT_EQ(known_parent, parent);
  EXPECT_EQ(strlen(element->name), size_t{element->name_length});
  std::string line = element->name + OutlineOfAttributes(element);
  if (element->first_child != nullptr) {
    line += "{" + OutlineOfSiblings(element->first_child, element) + "}";
  }
  return line;
}

}  // namespace

Document LoadText(std::string_view text) {
  const support::TemporaryHome home;
  return Document(XML_LoadFile(home.Write("document.xml", text).c_str()));
}

std::string Outline(const Document& document) {
  return document ? OutlineOfSiblings(document.root(), nullptr) : "null";
}

std::string Loaded(std::string_view text) { return Outline(LoadText(text)); }

std::string Text(const Document& document) {
  std::vector<char> buffer(0x100000);
  const int32_t length = XML_ToText(document.get(), buffer.data(), 0x100000);
  EXPECT_GE(length, 0);
  return {buffer.data(), static_cast<size_t>(length)};
}
