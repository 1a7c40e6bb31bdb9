// Writing a document.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>

#include "settings/xml.h"
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

// Gathers the pieces of a text and appends them to a buffer many at a time.
class Writer {
 public:
  explicit Writer(DYNBUFFER* buffer) : buffer_(buffer) {}

  // Adds pieces: literals and strings of the document. A piece that would cross the limit is left
  // out; a later, shorter one may still fit.
  template <typename... Pieces>
  void Add(const Pieces&... pieces) {
    if ((Length(pieces) + ...) > stop_ - gathered_length_) return (AddSingly(pieces), ...);
    char* end = gathered_ + gathered_length_;
    ((end = Put(end, pieces)), ...);
    gathered_length_ = static_cast<size_t>(end - gathered_);
  }

  // Adds pairs of blanks, of which each is a piece.
  void AddIndentation(uint32_t pairs) {
    // As many again stand behind those that are used: Put reads beyond.
    static constexpr char kBlanks[] = "                                                ";
    static constexpr size_t kUsedBlanks = sizeof kBlanks - 1 - xml_bytes::kPadding;
    const size_t length = flushed_length_ + gathered_length_;
    size_t blanks = 2 * std::min(size_t{pairs}, (kMaxTextLength - length) / 2);
    for (; blanks > kUsedBlanks; blanks -= kUsedBlanks) {
      Add(std::string_view(kBlanks, kUsedBlanks));
    }
    Add(std::string_view(kBlanks, blanks));
  }

  // Hands over what was gathered. False when something was lost for want of memory.
  bool Finish() {
    Flush();
    return has_memory_;
  }

 private:
  static constexpr size_t kGatheredSize = 16384;

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
    if (text.size() > stop_ - gathered_length_) Flush();
    if (text.size() <= stop_ - gathered_length_) {
      memcpy(gathered_ + gathered_length_, text.data(), text.size());
      gathered_length_ += text.size();
    } else if (text.size() <= kMaxTextLength - flushed_length_) {
      Append(text);
    }
  }

  void Flush() {
    if (gathered_length_ != 0) Append({gathered_, gathered_length_});
    gathered_length_ = 0;
  }

  void Append(std::string_view text) {
    flushed_length_ += text.size();
    stop_ = std::min(kGatheredSize, kMaxTextLength - flushed_length_);
    const auto length = static_cast<uint32_t>(text.size());
    if (DYNBUFFER_Append(buffer_, text.data(), length) != 0) has_memory_ = false;
  }

  DYNBUFFER* buffer_;
  bool has_memory_ = true;
  size_t flushed_length_ = 0;
  size_t gathered_length_ = 0;
  size_t stop_ = kGatheredSize;  // how much may be gathered now, for want of space or for the limit
  char gathered_[kGatheredSize + xml_bytes::kPadding];
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

}  // namespace

int32_t XML_ToText(const XML_DOC* document, char* buffer, uint32_t capacity) {
  if (document == nullptr || buffer == nullptr) return -1;
  DYNBUFFER text;
  if (DYNBUFFER_Init(&text, nullptr, kMaxTextLength, kFirstTextSize, 0) != 0) return -1;
  Writer writer(&text);
  XML_WriteNodes(writer, document->first_element);
  const bool is_whole = writer.Finish();
  // Without a byte written, the highest index is 0 all the same, and the text one byte long.
  const uint32_t length = text.highest + 1;
  if (is_whole) memcpy(buffer, text.data, std::min(length, capacity));
  DYNBUFFER_Free(&text);
  if (!is_whole) return -1;
  return length <= capacity ? static_cast<int32_t>(length) : -2;
}
