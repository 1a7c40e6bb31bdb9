// SPDX-License-Identifier: MIT

// The text of documents, and round trips.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "settings/xml.h"
#include "tests/settings/markup_document.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"
#include "util/dynbuffer.h"

namespace {

using support::FailingAllocation;
using support::GuardedBuffer;

constexpr uint32_t kLimit = 0x100000;

// A document of one element r with one attribute v: 11 bytes and the value.
XML_DOC* NewWithValue(size_t length) {
  XML_DOC* const document = XML_CreateDoc("r");
  XML_SetAttr(document, XML_GetRoot(document), "v", std::string(length, 'x').c_str());
  return document;
}

Document WithValue(size_t length) { return Document(NewWithValue(length)); }

// ---- Layout ----

TEST(XmlToText, WritesATagPerLine) {
  const Document document(XML_CreateDoc("Registry"));
  XML_NODE* const software = XML_FindOrAddChild(document.get(), document.root(), "Software");
  XML_SetAttr(document.get(), software, "Value", "1");
  EXPECT_EQ(Text(document),
            "<Registry>\r\n"
            "  <Software Value=\"1\"/>\r\n"
            "</Registry>\r\n");
}

TEST(XmlToText, WritesAnElementWithoutChildrenAsAnEmptyTag) {
  EXPECT_EQ(Text(LoadText("<a></a>")), "<a/>\r\n");
}

TEST(XmlToText, WritesAttributesInTheirOrder) {
  EXPECT_EQ(Text(LoadText("<a x=\"1\" y=\"\" Z=\"3\"><b c=\"4\"/></a>")),
            "<a x=\"1\" y=\"\" Z=\"3\">\r\n"
            "  <b c=\"4\"/>\r\n"
            "</a>\r\n");
}

TEST(XmlToText, IndentsByTwoBlanksPerLevel) {
  EXPECT_EQ(Text(LoadText("<a><b><c><d/></c><e/></b></a>")),
            "<a>\r\n"
            "  <b>\r\n"
            "    <c>\r\n"
            "      <d/>\r\n"
            "    </c>\r\n"
            "    <e/>\r\n"
            "  </b>\r\n"
            "</a>\r\n");
}

TEST(XmlToText, WritesSeveralElementsAtTopLevel) {
  EXPECT_EQ(Text(LoadText("<a/><b><c/></b><d/>")),
            "<a/>\r\n"
            "<b>\r\n"
            "  <c/>\r\n"
            "</b>\r\n"
            "<d/>\r\n");
}

// Indentations of 0 to 200 blanks.
TEST(XmlToText, IndentsDeepElements) {
  std::string text;
  std::string expected;
  std::string expected_end;
  for (size_t depth = 0; depth < 100; ++depth) {
    text += "<a>";
    expected += std::string(2 * depth, ' ') + "<a>\r\n";
    expected_end = std::string(2 * depth, ' ') + "</a>\r\n" + expected_end;
  }
  EXPECT_EQ(Text(LoadText(text + "<b/>")),
            expected + std::string(200, ' ') + "<b/>\r\n" + expected_end);
}

TEST(XmlToText, WritesValuesAsTheyAre) {
  const Document document(XML_CreateDoc("a"));
  XML_SetAttr(document.get(), document.root(), "x", "<&>'\t\r\n\xFF\"");
  EXPECT_EQ(Text(document), "<a x=\"<&>'\t\r\n\xFF\"\"/>\r\n");
  EXPECT_EQ(Loaded(Text(document)), "null");
}

TEST(XmlToText, WritesStringsOfEveryLength) {
  for (size_t length = 1; length <= 70; ++length) {
    SCOPED_TRACE(length);
    const std::string name(length, 'n');
    const std::string value(length - 1, 'v');
    const Document document(XML_CreateDoc(name.c_str()));
    XML_SetAttr(document.get(), document.root(), name.c_str(), value.c_str());
    EXPECT_EQ(Text(document), "<" + name + " " + name + "=\"" + value + "\"/>\r\n");
  }
}

TEST(XmlToText, BeginsEveryTextAtDepthZero) {
  const Document document = LoadText("<a><b/></a>");
  const std::string first = Text(document);
  EXPECT_EQ(Text(document), first);
  EXPECT_EQ(Text(LoadText("<c/>")), "<c/>\r\n");
}

// ---- Results ----

TEST(XmlToText, StoresNoTerminatorAndGivesTheLength) {
  const Document document = LoadText("<a/>");
  GuardedBuffer buffer(10);
  EXPECT_EQ(XML_ToText(document.get(), buffer.data(), 10), 6);
  EXPECT_EQ(std::string(buffer.data(), 6), "<a/>\r\n");
  EXPECT_TRUE(buffer.IsUntouched(6, 10));
}

TEST(XmlToText, TakesATextOfExactlyTheCapacity) {
  const Document document = LoadText("<a/>");
  GuardedBuffer buffer(6);
  EXPECT_EQ(XML_ToText(document.get(), buffer.data(), 6), 6);
  EXPECT_EQ(std::string(buffer.data(), 6), "<a/>\r\n");
}

TEST(XmlToText, GivesMinusTwoForATextLongerThanTheCapacity) {
  const Document document = LoadText("<a/>");
  for (const uint32_t capacity : {1U, 4U, 5U}) {
    SCOPED_TRACE(capacity);
    GuardedBuffer buffer(capacity);
    EXPECT_EQ(XML_ToText(document.get(), buffer.data(), capacity), -2);
    EXPECT_EQ(std::string(buffer.data(), capacity), std::string("<a/>\r\n", capacity));
  }
  GuardedBuffer untouched(1);
  EXPECT_EQ(XML_ToText(document.get(), untouched.data(), 0), -2);
  EXPECT_TRUE(untouched.IsUntouched(0, 1));
}

TEST(XmlToText, GivesMinusOneForANullBufferOrDocument) {
  const Document document = LoadText("<a/>");
  GuardedBuffer buffer(4);
  EXPECT_EQ(XML_ToText(document.get(), nullptr, 100), -1);
  EXPECT_EQ(XML_ToText(document.get(), nullptr, 0), -1);
  EXPECT_EQ(XML_ToText(nullptr, buffer.data(), 4), -1);
  EXPECT_TRUE(buffer.IsUntouched(0, 4));
}

TEST(XmlToText, GivesOneZeroByteForADocumentWithoutElements) {
  const XML_DOC document = {};
  GuardedBuffer buffer(4);
  EXPECT_EQ(XML_ToText(&document, buffer.data(), 4), 1);
  EXPECT_EQ(buffer.data()[0], '\0');
  EXPECT_TRUE(buffer.IsUntouched(1, 4));
  EXPECT_EQ(XML_ToText(&document, buffer.data(), 0), -2);
}

TEST(XmlToText, LeavesTheDocumentAsItWas) {
  const Document document = LoadText("<a x=\"1\"><b/></a>");
  Text(document);
  EXPECT_EQ(Outline(document), "a[x=1]{b}");
}

TEST(XmlToText, GivesMinusOneWithoutMemory) {
  const Document document = WithValue(20'000);
  std::vector<char> buffer(kLimit, '?');
  for (uint32_t nth = 1; nth <= 2; ++nth) {
    SCOPED_TRACE(nth);
    const FailingAllocation failing(nth, FailingAllocation::Extent::kFromThenOn);
    EXPECT_EQ(XML_ToText(document.get(), buffer.data(), kLimit), -1);
  }
  EXPECT_EQ(buffer[0], '?');
  EXPECT_EQ(XML_ToText(document.get(), buffer.data(), kLimit), 20'011);
}

// The second allocation is the room for all of the text at once.
TEST(XmlToText, GrowsStepByStepWhenTheRoomForAllCannotBeHad) {
  const Document document = WithValue(20'000);
  const std::string text = Text(document);
  std::vector<char> buffer(kLimit);
  const FailingAllocation failing(2);
  ASSERT_EQ(XML_ToText(document.get(), buffer.data(), kLimit), 20'011);
  EXPECT_EQ(std::string(buffer.data(), 20'011), text);
}

// A text of any length up to beyond the first 4096 bytes, of pieces of any length, in all of which the
// array ends somewhere.
TEST(XmlToText, WritesTheSameWhereverTheArrayEnds) {
  for (size_t length = 0; length < 48; ++length) {
    std::string text = "<a>\r\n";
    const std::string value(length, 'v');
    for (int i = 0; i < 160; ++i) {
      text += "  <e" + std::string(static_cast<size_t>(i % 5), 'e') + " n=\"" + value + "\"/>\r\n";
    }
    text += "</a>\r\n";
    const Document document = LoadText(text);
    EXPECT_EQ(Text(document), text);
    const FailingAllocation failing(2);
    EXPECT_EQ(Text(document), text);
  }
}

TEST(XmlToText, IndentsAsBeforeAfterAFailure) {
  const Document document = LoadText("<a><b><c/></b></a>");
  const std::string text = Text(document);
  GuardedBuffer buffer(4);
  EXPECT_EQ(XML_ToText(document.get(), buffer.data(), 4), -2);
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(XML_ToText(document.get(), buffer.data(), 4), -1);
  }
  EXPECT_EQ(Text(document), text);
}

// ---- The limit ----

TEST(XmlToText, WritesATextOfExactlyTheLimit) {
  const std::string text = Text(WithValue(kLimit - 11));
  EXPECT_EQ(text, "<r v=\"" + std::string(kLimit - 11, 'x') + "\"/>\r\n");
}

// With one byte more the line end, of two bytes, finds no room.
TEST(XmlToText, LeavesOutThePieceThatCrossesTheLimit) {
  EXPECT_EQ(Text(WithValue(kLimit - 10)), "<r v=\"" + std::string(kLimit - 10, 'x') + "\"/>");
  EXPECT_EQ(Text(WithValue(kLimit - 9)), "<r v=\"" + std::string(kLimit - 9, 'x') + "\"/>");
  // The quote still fits, then neither of the two pieces of two bytes.
  EXPECT_EQ(Text(WithValue(kLimit - 8)), "<r v=\"" + std::string(kLimit - 8, 'x') + "\"");
  EXPECT_EQ(Text(WithValue(kLimit - 7)), "<r v=\"" + std::string(kLimit - 7, 'x') + "\"");
  EXPECT_EQ(Text(WithValue(kLimit - 6)), "<r v=\"" + std::string(kLimit - 6, 'x'));
}

TEST(XmlToText, WritesShorterPiecesBehindOneThatIsLeftOut) {
  EXPECT_EQ(Text(WithValue(kLimit - 5)), "<r v=\"\"/>\r\n");
  EXPECT_EQ(Text(WithValue(5'000'000)), "<r v=\"\"/>\r\n");
}

// The same text, appended piece by piece to a buffer of the same limit.
class PieceByPiece {
 public:
  PieceByPiece() { DYNBUFFER_Init(&buffer_, nullptr, kLimit, 4096, 0); }
  ~PieceByPiece() { DYNBUFFER_Free(&buffer_); }
  PieceByPiece(const PieceByPiece&) = delete;
  PieceByPiece& operator=(const PieceByPiece&) = delete;

  void WriteSiblings(const XML_NODE* first, int depth) {
    for (const XML_NODE* element = first; element != nullptr; element = element->next) {
      Indent(depth);
      Append("<");
      Append(element->name);
      for (const XML_ATTR* a = element->first_attr; a != nullptr; a = a->next) {
        for (const std::string_view piece : {" ", a->name, "=\"", a->value, "\""}) Append(piece);
      }
      if (element->first_child == nullptr) {
        Append("/>");
        Append("\r\n");
        continue;
      }
      Append(">");
      Append("\r\n");
      WriteSiblings(element->first_child, depth + 1);
      Indent(depth);
      for (const std::string_view piece : {"</", element->name, ">", "\r\n"}) Append(piece);
    }
  }

  std::string text() const {
    return {reinterpret_cast<const char*>(buffer_.data), buffer_.highest + 1};
  }

 private:
  void Append(std::string_view piece) {
    DYNBUFFER_Append(&buffer_, piece.data(), static_cast<uint32_t>(piece.size()));
  }
  void Indent(int depth) {
    for (int i = 0; i < depth; ++i) Append("  ");
  }

  DYNBUFFER buffer_;
};

TEST(XmlToText, LeavesOutTheSamePiecesAsAppendingEachOfThem) {
  for (size_t excess = 0; excess < 60; ++excess) {
    SCOPED_TRACE(excess);
    const Document document = LoadText(
        "<root><a><b><c x=\"\" long=\"value\"/></b><d><e/></d></a><f g=\"h\"/></root><i/>");
    XML_NODE* const root = document.root();
    const std::string value(kLimit - 140 + excess * 3, 'x');
    ASSERT_EQ(XML_SetAttr(document.get(), root, "v", value.c_str()), 0);
    PieceByPiece expected;
    expected.WriteSiblings(root, 0);
    EXPECT_EQ(Text(document), expected.text());
  }
}

// Many small elements, so that the limit is met in the middle of what is gathered.
TEST(XmlToText, LeavesOutTheSamePiecesOfManyElements) {
  for (size_t length = 0; length < 24; ++length) {
    SCOPED_TRACE(length);
    const std::string value(length, 'v');
    std::string text = "<root><first name=\"" + value + "\"/>";
    // 50 bytes are written of each, 1,050,000 altogether.
    for (int i = 0; i < 21'000; ++i) text += "<group><entry a=\"1\" b=\"22\"/></group>";
    const Document document = LoadText(text);
    PieceByPiece expected;
    expected.WriteSiblings(document.root(), 0);
    EXPECT_EQ(Text(document), expected.text());
    EXPECT_GE(expected.text().size(), size_t{kLimit - 8});
  }
}

// ---- Depth ----

// The text of the first thousand levels fills the limit with blanks.
TEST(XmlToText, WritesAHundredThousandLevelsUpToTheLimit) {
  const Document document(XML_CreateDoc("a"));
  XML_NODE* element = document.root();
  for (int depth = 1; depth < 100'000; ++depth) {
    element = XML_FindOrAddChild(document.get(), element, "a");
    ASSERT_NE(element, nullptr);
  }
  const std::string text = Text(document);
  EXPECT_EQ(text.size(), size_t{kLimit});
  EXPECT_TRUE(text.starts_with("<a>\r\n  <a>\r\n    <a>\r\n"));
  EXPECT_EQ(Text(LoadText("<b/>")), "<b/>\r\n");
}

// ---- Round trips ----

TEST(XmlRoundTrip, ReadsBackWhatItWrote) {
  for (const char* const text : {
           "<a/>",
           "<a/><b/><c><d/></c>",
           "<Registry><Software Port=\"0x00004A4D\" Port_TARVENRegType=\"SYS_REG_TYPE_DWORD\"/>"
           "</Registry>",
           "<a x=\"\" =\"1\" y=\"line\r\nend\"><b><c/></b><b/></a>",
           "<!DO><!-x/></!do>",
       }) {
    SCOPED_TRACE(text);
    const Document document = LoadText(text);
    ASSERT_TRUE(document);
    const std::string written = Text(document);
    const Document again = LoadText(written);
    EXPECT_EQ(Outline(again), Outline(document));
    EXPECT_EQ(Text(again), written);
  }
}

TEST(XmlRoundTrip, ReadsNamesThatBeginAsACommentAsOne) {
  const Document document(XML_CreateDoc("r"));
  XML_FindOrAddChild(document.get(), document.root(), "!--a");
  XML_FindOrAddChild(document.get(), document.root(), "!DOCb");
  EXPECT_EQ(Text(document), "<r>\r\n  <!--a/>\r\n  <!DOCb/>\r\n</r>\r\n");
  EXPECT_EQ(Loaded(Text(document)), "r");
}

TEST(XmlRoundTrip, CutsWhatIsLongerThanTheParserKeeps) {
  const Document document = WithValue(300);
  EXPECT_EQ(Loaded(Text(document)), "r[v=" + std::string(255, 'x') + "]");
}

}  // namespace
