// Markup documents: what is read, written and read again is the same tree, also into buffers that are
// too small; and no allocation that fails brings the reader or the writer down.
//
// Input: the byte of AllocationChoice, the byte that sizes a small buffer, the text.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support/allocation_choice.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"
#include "fuzz/support/large_blocks.h"
#include "settings/xml.h"

namespace {

using fuzz::Require;

constexpr size_t kLargestText = 0x100000;
constexpr size_t kMaxKeptBytes = 255;
constexpr int kMaxLevels = 101;

// ---- The file that is read ----

constexpr int32_t kHandle = 7;
std::string_view file_text;
size_t file_position = 0;

}  // namespace

extern "C" {

int32_t __wrap_SYS_FILE_Open(const char*, uint32_t) {
  file_position = 0;
  return kHandle;
}

int32_t __wrap_SYS_FILE_GetSize(int32_t) { return static_cast<int32_t>(file_text.size()); }

int32_t __wrap_SYS_FILE_Read(int32_t, void* buffer, uint32_t size) {
  const std::string_view read = file_text.substr(file_position, size);
  std::copy(read.begin(), read.end(), static_cast<char*>(buffer));
  file_position += read.size();
  return 0;
}

int32_t __wrap_SYS_FILE_Seek(int32_t, int32_t, int32_t) {
  return static_cast<int32_t>(file_position);
}

int32_t __wrap_SYS_FILE_Close(int32_t) { return 0; }

}  // extern "C"

namespace {

// Owns a document, or null.
class Document {
 public:
  explicit Document(std::string_view text) {
    file_text = text;
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

// ---- Two trees ----

void RequireSameAttributes(const XML_ATTR* first, const XML_ATTR* second) {
  for (; first != nullptr && second != nullptr; first = first->next, second = second->next) {
    Require(strcmp(first->name, second->name) == 0, "an attribute reads back with its name");
    Require(strcmp(first->value, second->value) == 0, "an attribute reads back with its value");
  }
  Require(first == nullptr && second == nullptr, "as many attributes read back");
}

void RequireSameSiblings(const XML_NODE* first, const XML_NODE* second) {
  for (; first != nullptr && second != nullptr; first = first->next, second = second->next) {
    Require(strcmp(first->name, second->name) == 0, "an element reads back with its name");
    RequireSameAttributes(first->first_attr, second->first_attr);
    RequireSameSiblings(first->first_child, second->first_child);
  }
  Require(first == nullptr && second == nullptr, "as many elements read back");
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

void CheckLoaded(const Document& document, uint8_t capacity) {
  TreeCheck check(capacity);
  check.Siblings(document.root(), nullptr, 1);
  const std::string text = Text(document);
  // A text near the limit may be damaged.
  if (!check.has_plain_names() || text.size() > kLargestText / 2) return;
  const Document again(text);
  Require(static_cast<bool>(again), "what was written can be read");
  RequireSameSiblings(document.root(), again.root());
  Require(text == Text(again), "what was read back is written the same");
  RequireTextIn(document, text, text.size() - std::min<size_t>(capacity, text.size()));
}

void Check(std::string_view text, uint8_t capacity) {
  const Document document(text);
  if (document) CheckLoaded(document, capacity);
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
  Require(fuzz::large_blocks::InUse() == 0, "a document gives its memory back");
  return 0;
}
