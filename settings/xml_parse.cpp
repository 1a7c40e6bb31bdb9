// SPDX-License-Identifier: MIT

// Reading a document: one pass over the text, and one copy of each name and value.
#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

#include "settings/xml.h"
#include "settings/xml_bytes.h"
#include "settings/xml_load.h"
#include "settings/xml_marks.h"
#include "settings/xml_name.h"
#include "settings/xml_record.h"
#include "sys/files.h"
#include "sys/memory.h"

namespace {

constexpr uint32_t kMaxDepth = 100;
constexpr size_t kMaxKeptBytes = 255;

// Negative results end the parsing.
enum Result : int32_t {
  kParsed = 0,
  kTextBetweenTags = -1,
  kEmptyName = -2,
  kClosesAnotherElement = -3,
  kClosingTagMisplaced = -4,  // at top level, or without its ">"
  kNoMemory = -5,
  kTagNotClosed = -7,
  kTooDeep = -8,
};

// ---- Reading the text ----

// The first double quote or zero from here on.
const char* ValueEnd(const char* at) {
  return xml_bytes::FindFirst(at, [](xml_bytes::Bytes bytes) {
    return std::bit_cast<xml_bytes::Bytes>((bytes == '"') | (bytes == 0));
  });
}

// A text that a zero byte ends, with more zeros behind it, and its marks.
struct Text {
  const char* bytes;
  const uint64_t* marks;
};

// A position in a text; no read goes beyond the zero that ends it.
class Reader {
 public:
  explicit Reader(const Text& text) : text_(text), at_(text.bytes) {}

  char Next() const { return *at_; }
  bool IsAt(std::string_view text) const { return memcmp(at_, text.data(), text.size()) == 0; }
  uint32_t line_count() const { return line_count_; }

  bool Accept(char byte) {
    if (*at_ != byte) return false;
    ++at_;
    return true;
  }

  void SkipBlanks() {
    for (; static_cast<uint8_t>(*at_) <= ' '; ++at_) {
      if (*at_ == '\n') {
        ++line_count_;
      } else if (*at_ != ' ' && *at_ != '\t' && *at_ != '\r') {
        return;
      }
    }
  }

  // Skips what the position is at, begin, and all up to and with the next end, or to the end of the
  // text.
  void SkipFromTo(std::string_view begin, std::string_view end) {
    for (at_ += begin.size(); *at_ != '\0'; ++at_) {
      if (*at_ == '\n') ++line_count_;
      if (IsAt(end)) {
        at_ += end.size();
        return;
      }
    }
  }

  // Reads a name, which is empty where none begins.
  std::string_view ReadName() {
    const char* const begin = at_;
    if (*at_ != '-') at_ = xml_name::NameEnd(at_);
    return Kept(begin, at_);
  }

  // Reads name="value", without blanks in between, if that is what stands here and both are short.
  // The next two quotes tell: a name before the first of them, but for the "=", is followed by them.
  bool ReadShortAttribute(std::string_view* name, std::string_view* value) {
    const uint64_t quotes = xml_marks::At(text_.marks, static_cast<size_t>(at_ - text_.bytes));
    const uint64_t other_quotes = quotes & (quotes - 1);
    if (other_quotes == 0) return false;
    const auto opening = static_cast<uint32_t>(std::countr_zero(quotes));
    const auto closing = static_cast<uint32_t>(std::countr_zero(other_quotes));
    const uint32_t name_length = opening - 1;
    if (name_length > xml_record::kShortName || at_[name_length] != '=' || *at_ == '-' ||
        !xml_name::AreNameBytes(at_, name_length)) {
      return false;
    }
    *name = {at_, name_length};
    *value = {at_ + opening + 1, closing - opening - 1};
    at_ += closing + 1;
    return true;
  }

  // Reads a value in double quotes. Without the first quote nothing is read; without the second all
  // is read and nothing kept.
  std::string_view ReadValue() {
    if (!Accept('"')) return Kept(at_, at_);
    const char* const begin = at_;
    const char* const end = ValueEnd(at_);
    at_ = end;
    return Accept('"') ? Kept(begin, end) : Kept(begin, begin);
  }

 private:
  // What is kept of the bytes from begin to end. It lies in the text even when it is empty, so that
  // it may be copied as a padded one.
  static std::string_view Kept(const char* begin, const char* end) {
    return {begin, std::min(static_cast<size_t>(end - begin), kMaxKeptBytes)};
  }

