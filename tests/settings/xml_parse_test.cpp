// SPDX-License-Identifier: MIT

// What texts load as. xml_file_test.cpp reads files.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "settings/xml.h"
#include "settings/xml_arena.h"
#include "tests/settings/markup_document.h"
#include "tests/support/failing_allocation.h"

namespace {

using std::string_literals::operator""s;
using support::FailingAllocation;

struct Case {
  std::string text;
  const char* expected;
};

template <size_t size>
void ExpectLoaded(const Case (&cases)[size]) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Loaded(c.text), c.expected);
  }
}

std::string Repeated(std::string_view piece, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += piece;
  return text;
}

// ---- Elements ----

TEST(XmlParse, ReadsElementsAndTheirChildren) {
  ExpectLoaded({
      {"<a/>", "a"},
      {"<a></a>", "a"},
      {"<a><b/></a>", "a{b}"},
      {"<a><b/><c/><d/></a>", "a{b c d}"},
      {"<a><b><c/></b><d><e/></d></a>", "a{b{c} d{e}}"},
      {"<a><b></b></a>", "a{b}"},
  });
}

TEST(XmlParse, ReadsSeveralElementsAtTopLevel) {
  ExpectLoaded({
      {"<a/><b/>", "a b"},
      {"<a><b/></a><c x=\"1\"/><d></d>", "a{b} c[x=1] d"},
  });
}

TEST(XmlParse, KeepsTheOrderAndTheCaseOfNames) {
  ExpectLoaded({{"<B><a/><A/><a/></B>", "B{a A a}"}});
}

TEST(XmlParse, SkipsBlanksBetweenAndInTags) {
  ExpectLoaded({
      {" \t\r\n<a/> \t\r\n", "a"},
      {"< \t\r\na \t\r\n/ \t\r\n>", "a"},
      {"<a \t\r\n> \t\r\n< \t\r\n/ \t\r\na \t\r\n>", "a"},
      {"<a \t\r\nx \t\r\n= \t\r\n\"1\" \t\r\n/>", "a[x=1]"},
  });
}

TEST(XmlParse, TakesAnElementThatTheEndOfTheTextLeavesOpen) {
  ExpectLoaded({
      {"<a>", "a"},
      {"<a><b>", "a{b}"},
      {"<a><b x=\"1\"><c/>", "a{b[x=1]{c}}"},
      {"<a><b></b>", "a{b}"},
      {"<a> \n", "a"},
  });
}

TEST(XmlParse, EndsAtAZeroByte) {
  ExpectLoaded({
      {"<a/>\0<b/>"s, "a"},
      {"<a>\0</b>"s, "a"},
      {"\0<a/>"s, "null"},
      {"<a\0/>"s, "null"},
      {"<a x=\"1\0\"/>"s, "null"},
      {"<a/><!-- \0 --><b/>"s, "a"},
  });
}

TEST(XmlParse, GivesNullWithoutAnElement) {
  ExpectLoaded({
      {" ", "null"},
      {" \t\r\n\r\n", "null"},
      {"<!-- a -->", "null"},
      {" <!-- a --> \n <!--<b/>--> ", "null"},
      {"<!DOCTYPE a>", "null"},
  });
}

TEST(XmlParse, RefusesTextBetweenTags) {
  ExpectLoaded({
      {"<a>text</a>", "null"},
      {"text<a/>", "null"},
      {"<a/>text", "null"},
      {"<a/>>", "null"},
      {"<a>\"\"</a>", "null"},
      {"\xEF\xBB\xBF<a/>", "null"},  // a byte order mark
  });
}

TEST(XmlParse, RefusesControlBytesBetweenTags) {
  for (char byte = 1; byte < 32; ++byte) {
    SCOPED_TRACE(int{byte});
    const bool is_blank = byte == '\t' || byte == '\n' || byte == '\r';
    EXPECT_EQ(Loaded("<a/>"s + byte), is_blank ? "a" : "null");
    EXPECT_EQ(Loaded("<a>"s + byte + "</a>"), is_blank ? "a" : "null");
    EXPECT_EQ(Loaded("<a"s + byte + "/>"), is_blank ? "a" : "null");
  }
}

TEST(XmlParse, RefusesAnXmlDeclaration) { ExpectLoaded({{"<?xml version=\"1.0\"?><a/>", "null"}}); }

// ---- Names ----

