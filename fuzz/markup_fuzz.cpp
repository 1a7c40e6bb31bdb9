// SPDX-License-Identifier: MIT

// Markup documents: what is read is the reference's tree, and so is what is written and read again;
// buffers may be too small for the text; and no allocation that fails brings anything down.
//
// Input: the byte of AllocationChoice, the byte that sizes a small buffer, the text.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/markup_reference.h"
#include "fuzz/support/allocation_choice.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"
#include "fuzz/support/memory_file.h"
#include "settings/xml.h"
#include "tests/support/large_blocks.h"

namespace {

using fuzz::Require;
using markup_reference::Element;

constexpr size_t kLargestText = 0x100000;
constexpr size_t kMaxKeptBytes = 255;
constexpr int kMaxLevels = 101;

// Owns a document, or null.
class Document {
 public:
  explicit Document(std::string_view text) {
    fuzz::memory_file::Put(text);
    document_ = XML_LoadFile("any");
  }
  ~Document() { XML_FreeDoc(document_); }
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  const XML_DOC* get() const { return document_; }
  const XML_NODE* root() const { return XML_GetRoot(document_); }
  explicit operator bool() const { return document_ != nullptr; }

 private:
  XML_DOC* document_;
};

// ---- One tree ----

void RequireString(const char* text, uint32_t length) {
  Require(strlen(text) == length, "a string is as long as its length");
  Require(length <= kMaxKeptBytes, "255 bytes of a string are kept");
}

void RequireCopy(const XML_ATTR* attribute, uint32_t capacity) {
  fuzz::ExactBuffer copy(capacity);
  const std::string_view value(attribute->value, attribute->value_length);
  const int32_t length = XML_GetAttrValue(nullptr, attribute, copy.data(), capacity);
  Require(length == static_cast<int32_t>(value.size()), "a copy tells the full length");
  if (capacity != 0) copy.RequireText(value.substr(0, capacity - 1), "a copy is cut to its buffer");
}

class TreeCheck {
 public:
  explicit TreeCheck(uint32_t capacity) : capacity_(capacity) {}

  // Whether a text with the names of this tree reads back as elements.
  bool has_plain_names() const { return has_plain_names_; }

  void Siblings(const XML_NODE* first, const XML_NODE* parent, int level) {
    Require(first == nullptr || level <= kMaxLevels, "there are at most 101 levels");
    for (const XML_NODE* element = first; element != nullptr; element = element->next) {
      RequireString(element->name, element->name_length);
      Require(element->name_length != 0, "no element is without a name");
      Require(element->parent == parent, "an element knows its parent");
      Require(element->prev == nullptr, "a parsed element does not know the one before it");
      const std::string_view name(element->name, element->name_length);
      if (name.starts_with("!--") || name.starts_with("!DOC")) has_plain_names_ = false;
      Attributes(element);
      Siblings(element->first_child, element, level + 1);
    }
  }

 private:
  void Attributes(const XML_NODE* element) {
    const XML_ATTR* previous = nullptr;
    for (const XML_ATTR* attribute = element->first_attr; attribute != nullptr;
         attribute = attribute->next) {
      RequireString(attribute->name, attribute->name_length);
      RequireString(attribute->value, attribute->value_length);
      Require(attribute->prev == previous, "an attribute knows the one before it");
      RequireCopy(attribute, capacity_);
      previous = attribute;
    }
  }

  uint32_t capacity_;
  bool has_plain_names_ = true;
};

// The elements from one on, as the reference has them.
std::vector<Element> TreeFrom(const XML_NODE* first) {
  std::vector<Element> elements;
  for (const XML_NODE* element = first; element != nullptr; element = element->next) {
    Element copy = {element->name, {}, TreeFrom(element->first_child)};
    for (const XML_ATTR* attribute = element->first_attr; attribute != nullptr;
         attribute = attribute->next) {
      copy.attributes.push_back({attribute->name, attribute->value});
    }
    elements.push_back(std::move(copy));
  }
  return elements;
}

// ---- Texts ----

// Empty when there is no memory.
std::string Text(const Document& document) {
  static std::vector<char> buffer(kLargestText);
  const int32_t length = XML_ToText(document.get(), buffer.data(), kLargestText);
  Require(length != -2, "the writer keeps its limit");
  return {buffer.data(), static_cast<size_t>(std::max(length, 0))};
}

void RequireTextIn(const Document& document, std::string_view text, size_t capacity) {
  fuzz::ExactBuffer buffer(capacity);
  const int32_t length = XML_ToText(document.get(), buffer.data(), static_cast<uint32_t>(capacity));
  const bool fits = text.size() <= capacity;
  Require(length == (fits ? static_cast<int32_t>(text.size()) : -2), "a text tells if it fits");
  const size_t stored = std::min(text.size(), capacity);
  Require(buffer.contents().substr(0, stored) == text.substr(0, stored), "a text is cut");
  buffer.RequireUntouchedFrom(stored, "nothing is stored behind a text");
}

void CheckLoaded(const Document& document, const std::vector<Element>& tree, uint8_t capacity) {
  Require(TreeFrom(document.root()) == tree, "a document has what its text holds");
  TreeCheck check(capacity);
  check.Siblings(document.root(), nullptr, 1);
  const std::string text = Text(document);
  // A text near the limit may be damaged.
  if (!check.has_plain_names() || text.size() > kLargestText / 2) return;
  const Document again(text);
  Require(TreeFrom(again.root()) == tree, "what was written is read as the same tree");
  Require(text == Text(again), "what was read back is written the same");
  RequireTextIn(document, text, text.size() - std::min<size_t>(capacity, text.size()));
}

void Check(std::string_view text, uint8_t capacity) {
  const Document document(text);
  const auto tree = markup_reference::Reader(text).Read();
  Require(static_cast<bool>(document) == tree.has_value(), "what follows the rules can be read");
  if (document) CheckLoaded(document, *tree, capacity);
}

void CheckWithoutMemory(std::string_view text, uint8_t allocation) {
  const fuzz::AllocationChoice choice(allocation);
  const Document document(text);
  if (document) Text(document);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::ByteSource bytes(data, size);
  const uint8_t allocation = bytes.Byte();
  const uint8_t capacity = bytes.Byte();
  const std::string_view text = bytes.Bytes(bytes.size());
  if (allocation < 2) {
    Check(text, capacity);
  } else {
    CheckWithoutMemory(text, allocation);
  }
  Require(support::large_blocks::InUse() == 0, "a document gives its memory back");
  return 0;
}