  Text text_;
  const char* at_;
  uint32_t line_count_ = 0;
};

// ---- Building the tree ----

// Where the parser stands in the tree. The way back up is in the elements themselves, so no nesting
// costs stack.
struct Place {
  XML_DOC* document;
  XML_NODE* parent = nullptr;    // the element that is open, null at top level
  XML_NODE* previous = nullptr;  // the last element at this level, null at its start
  uint32_t depth = 0;
};

// Reads name="value" where it is easy. Null, with nothing read, where it is not.
XML_ATTR* ParseShortAttribute(Reader& reader, XML_ARENA* arena) {
  std::string_view name;
  std::string_view value;
  if (!xml_arena::HasRoom(arena, xml_record::kShortAttribute)) return nullptr;
  if (!reader.ReadShortAttribute(&name, &value)) return nullptr;
  return xml_record::NewShortAttribute(arena, name, value);
}

// Reads "name = value". Null when there is no "=" or no memory.
XML_ATTR* ParseAttribute(Reader& reader, XML_ARENA* arena) {
  const std::string_view name = reader.ReadName();
  reader.SkipBlanks();
  if (!reader.Accept('=')) return nullptr;
  reader.SkipBlanks();
  const std::string_view name_copy = xml_record::CopyPaddedText(arena, name);
  const std::string_view value_copy = xml_record::CopyPaddedText(arena, reader.ReadValue());
  return xml_record::NewAttribute(arena, name_copy, value_copy);
}

// Reads attributes up to the end of the tag. The first that is none takes all others with it: the
// element keeps no attributes, and whether its tag ends there decides about the rest.
void ParseAttributes(Reader& reader, XML_ARENA* arena, XML_NODE* element) {
  XML_ATTR* last = nullptr;
  for (;;) {
    reader.SkipBlanks();
    XML_ATTR* attribute = ParseShortAttribute(reader, arena);
    if (attribute == nullptr) {
      if (reader.Next() == '/' || reader.Next() == '>') return;
      attribute = ParseAttribute(reader, arena);
    }
    if (attribute == nullptr) {
      element->first_attr = nullptr;
      return;
    }
    xml_record::Link(element, last, attribute);
    last = attribute;
  }
}

// Makes the element the next one of its level. It learns nothing of its predecessor on purpose: only
// elements that are added later do.
void Link(Place& place, XML_NODE* element) {
  element->parent = place.parent;
  if (place.previous != nullptr) {
    place.previous->next = element;
  } else if (place.parent != nullptr) {
    place.parent->first_child = element;
  } else {
    place.document->first_element = element;
  }
  place.previous = element;
}

Result OpenElement(Place& place) {
  if (place.depth == kMaxDepth) return kTooDeep;
  ++place.depth;
  place.parent = place.previous;
  place.previous = nullptr;
  return kParsed;
}

void CloseElement(Place& place) {
  --place.depth;
  place.previous = place.parent;
  place.parent = place.parent->parent;
}

// Reads a tag from its name on.
Result ParseOpeningTag(Reader& reader, Place& place) {
  const std::string_view name = reader.ReadName();
  if (name.empty()) return kEmptyName;
  XML_ARENA* const arena = place.document->arena;
  XML_NODE* const element = xml_record::NewElement(arena, xml_record::CopyPaddedText(arena, name));
  if (element == nullptr) return kNoMemory;
  ParseAttributes(reader, arena, element);
  Link(place, element);
  reader.SkipBlanks();
  const bool is_empty = reader.Accept('/');
  if (is_empty) reader.SkipBlanks();
  if (!reader.Accept('>')) return kTagNotClosed;
  return is_empty ? kParsed : OpenElement(place);
}

// Reads a closing tag from behind its "/".
Result ParseClosingTag(Reader& reader, Place& place) {
  reader.SkipBlanks();
  const std::string_view name = reader.ReadName();
  if (name.empty()) return kEmptyName;
  if (place.parent == nullptr) return kClosingTagMisplaced;
  if (!xml_name::AreSame(name, place.parent->name, place.parent->name_length)) {
    return kClosesAnotherElement;
  }
  reader.SkipBlanks();
  if (!reader.Accept('>')) return kClosingTagMisplaced;
  CloseElement(place);
  return kParsed;
}

// Skips blanks, comments and document type declarations.
void SkipBetweenTags(Reader& reader) {
  for (;;) {
    reader.SkipBlanks();
    if (reader.IsAt("<!--")) {
      reader.SkipFromTo("<!--", "-->");
    } else if (reader.IsAt("<!DOC")) {
      reader.SkipFromTo("<!DOC", ">");
    } else {
      return;
    }
  }
}

// Reads all elements. What is still open at the end of the text counts as closed.
Result XML_Parse(XML_DOC* document, Reader& reader) {
  Place place{.document = document};
  for (;;) {
    SkipBetweenTags(reader);
    if (reader.Next() == '\0') return kParsed;
    if (!reader.Accept('<')) return kTextBetweenTags;
    reader.SkipBlanks();
    const Result result =
        reader.Accept('/') ? ParseClosingTag(reader, place) : ParseOpeningTag(reader, place);
    if (result < 0) return result;
  }
}

// ---- The file ----

using xml_load::Outcome;

// Reads what the file holds of so many bytes, at least 1, and returns how much that is.
uint32_t ReadInto(char* bytes, uint32_t size, int32_t file) {
  char& last = bytes[size - 1];
  last = '\0';
  SYS_FILE_Read(file, bytes, size);
  // A read does not tell how much it got; where it left the file's position does, unless the last
  // byte shows that all came.
  if (last != '\0') return size;
  const int32_t position = SYS_FILE_Seek(file, 0, 1);
  return std::min(static_cast<uint32_t>(std::max(position, 0)), size);
}

// A file's text and its marks in one piece of memory.
class FileText {
 public:
  explicit FileText(int32_t file) {
    const int32_t size = SYS_FILE_GetSize(file);
    if (size > 0) Read(file, static_cast<uint32_t>(size));
  }
  ~FileText() { SYS_MEM_Free(memory_); }
  FileText(const FileText&) = delete;
  FileText& operator=(const FileText&) = delete;

