// SPDX-License-Identifier: MIT

// Writing a document.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>

#include "settings/xml.h"
#include "settings/xml_arena.h"
#include "settings/xml_bytes.h"
#include "util/dynbuffer.h"

namespace {

constexpr size_t kMaxTextLength = 0x100000;
constexpr uint32_t kFirstTextSize = 4096;

// How deep the writer stands. There is one for the whole process, and no text starts it anew: two
// texts written at the same time would indent each other.
std::atomic<uint32_t> depth = 0;

uint32_t Depth() { return depth.load(std::memory_order_relaxed); }
void SetDepth(uint32_t new_depth) { depth.store(new_depth, std::memory_order_relaxed); }

// Writes the pieces of a text into a buffer.
class Writer {
 public:
  explicit Writer(DYNBUFFER* buffer) : buffer_(buffer) { UpdateEasyRoom(); }

  // Adds pieces: literals and strings of the document. A piece that would cross the limit is left
  // out; a later, shorter one may still fit.
  template <typename... Pieces>
  void Add(const Pieces&... pieces) {
    if ((Length(pieces) + ...) >= easy_room_) return (AddSingly(pieces), ...);
    char* const begin = Place();
    char* end = begin;
    ((end = Put(end, pieces)), ...);
    length_ += static_cast<size_t>(end - begin);
    easy_room_ -= static_cast<size_t>(end - begin);
  }

  // Adds pairs of blanks, of which each is a piece.
  void AddIndentation(uint32_t pairs) {
    // As many again stand behind those that are used: Put reads beyond.
    static constexpr char kBlanks[] = "                                                ";
    static constexpr size_t kUsedBlanks = sizeof kBlanks - 1 - xml_bytes::kPadding;
    size_t blanks = 2 * std::min(size_t{pairs}, (kMaxTextLength - length_) / 2);
    for (; blanks > kUsedBlanks; blanks -= kUsedBlanks) {
      Add(std::string_view(kBlanks, kUsedBlanks));
    }
    Add(std::string_view(kBlanks, blanks));
  }

  // Nothing was lost for want of memory.
  bool has_memory() const { return has_memory_; }
  size_t length() const { return length_; }

 private:
  template <size_t size>
  using Literal = char[size];

  template <size_t size>
  static size_t Length(const Literal<size>&) {
    return size - 1;
  }
  static size_t Length(std::string_view text) { return text.size(); }

  template <size_t size>
  static char* Put(char* place, const Literal<size>& text) {
    memcpy(place, text, size - 1);
    return place + size - 1;
  }
  static char* Put(char* place, std::string_view text) {
    xml_bytes::Copy(place, text.data(), text.size());
    return place + text.size();
  }

  template <size_t size>
  void AddSingly(const Literal<size>& text) {
    AddSingly({text, size - 1});
  }
  void AddSingly(std::string_view text) {
    if (text.empty() || text.size() > kMaxTextLength - length_) return;
    if (DYNBUFFER_Ensure(buffer_, static_cast<uint32_t>(length_ + text.size() - 1)) == 0) {
      memcpy(Place(), text.data(), text.size());
      length_ += text.size();
    } else {
      has_memory_ = false;
    }
    UpdateEasyRoom();
  }

  char* Place() const { return reinterpret_cast<char*>(buffer_->data) + length_; }

  void UpdateEasyRoom() {
    const size_t room = buffer_->size - length_;
    easy_room_ = room - std::min(room, size_t{xml_bytes::kPadding});
  }

  DYNBUFFER* buffer_;
  bool has_memory_ = true;
  size_t length_ = 0;
  size_t easy_room_ = 0;  // less than this may be put behind the text now: Put writes beyond
};

std::string_view NameOf(const XML_NODE* element) { return {element->name, element->name_length}; }

void WriteAttribute(Writer& writer, const XML_ATTR* attribute) {
  const std::string_view name = {attribute->name, attribute->name_length};
  const std::string_view value = {attribute->value, attribute->value_length};
  writer.Add(" ", name, "=\"", value, "\"");
}

void WriteOpeningTag(Writer& writer, const XML_NODE* element) {
  writer.AddIndentation(Depth());
  writer.Add("<", NameOf(element));
  for (const XML_ATTR* attribute = element->first_attr; attribute != nullptr;
       attribute = attribute->next) {
    WriteAttribute(writer, attribute);
  }
  if (element->first_child == nullptr) {
    writer.Add("/>", "\r\n");
  } else {
    writer.Add(">", "\r\n");
  }
}

void WriteClosingTag(Writer& writer, const XML_NODE* element) {
  writer.AddIndentation(Depth());
  writer.Add("</", NameOf(element), ">", "\r\n");
}

// Writes the closing tags that stand behind an element without children, and gives the element that
// comes next, or null behind the last.
const XML_NODE* CloseBehind(Writer& writer, const XML_NODE* element) {
  while (element->next == nullptr) {
    element = element->parent;
    if (element == nullptr) return nullptr;
    SetDepth(Depth() - 1);
    WriteClosingTag(writer, element);
  }
  return element->next;
}

// Writes top-level elements from the first on. The way back up is in the elements themselves, so
// no nesting costs stack.
void XML_WriteNodes(Writer& writer, const XML_NODE* first) {
  for (const XML_NODE* element = first; element != nullptr;) {
    WriteOpeningTag(writer, element);
    if (element->first_child != nullptr) {
      SetDepth(Depth() + 1);
      element = element->first_child;
    } else {
      element = CloseBehind(writer, element);
    }
  }
}

// Makes room at once for a text as long as the first block of the document. Few are longer: records
// take more than the punctuation of their tags. Without so much memory the array grows step by step.
void Reserve(DYNBUFFER* text, const XML_DOC* document) {
  const size_t size = document->arena != nullptr ? document->arena->used : 0;
  if (size > kFirstTextSize) {
    DYNBUFFER_Ensure(text, static_cast<uint32_t>(std::min(size, kMaxTextLength)) - 1);
  }
}

}  // namespace

int32_t XML_ToText(const XML_DOC* document, char* buffer, uint32_t capacity) {
  if (document == nullptr || buffer == nullptr) return -1;
  DYNBUFFER text;
  // What is new in the array is all written over, so nothing fills it.
  if (DYNBUFFER_Init(&text, nullptr, kMaxTextLength, kFirstTextSize, -1) != 0) return -1;
  Reserve(&text, document);
  Writer writer(&text);
  XML_WriteNodes(writer, document->first_element);
  // Without a piece, there is a zero all the same.
  if (writer.length() == 0) text.data[0] = '\0';
  const auto length = static_cast<uint32_t>(std::max(writer.length(), size_t{1}));
  if (writer.has_memory()) memcpy(buffer, text.data, std::min(length, capacity));
  DYNBUFFER_Free(&text);
  if (!writer.has_memory()) return -1;
  return length <= capacity ? static_cast<int32_t>(length) : -2;
}