TEST(XmlParse, TakesTheBytesOfNamesAndNoOthers) {
  const std::string_view name_bytes =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_!-";
  for (int value = 1; value < 256; ++value) {
    SCOPED_TRACE(value);
    const char byte = static_cast<char>(value);
    const bool is_name_byte = name_bytes.find(byte) != std::string_view::npos;
    const std::string name = "aaaaaaaa"s + byte + "aaaaaaaa";
    EXPECT_EQ(Loaded("<" + name + "/>") == name, is_name_byte);
    EXPECT_EQ(Loaded("<b " + name + "=\"1\"/>") == "b[" + name + "=1]", is_name_byte);
  }
}

TEST(XmlParse, TakesNoHyphenAtTheStartOfAName) {
  ExpectLoaded({
      {"<-a/>", "null"},
      {"<->", "null"},
      {"<a-/>", "a-"},
      {"<a--b/>", "a--b"},
      {"<_-/>", "_-"},
      {"<0/>", "0"},
      {"<a -x=\"1\"/>", "null"},
  });
}

TEST(XmlParse, RefusesAnEmptyName) {
  ExpectLoaded({
      {"<>", "null"},
      {"</>", "null"},
      {"<a></>", "null"},
      {"<a/><", "null"},
      {"< />", "null"},
      {"<.a/>", "null"},
      {"<\xE4/>", "null"},
  });
}

// 14 to 18, 30 to 34: around one and two steps of sixteen bytes.
TEST(XmlParse, ReadsNamesAndValuesOfEveryLength) {
  for (int length = 1; length <= 70; ++length) {
    SCOPED_TRACE(length);
    const std::string name = Repeated("n", length - 1) + "!";
    const std::string value = Repeated("v", length - 1) + ">";
    EXPECT_EQ(Loaded("<" + name + " " + name + "=\"" + value + "\"/>"),
              name + "[" + name + "=" + value + "]");
    EXPECT_EQ(Loaded("<" + name + "><b/></" + name + ">"), name + "{b}");
  }
}

TEST(XmlParse, KeepsTheFirst255BytesOfAName) {
  for (const int length : {254, 255, 256, 257, 300, 5000}) {
    SCOPED_TRACE(length);
    const std::string name = Repeated("n", length);
    const std::string kept = name.substr(0, 255);
    EXPECT_EQ(Loaded("<" + name + "/>"), kept);
    EXPECT_EQ(Loaded("<" + name + "><b/></" + name + "><c/>"), kept + "{b} c");
    EXPECT_EQ(Loaded("<a " + name + "=\"1\"/>"), "a[" + kept + "=1]");
  }
}

// ---- Closing tags ----

TEST(XmlParse, ComparesClosingNamesWithoutRegardToCase) {
  ExpectLoaded({
      {"<a></A>", "a"},
      {"<Registry><x/></rEGISTRY>", "Registry{x}"},
      {"<[/>", "null"},
  });
}

TEST(XmlParse, RefusesAClosingTagOfAnotherName) {
  ExpectLoaded({
      {"<a></b>", "null"},
      {"<a></ab>", "null"},
      {"<ab></a>", "null"},
      {"<a><b></a></b>", "null"},
      {"<a><b/></b></a>", "null"},
      {"<a!></aA>", "null"},  // "!" and "A" are 0x20 apart
      {"<a_></a->", "null"},
  });
}

// Both names are compared as far as they are kept.
TEST(XmlParse, ComparesClosingNamesUpTo255Bytes) {
  const std::string same = Repeated("n", 255);
  EXPECT_EQ(Loaded("<" + same + "x></" + same + "y>"), same);
  EXPECT_EQ(Loaded("<" + same + "></" + same + "y>"), same);
  const std::string shorter = Repeated("n", 254);
  EXPECT_EQ(Loaded("<" + shorter + "x></" + shorter + "y>"), "null");
}

TEST(XmlParse, RefusesAClosingTagAtTopLevel) {
  ExpectLoaded({
      {"</a>", "null"},
      {"<a/></a>", "null"},
      {"<a/></a", "null"},
      {"<a/></a <b/>", "null"},
      {"<a></a></a>", "null"},
  });
}

TEST(XmlParse, RefusesAClosingTagThatDoesNotEnd) {
  ExpectLoaded({
      {"<a></a", "null"},
      {"<a></a x>", "null"},
      {"<a></a/>", "null"},
      {"<a></a<b/>", "null"},
      {"<a></", "null"},
  });
}