  // Without bytes for an empty file or without memory.
  const Text& text() const { return text_; }
  // kLoaded when the whole file was read.
  Outcome outcome() const { return outcome_; }

 private:
  // How many zeros stand behind the text: whoever reads a short string of it reads so far.
  static constexpr uint32_t kPadding = 64;
  static_assert(kPadding >= xml_record::kShortValue && kPadding >= xml_marks::kGroup);

  void Read(int32_t file, uint32_t size) {
    const uint32_t marks_offset = (size + kPadding + 7) / 8 * 8;
    const auto marks_size = static_cast<uint32_t>(xml_marks::Count(size) * sizeof(uint64_t));
    outcome_ = Outcome::kNotRead;
    memory_ = SYS_MEM_Alloc(marks_offset + marks_size);
    if (memory_ == nullptr) return;
    auto* const bytes = static_cast<char*>(memory_);
    const uint32_t count = ReadInto(bytes, size, file);
    if (count == size) outcome_ = Outcome::kLoaded;
    bytes[count] = '\0';
    // A zero in the text ends it.
    const size_t length = strlen(bytes);
    memset(bytes + length, 0, kPadding);
    auto* const marks = reinterpret_cast<uint64_t*>(bytes + marks_offset);
    xml_marks::Mark(bytes, length, marks);
    text_ = {bytes, marks};
  }

  void* memory_ = nullptr;
  Text text_ = {};
  Outcome outcome_ = Outcome::kNoDocument;
};

// The outcome of parsing a text that was read as told. A beginning may be a document, too.
Outcome OutcomeOf(Outcome reading, Result parsing, const XML_DOC& document) {
  if (parsing >= 0 && document.first_element != nullptr) return Outcome::kLoaded;
  if (parsing == kNoMemory) return Outcome::kNotRead;
  return reading == Outcome::kLoaded ? Outcome::kNoDocument : reading;
}

Outcome ParseFile(const char* path, XML_DOC* document) {
  const int32_t file = SYS_FILE_Open(path, SYS_FILE_FLAG_READ);
  if (file < 0) return Outcome::kNotOpened;
  const FileText content(file);
  SYS_FILE_Close(file);
  if (content.text().bytes == nullptr) return content.outcome();
  Reader reader(content.text());
  const Result parsing = XML_Parse(document, reader);
  document->line_count = reader.line_count();
  return OutcomeOf(content.outcome(), parsing, *document);
}

}  // namespace

XML_DOC* xml_load::Load(const char* path, Outcome* outcome) {
  *outcome = Outcome::kNotRead;
  XML_DOC* const document = xml_record::NewDocument();
  if (document == nullptr) return nullptr;
  *outcome = ParseFile(path, document);
  if (*outcome != Outcome::kLoaded) {
    XML_FreeDoc(document);
    return nullptr;
  }
  return document;
}

XML_DOC* XML_LoadFile(const char* path) {
  Outcome outcome;
  return path != nullptr ? xml_load::Load(path, &outcome) : nullptr;
}
