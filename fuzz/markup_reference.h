// SPDX-License-Identifier: MIT

// The reader of markup documents once more, by descent into one level after the other.
#ifndef TARVEN_FUZZ_MARKUP_REFERENCE_H_
#define TARVEN_FUZZ_MARKUP_REFERENCE_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace markup_reference {

struct Attribute {
  std::string name;
  std::string value;

  bool operator==(const Attribute&) const = default;
};

struct Element {
  std::string name;
  std::vector<Attribute> attributes;
  std::vector<Element> children;

  bool operator==(const Element&) const = default;
};

inline std::string Lower(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return text;
}

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text.substr(0, text.find('\0'))) {}

  // The top level, or nothing for a text that breaks the rules or holds no element.
  std::optional<std::vector<Element>> Read() {
    std::vector<Element> elements;
    if (!ReadLevel(&elements, nullptr, 0) || elements.empty()) return {};
    return elements;
  }

 private:
  static constexpr int kDeepest = 100;
  static constexpr size_t kKept = 255;
  static constexpr std::string_view kNameBytes =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_!-";

  bool is_at_end() const { return position_ == text_.size(); }
  bool IsAt(std::string_view text) const { return text_.substr(position_).starts_with(text); }
  bool Accept(std::string_view text) {
    if (!IsAt(text)) return false;
    position_ += text.size();
    return true;
  }
  // Takes all bytes that are in, or not in, a set.
  std::string_view TakeAll(std::string_view set, bool in) {
    size_t end = in ? text_.find_first_not_of(set, position_) : text_.find_first_of(set, position_);
    if (end == text_.npos) end = text_.size();
    const std::string_view taken = text_.substr(position_, end - position_);
    position_ = end;
    return taken;
  }
  void SkipBlanks() { TakeAll(" \t\r\n", true); }

  // Skips this beginning and all up to the end, which may be missing.
  bool SkipFromTo(std::string_view beginning, std::string_view end) {
    if (!Accept(beginning)) return false;
    const size_t found = text_.find(end, position_);
    position_ = found == text_.npos ? text_.size() : found + end.size();
    return true;
  }
  void SkipBetweenTags() {
    do {
      SkipBlanks();
    } while (SkipFromTo("<!--", "-->") || SkipFromTo("<!DOC", ">"));
  }

  std::string ReadName() {
    if (IsAt("-")) return {};
    return std::string(TakeAll(kNameBytes, true).substr(0, kKept));
  }

  std::string ReadValue() {
    if (!Accept("\"")) return {};
    const std::string_view value = TakeAll("\"", false);
    return std::string(Accept("\"") ? value.substr(0, kKept) : "");
  }

  // One name without "=" loses the element all its attributes.
  std::vector<Attribute> ReadAttributes() {
    std::vector<Attribute> attributes;
    for (;;) {
      SkipBlanks();
      if (IsAt("/") || IsAt(">")) return attributes;
      const std::string name = ReadName();
      SkipBlanks();
      if (!Accept("=")) return {};
      SkipBlanks();
      attributes.push_back({name, ReadValue()});
    }
  }

  // Reads a tag from its name on, and what stands in the element.
  bool ReadElement(std::vector<Element>* siblings, int depth) {
    Element element = {ReadName(), {}, {}};
    if (element.name.empty()) return false;
    element.attributes = ReadAttributes();
    SkipBlanks();
    bool is_read = false;
    if (Accept("/")) {
      SkipBlanks();
      is_read = Accept(">");
    } else {
      is_read = Accept(">") && ReadLevel(&element.children, &element.name, depth + 1);
    }
    siblings->push_back(element);
    return is_read;
  }

  // Reads a closing tag from behind its "/".
  bool ReadClosing(const std::string* parent) {
    SkipBlanks();
    const std::string name = ReadName();
    if (parent == nullptr || name.empty() || Lower(name) != Lower(*parent)) return false;
    SkipBlanks();
    return Accept(">");
  }

  bool ReadLevel(std::vector<Element>* siblings, const std::string* parent, int depth) {
    if (depth > kDeepest) return false;
    for (;;) {
      SkipBetweenTags();
      if (is_at_end()) return true;
      if (!Accept("<")) return false;
      SkipBlanks();
      if (Accept("/")) return ReadClosing(parent);
      if (!ReadElement(siblings, depth)) return false;
    }
  }

  std::string_view text_;
  size_t position_ = 0;
};

}  // namespace markup_reference

#endif