// ---- Tags ----

TEST(XmlParse, RefusesATagThatDoesNotEnd) {
  ExpectLoaded({
      {"<a", "null"},
      {"<a ", "null"},
      {"<a/", "null"},
      {"<a/ ", "null"},
      {"<a/x>", "null"},
      {"<a//>", "null"},
      {"<a x=\"1\"", "null"},
      {"<a x=\"1\"/", "null"},
      {"<a<b/>", "null"},
      {"<a x=\"1\"<b/>", "null"},
  });
}

// ---- Attributes ----

TEST(XmlParse, ReadsAttributesInTheirOrder) {
  ExpectLoaded({
      {"<a x=\"1\"/>", "a[x=1]"},
      {"<a x=\"1\" y=\"2\" Z=\"3\"/>", "a[x=1][y=2][Z=3]"},
      {"<a x=\"1\"y=\"2\"/>", "a[x=1][y=2]"},
      {"<a x=\"1\"><b y=\"2\"/></a>", "a[x=1]{b[y=2]}"},
      {"<a x=\"1\" x=\"2\" X=\"3\"/>", "a[x=1][x=2][X=3]"},
      {"<a x=\"\"/>", "a[x=]"},
  });
}

TEST(XmlParse, TakesEveryByteInAValue) {
  std::string value;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '"') value += static_cast<char>(byte);
  }
  EXPECT_EQ(Loaded("<a x=\"" + value + "\"/>"), "a[x=" + value + "]");
}

TEST(XmlParse, TakesValuesAsTheyAre) {
  ExpectLoaded({
      {"<a x=\"&quot;&#65;\\\"/>", "a[x=&quot;&#65;\\]"},
      {"<a x=\"  </a><!-- '\"/>", "a[x=  </a><!-- ']"},
      {"<a x=\"1\r\n2\"/>", "a[x=1\r\n2]"},
  });
}

TEST(XmlParse, KeepsTheFirst255BytesOfAValue) {
  for (const int length : {254, 255, 256, 257, 300, 5000}) {
    SCOPED_TRACE(length);
    const std::string value = Repeated("v", length);
    EXPECT_EQ(Loaded("<a x=\"" + value + "\" y=\"2\"/>"), "a[x=" + value.substr(0, 255) + "][y=2]");
  }
}

TEST(XmlParse, ReadsStringsOfEveryLength) {
  for (int name_length = 0; name_length <= 40; ++name_length) {
    std::string text = "<a";
    std::string expected = "a";
    for (int value_length = 0; value_length <= 80; ++value_length) {
      const std::string name = Repeated("n", name_length);
      const std::string value = Repeated("v", value_length);
      text += " " + name + "=\"" + value + "\"";
      expected += "[" + name + "=" + value + "]";
    }
    EXPECT_EQ(Loaded(text + "/>"), expected);
  }
}

TEST(XmlParse, TakesEveryByteOfANameInAnyPlace) {
  std::string text = "<a";
  std::string expected = "a";
  for (const char byte : std::string_view("059AMZamz_!-")) {
    for (size_t length = 2; length <= 34; ++length) {
      for (size_t place = 1; place < length; ++place) {
        std::string name(length, 'n');
        name[place] = byte;
        text += " " + name + "=\"1\"";
        expected += "[" + name + "=1]";
      }
    }
  }
  EXPECT_EQ(Loaded(text + "/>"), expected);
}

// The neighbours of the bytes that names have, in value and in single bits, and quotes.
TEST(XmlParse, RefusesAnyOtherByteInAnyPlaceOfAName) {
  for (const int length : {1, 2, 15, 16, 17, 31, 32, 33}) {
    for (int place = 0; place < length; ++place) {
      const std::string bytes = "/:@[`{^\\\",.#\x7F\x80\xFF\x01\x10\x19\xC1\xDA";
      // Each length and place meets another five of them.
      for (int i = 0; i < 5; ++i) {
        std::string name = Repeated("n", length);
        name[static_cast<size_t>(place)] =
            bytes[static_cast<size_t>(length + place + 4 * i) % bytes.size()];
        ASSERT_EQ(Loaded("<a " + name + "=\"1\"/>"), "null") << name;
      }
    }
  }
}

TEST(XmlParse, TakesNoDashAtTheBeginningOfAnAttribute) {
  ExpectLoaded({
      {"<a -x=\"1\"/>", "null"},
      {"<a x=\"1\" -=\"2\"/>", "null"},
      {"<a x-=\"1\"/>", "a[x-=1]"},
  });
}

