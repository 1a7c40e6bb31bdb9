// SPDX-License-Identifier: MIT

// The parser against a plain one that goes byte by byte: the same random texts for both.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include "tests/settings/markup_document.h"

namespace {

constexpr size_t kKeptBytes = 255;

class PlainParser {
 public:
  explicit PlainParser(const std::string& text) : text_(text.substr(0, text.find('\0'))) {}

  // The outline of the tree, or "null".
  std::string Outline() {
    const std::string outline = Level("", 0);
    return is_wrong_ || outline.empty() ? "null" : outline;
  }
  uint32_t line_count() const { return line_count_; }

 private:
  char Next() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool IsAt(std::string_view what) const { return text_.compare(at_, what.size(), what) == 0; }
  char Take() {
    const char byte = Next();
    if (byte != '\0') ++at_;
    return byte;
  }
  bool Accept(char byte) { return Next() == byte && Take() != '\0'; }
  std::string Fail() {
    is_wrong_ = true;
    return "";
  }

  void SkipBlanks() {
    while (Next() == ' ' || Next() == '\t' || Next() == '\r' || Next() == '\n') {
      if (Take() == '\n') ++line_count_;
    }
  }
  void SkipBehind(std::string_view end) {
    while (Next() != '\0' && !IsAt(end)) {
      if (Take() == '\n') ++line_count_;
    }
    for (size_t i = 0; i < end.size(); ++i) Take();
  }
  static bool IsName(char byte) {
    return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '_' || byte == '!' ||
           byte == '-';
  }
  std::string Name() {
    std::string name;
    while (IsName(Next()) && !(name.empty() && Next() == '-')) name += Take();
    return name.substr(0, kKeptBytes);
  }
  std::string Value() {
    std::string value;
    if (!Accept('"')) return value;
    while (Next() != '\0' && Next() != '"') value += Take();
    return Accept('"') ? value.substr(0, kKeptBytes) : "";
  }

  std::string Attributes() {
    std::string outline;
    for (;;) {
      SkipBlanks();
      if (Next() == '/' || Next() == '>') return outline;
      const std::string name = Name();
      SkipBlanks();
      if (!Accept('=')) return "";
      SkipBlanks();
      outline += "[" + name + "=" + Value() + "]";
    }
  }

  static std::string Lower(std::string text) {
    for (char& byte : text) {
      if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + 32);
    }
    return text;
  }

  // The elements up to the parent's closing tag or the end.
  std::string Level(const std::string& parent, int depth) {
    std::string outline;
    if (depth > 100) return Fail();
    while (!is_wrong_) {
      SkipBlanks();
      if (IsAt("<!--")) {
        at_ += 4;
        SkipBehind("-->");
        continue;
      }
      if (IsAt("<!DOC")) {
        at_ += 5;
        SkipBehind(">");
        continue;
      }
      if (Next() == '\0') return outline;
      if (!Accept('<')) return Fail();
      SkipBlanks();
      const bool is_closing = Accept('/');
      if (is_closing) SkipBlanks();
      const std::string name = Name();
      if (name.empty()) return Fail();
      if (is_closing) {
        if (depth == 0 || Lower(name) != Lower(parent)) return Fail();
        SkipBlanks();
        return Accept('>') ? outline : Fail();
      }
      if (!outline.empty()) outline += " ";
      outline += name + Attributes();
      SkipBlanks();
      const bool is_empty = Accept('/');
      if (is_empty) SkipBlanks();
      if (!Accept('>')) return Fail();
      if (is_empty) continue;
      const std::string children = Level(name, depth + 1);
      if (!children.empty()) outline += "{" + children + "}";
    }
    return "";
  }

  std::string text_;
  size_t at_ = 0;
  uint32_t line_count_ = 0;
  bool is_wrong_ = false;
};

class RandomText {
 public:
  explicit RandomText(uint32_t seed) : random_(seed) {}

  // A document with strings and blanks of all lengths, sometimes damaged in some places.
  std::string Next() {
    std::string text;
    const size_t elements = 1 + Below(4);
    for (size_t i = 0; i < elements; ++i) AppendElement(text, 0);
    if (Below(2) == 0) Damage(text);
    return text;
  }

 private:
  size_t Below(size_t limit) { return random_() % limit; }

  std::string Of(std::string_view bytes, size_t length) {
    std::string text;
    while (text.size() < length) text += bytes[Below(bytes.size())];
    return text;
  }
  size_t Length() {
    switch (Below(12)) {
      case 0:
        return Below(300);
      case 1:
        return Below(80);
      default:
        return Below(36);
    }
  }
  std::string Name() { return "n" + Of("abZ019_!-", Length()); }
  std::string Blanks() { return Below(4) == 0 ? Of(" \t\r\n", Below(4)) : ""; }

  void AppendElement(std::string& text, size_t depth) {
    const std::string name = Name();
    text += Blanks() + "<" + Blanks() + name;
    for (size_t i = Below(6); i > 0; --i) {
      text += " " + Blanks() + (Below(9) == 0 ? "" : Name()) + Blanks() + "=" + Blanks() + "\"" +
              Of("ab \n<>/='&-\xFF", Length()) + "\"";
    }
    text += Blanks();
    if (depth == 3 || Below(2) == 0) {
      text += "/>";
      return;
    }
    text += ">";
    if (Below(5) == 0) text += "<!--" + Of("ab- \n\"<>", Length()) + "-->";
    if (Below(9) == 0) text += "<!DOC" + Of("ab \n\"<", Length()) + ">";
    for (size_t i = Below(4); i > 0; --i) AppendElement(text, depth + 1);
    text += "</" + Blanks() + name + Blanks() + ">";
  }

  void Damage(std::string& text) {
    static constexpr std::string_view kBytes("\0\"=/<> -a\n\x0B.", 12);
    for (size_t i = 1 + Below(3); i > 0 && !text.empty(); --i) {
      const size_t place = Below(text.size());
      const char byte = kBytes[Below(kBytes.size())];
      switch (Below(3)) {
        case 0:
          text[place] = byte;
          break;
        case 1:
          text.erase(place, 1 + Below(5));
          break;
        default:
          text.insert(place, 1, byte);
      }
    }
  }

  std::mt19937 random_;
};

TEST(XmlParseModel, ReadsRandomTextsAsAPlainParserDoes) {
  RandomText texts(20240229);
  int documents = 0;
  constexpr int kTexts = 700;
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = texts.Next();
    SCOPED_TRACE(text);
    PlainParser expected(text);
    const std::string outline = expected.Outline();
    const Document document = LoadText(text);
    ASSERT_EQ(Outline(document), outline);
    if (!document) continue;
    ++documents;
    const uint32_t line_count = document->line_count;
    ASSERT_EQ(line_count, expected.line_count());
  }
  // Both kinds are among them.
  EXPECT_GT(documents, kTexts / 2);
  EXPECT_LT(documents, kTexts * 9 / 10);
}

}  // namespace