// Behind the zero stands what would make the text whole.
TEST(XmlParse, EndsAtAZeroInAnyPlaceOfAnAttribute) {
  const std::string begin = "<b/><a ";
  const std::string attribute = "name=\"some value\"";
  for (size_t place = 0; place < attribute.size(); ++place) {
    std::string damaged = attribute;
    damaged[place] = '\0';
    ASSERT_EQ(Loaded(begin + damaged + " x=\"1\"/>"), "null") << place;
    damaged.insert(place, attribute);
    ASSERT_EQ(Loaded(begin + damaged + " x=\"1\"/>"), "null") << place;
  }
}

TEST(XmlParse, ReadsAttributesUpToTheLastByteOfAText) {
  for (int blanks = 0; blanks < 140; ++blanks) {
    const std::string text = Repeated(" ", blanks) + "<a x=\"1\" name=\"v\"";
    ASSERT_EQ(Loaded(text), "null");
    ASSERT_EQ(Loaded(text + "/>"), "a[x=1][name=v]");
  }
}

TEST(XmlParse, DropsAllAttributesOfAnElementThatHasABareName) {
  ExpectLoaded({
      {"<a x=\"1\" y/>", "a"},
      {"<a x=\"1\" y>", "a"},
      {"<a y/>", "a"},
      {"<a x=\"1\" y><b z=\"2\"/></a>", "a{b[z=2]}"},
      {"<a x=\"1\" y />", "a"},
  });
}

// What follows the bare name has to end the tag.
TEST(XmlParse, RefusesMoreAttributesBehindABareName) {
  ExpectLoaded({
      {"<a y x=\"1\"/>", "null"},
      {"<a x=\"1\" y z/>", "null"},
      {"<a \"1\"/>", "null"},
      {"<a .x=\"1\"/>", "null"},
  });
}

TEST(XmlParse, TakesAnAttributeWithoutAName) {
  ExpectLoaded({
      {"<a =\"1\"/>", "a[=1]"},
      {"<a x=\"1\" =\"2\"/>", "a[x=1][=2]"},
  });
}

TEST(XmlParse, TakesAValueWithoutQuotesAsEmptyAndReadsItAsTheNextName) {
  ExpectLoaded({
      {"<a x=/>", "a[x=]"},
      {"<a x= >", "a[x=]"},
      {"<a x=y=\"1\"/>", "a[x=][y=1]"},
      {"<a x=y/>", "a"},  // y is a bare name
      {"<a x==\"1\"/>", "a[x=][=1]"},
      {"<a x=1/>", "a"},
  });
}

TEST(XmlParse, RefusesAValueInSingleQuotes) {
  ExpectLoaded({
      {"<a x='1'/>", "null"},
      {"<a x=''/>", "null"},
  });
}

TEST(XmlParse, RefusesAValueThatDoesNotEnd) {
  ExpectLoaded({
      {"<a x=\"", "null"},
      {"<a x=\"1/>", "null"},
      {"<a x=\"1\" y=\"2/><b/>", "null"},
      {"<b/><a x=\"" + Repeated("v", 300), "null"},
  });
}

// ---- Comments and declarations ----

TEST(XmlParse, SkipsComments) {
  ExpectLoaded({
      {"<!-- x --><a/>", "a"},
      {"<a/><!-- x -->", "a"},
      {"<a><!-- <b/> --></a>", "a"},
      {"<a><!----><b/></a>", "a{b}"},
      {"<a><!-----><b/></a>", "a{b}"},
      {"<a><!-- - -- > \" --><b/><!-- --><!-- -->\n<c/></a>", "a{b c}"},
  });
}

// The dashes that begin a comment do not end it.
TEST(XmlParse, TakesTheEndOfACommentFromBehindItsBegin) {
  ExpectLoaded({
      {"<a/><!--><b/>--><c/>", "a c"},
      {"<a/><!---><b/>--><c/>", "a c"},
  });
}

TEST(XmlParse, LetsAnUnfinishedCommentRunToTheEnd) {
  ExpectLoaded({
      {"<a/><!-- <b/>", "a"},
      {"<a><b/><!--", "a{b}"},
      {"<a/><!-- <b/> --", "a"},
      {"<!-- <a/>", "null"},
  });
}

TEST(XmlParse, SkipsDocumentTypeDeclarations) {
  ExpectLoaded({
      {"<!DOCTYPE a><a/>", "a"},
      {"<!DOC><a/>", "a"},
      {"<!DOCTYPE a SYSTEM \"x\">\n<!-- x --><!DOC><a/>", "a"},
      {"<a><!DOCTYPE><b/></a>", "a{b}"},
      {"<a/><!DOCTYPE <b/", "a"},
  });
}

// Brackets do not nest: the first ">" ends the declaration.
TEST(XmlParse, EndsADocumentTypeDeclarationAtTheNextBracket) {
  ExpectLoaded({
      {"<!DOCTYPE a [<!ELEMENT a>]><a/>", "null"},
      {"<!DOCTYPE a [<!ELEMENT a><b/>", "b"},
  });
}

TEST(XmlParse, TakesOtherTextBehindAnExclamationMarkAsAName) {
  ExpectLoaded({
      {"<!a/>", "!a"},
      {"<!-a/>", "!-a"},
      {"<!DO/>", "!DO"},
      {"<!doctype></!DOCTYPE>", "!doctype"},
      {"<!/>", "!"},
      {"< !--a/>", "!--a"},
      {"< !DOC/>", "!DOC"},
      {"<![CDATA[x]]>", "null"},
  });
}

// ---- Depth ----

std::string Nested(int depths) {
  return Repeated("<a>", depths - 1) + "<b/>" + Repeated("</a>", depths - 1);
}

TEST(XmlParse, TakesDepths0To100) {
  EXPECT_EQ(Loaded(Nested(101)), Repeated("a{", 100) + "b" + Repeated("}", 100));
}

TEST(XmlParse, RefusesDepth101) { EXPECT_EQ(Loaded(Nested(102)), "null"); }

TEST(XmlParse, TakesOnlyAnEmptyTagAtDepth100) {
  EXPECT_EQ(Loaded(Repeated("<a>", 100) + "<b/>"), Repeated("a{", 100) + "b" + Repeated("}", 100));
  EXPECT_EQ(Loaded(Repeated("<a>", 100) + "<b></b>"), "null");
  EXPECT_EQ(Loaded(Repeated("<a>", 101)), "null");
  EXPECT_EQ(Loaded(Repeated("<a>", 100)), Repeated("a{", 99) + "a" + Repeated("}", 99));
}

TEST(XmlParse, CountsTheDepthThatIsOpenAndNotTheElements) {
  const std::string deep = Repeated("<a>", 100) + Repeated("</a>", 100);
  EXPECT_NE(Loaded(deep + deep + deep), "null");
  EXPECT_NE(Loaded("<a>" + Repeated("<b></b>", 300) + "</a>"), "null");
}

TEST(XmlParse, RefusesAMillionOpenTags) { EXPECT_EQ(Loaded(Repeated("<a>", 1'000'000)), "null"); }

// ---- Links ----

TEST(XmlParse, LeavesThePreviousSiblingLinkNull) {
  const Document document = LoadText("<a><b/><c/></a><d/>");
  ASSERT_TRUE(document);
  const XML_NODE* const a = document.root();
  const XML_NODE* const c = a->first_child->next;
  EXPECT_STREQ(c->name, "c");
  EXPECT_TRUE(c->prev == nullptr);
  EXPECT_STREQ(a->next->name, "d");
  EXPECT_TRUE(a->next->prev == nullptr);
}

TEST(XmlParse, MakesTheFirstTopLevelElementTheRoot) {
  const Document document = LoadText("<a/><b/>");
  ASSERT_TRUE(document);
  EXPECT_STREQ(document.root()->name, "a");
  EXPECT_TRUE(document.root()->parent == nullptr);
}

// ---- Line feeds ----

TEST(XmlParse, CountsLineFeedsOutsideValues) {
  const struct {
    const char* text;
    uint32_t count;
  } cases[] = {
      {"<a/>", 0},
      {"\n<a/>\n", 2},
      {"\r\n<a/>\r", 1},
      {"<\na\n/\n>", 3},
      {"<a>\n<\n/\na\n>\n", 5},
      {"<a\nx\n=\n\"1\"\n/>", 4},
      {"<a x=\"\n\n\"/>", 0},
      {"<!--\n\n--><a/>", 2},
      {"<!DOC\n\n><a/>", 2},
      {"<a/><!--\n\n", 2},
      {"<a>\n\t<b/>\n\t<c>\n\t</c>\n</a>\n", 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Document document = LoadText(c.text);
    ASSERT_TRUE(document);
    const uint32_t count = document->line_count;
    EXPECT_EQ(count, c.count);
  }
}

// ---- Damage ----

// Every beginning of a text loads as something whole or not at all; the sanitizers watch the reads.
TEST(XmlParse, SurvivesATextThatIsCutAnywhere) {
  const std::string text =
      "<!DOCTYPE x>\r\n<!-- c -->\r\n<Root a=\"1\" b=\"some value\">\r\n  <Child/>\r\n  <Other "
      "c=\"2\">"
      "</Other>\r\n</Root>\r\n";
  for (size_t length = 1; length <= text.size(); ++length) {
    SCOPED_TRACE(length);
    const std::string outline = Loaded(text.substr(0, length));
    EXPECT_TRUE(outline == "null" || outline.starts_with("Root[a=1][b=some value]")) << outline;
  }
}

TEST(XmlParse, SurvivesAWrongByteInAnyPlace) {
  const std::string text = "<a x=\"1\"><!-- c --><b/></a>";
  for (size_t place = 0; place < text.size(); ++place) {
    for (const char byte : "\n\v \"-/<=>!bA\xFF") {
      std::string damaged = text;
      damaged[place] = byte;
      Loaded(damaged);
    }
  }
}

// ---- Memory ----

// An "a" takes 58 bytes: its name's 2 and its record's 56. The block holds 4194304, of which the
// document takes 24, so that 72315 elements leave 10 bytes.
constexpr int kElementsOfABlock = 72315;

TEST(XmlParse, TakesAFurtherBlockWhenOneIsFull) {
  const std::string text = Repeated("<a/>", kElementsOfABlock);
  {
    const FailingAllocation counted(UINT32_MAX);
    EXPECT_TRUE(LoadText(text));
    EXPECT_EQ(FailingAllocation::Calls(), 2U);  // the block and the text
  }
  const FailingAllocation counted(UINT32_MAX);
  EXPECT_TRUE(LoadText(text + "<a/>"));
  EXPECT_EQ(FailingAllocation::Calls(), 3U);
}

// Attributes of 44 bytes each fill the block; the last of them find any amount of room.
TEST(XmlParse, ReadsAttributesWhereABlockEnds) {
  constexpr int kAttributesOfABlock = 95323;  // besides the document and "a" they leave 10 bytes
  for (int more = -4; more <= 0; ++more) {
    const int room = 10 - 44 * more;
    for (const int length : {0, 1, 10, 11, 54, 55, 56, 59, 80}) {
      const std::string value = Repeated("v", length);
      const std::string few = Repeated(" x=\"1\"", kAttributesOfABlock + more);
      const Document document = LoadText("<a" + few + " y=\"" + value + "\" z=\"3\"/>");
      ASSERT_TRUE(document);
      EXPECT_EQ(document->arena->next != nullptr, room < 43 + length + 44);
      int count = 0;
      for (const XML_ATTR* a = document.root()->first_attr; a != nullptr; a = a->next) {
        ++count;
        const std::string_view name(a->name, a->name_length);
        const bool is_filler = count <= kAttributesOfABlock + more;
        ASSERT_EQ(name, is_filler ? "x" : a->next != nullptr ? "y" : "z");
        ASSERT_EQ(std::string_view(a->value, a->value_length), is_filler ? "1"
                                                               : a->next != nullptr
                                                                   ? std::string_view(value)
                                                                   : "3");
      }
      EXPECT_EQ(count, kAttributesOfABlock + more + 2);
    }
  }
}

TEST(XmlParse, GivesNullWithoutMemoryForAnElement) {
  const std::string text = Repeated("<a/>", kElementsOfABlock);
  const FailingAllocation failing(3);
  EXPECT_TRUE(LoadText(text));
  EXPECT_FALSE(LoadText(text + "<a/>"));
}

TEST(XmlParse, DropsTheAttributesOfAnElementWithoutMemoryForOne) {
  const std::string text = Repeated("<a/>", kElementsOfABlock - 1);
  const FailingAllocation failing(3);
  const Document document = LoadText(text + "<b x=\"1\"/>");
  ASSERT_TRUE(document);
  const XML_NODE* last = document.root();
  while (last->next != nullptr) last = last->next;
  EXPECT_STREQ(last->name, "b");
  EXPECT_TRUE(last->first_attr == nullptr);
}

}  // namespace
