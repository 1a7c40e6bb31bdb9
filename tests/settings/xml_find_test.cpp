// SPDX-License-Identifier: MIT

// Going through documents, finding and reading.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "settings/xml.h"
#include "tests/settings/markup_document.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"

namespace {

using support::FailingAllocation;
using support::GuardedBuffer;

constexpr uint8_t kUntouched = GuardedBuffer::kFill;

std::string NameOf(const XML_NODE* element) { return element == nullptr ? "null" : element->name; }
std::string NameOf(const XML_ATTR* attribute) {
  return attribute == nullptr ? "null" : attribute->name;
}

// ---- Going through ----

TEST(XmlGetRoot, GivesTheFirstTopLevelElement) {
  const Document document = LoadText("<a/><b/>");
  EXPECT_EQ(NameOf(XML_GetRoot(document.get())), "a");
}

TEST(XmlGetRoot, GivesNullForNull) { EXPECT_EQ(XML_GetRoot(nullptr), nullptr); }

TEST(XmlGetFirstChild, GivesTheFirstChildOrNull) {
  const Document document = LoadText("<a><b/><c/></a>");
  XML_NODE* const b = XML_GetFirstChild(document.get(), document.root());
  EXPECT_EQ(NameOf(b), "b");
  EXPECT_EQ(XML_GetFirstChild(document.get(), b), nullptr);
  EXPECT_EQ(XML_GetFirstChild(document.get(), nullptr), nullptr);
  EXPECT_EQ(NameOf(XML_GetFirstChild(nullptr, document.root())), "b");
}

TEST(XmlGetNextSibling, GivesTheNextSiblingOrNull) {
  const Document document = LoadText("<a><b/><c/></a><d/>");
  XML_NODE* const b = XML_GetFirstChild(document.get(), document.root());
  XML_NODE* const c = XML_GetNextSibling(document.get(), b);
  EXPECT_EQ(NameOf(c), "c");
  EXPECT_EQ(XML_GetNextSibling(document.get(), c), nullptr);
  EXPECT_EQ(XML_GetNextSibling(document.get(), nullptr), nullptr);
  EXPECT_EQ(NameOf(XML_GetNextSibling(nullptr, document.root())), "d");
}

TEST(XmlGetFirstAttr, GivesTheFirstAttributeAndItsName) {
  const Document document = LoadText("<a xyz=\"1\" u=\"2\"/>");
  GuardedBuffer name(8);
  EXPECT_EQ(NameOf(XML_GetFirstAttr(document.get(), document.root(), name.data(), 8)), "xyz");
  EXPECT_STREQ(name.data(), "xyz");
  EXPECT_TRUE(name.IsUntouched(4, 8));
}

TEST(XmlGetFirstAttr, CutsTheNameToTheCapacity) {
  const Document document = LoadText("<a xyz=\"1\"/>");
  GuardedBuffer name(3);
  EXPECT_NE(XML_GetFirstAttr(document.get(), document.root(), name.data(), 3), nullptr);
  EXPECT_STREQ(name.data(), "xy");
  GuardedBuffer untouched(1);
  EXPECT_NE(XML_GetFirstAttr(document.get(), document.root(), untouched.data(), 0), nullptr);
  EXPECT_TRUE(untouched.IsUntouched(0, 1));
}

TEST(XmlGetFirstAttr, TakesANullNameBuffer) {
  const Document document = LoadText("<a x=\"1\"/>");
  EXPECT_EQ(NameOf(XML_GetFirstAttr(document.get(), document.root(), nullptr, 8)), "x");
}

TEST(XmlGetFirstAttr, GivesNullWithoutAttributesAndForNull) {
  const Document document = LoadText("<a/>");
  GuardedBuffer name(8);
  EXPECT_EQ(XML_GetFirstAttr(document.get(), document.root(), name.data(), 8), nullptr);
  EXPECT_EQ(XML_GetFirstAttr(document.get(), nullptr, name.data(), 8), nullptr);
  EXPECT_TRUE(name.IsUntouched(0, 8));
}

TEST(XmlGetNextAttr, GivesTheNextAttributeAndItsName) {
  const Document document = LoadText("<a x=\"1\" yz=\"2\"/>");
  GuardedBuffer name(8);
  XML_ATTR* const x = XML_GetFirstAttr(document.get(), document.root(), nullptr, 0);
  XML_ATTR* const yz = XML_GetNextAttr(document.get(), x, name.data(), 8);
  EXPECT_EQ(NameOf(yz), "yz");
  EXPECT_STREQ(name.data(), "yz");
  EXPECT_EQ(XML_GetNextAttr(document.get(), x, nullptr, 8), yz);
}

TEST(XmlGetNextAttr, GivesNullBehindTheLastAndForNull) {
  const Document document = LoadText("<a x=\"1\"/>");
  GuardedBuffer name(8);
  XML_ATTR* const x = XML_GetFirstAttr(document.get(), document.root(), nullptr, 0);
  EXPECT_EQ(XML_GetNextAttr(document.get(), x, name.data(), 8), nullptr);
  EXPECT_EQ(XML_GetNextAttr(document.get(), nullptr, name.data(), 8), nullptr);
  EXPECT_TRUE(name.IsUntouched(0, 8));
}

// ---- Reading ----

TEST(XmlGetName, CopiesTheNameAndGivesItsFullLength) {
  const Document document = LoadText("<Registry/>");
  const struct {
    uint32_t capacity;
    const char* expected;
  } cases[] = {{1, ""}, {2, "R"}, {8, "Registr"}, {9, "Registry"}, {20, "Registry"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.capacity);
    GuardedBuffer name(c.capacity);
    EXPECT_EQ(XML_GetName(document.get(), document.root(), name.data(), c.capacity), 8);
    EXPECT_STREQ(name.data(), c.expected);
  }
}

TEST(XmlGetName, StoresNothingForCapacityZero) {
  const Document document = LoadText("<abc/>");
  GuardedBuffer name(1);
  EXPECT_EQ(XML_GetName(document.get(), document.root(), name.data(), 0), 3);
  EXPECT_TRUE(name.IsUntouched(0, 1));
}

TEST(XmlGetName, GivesMinusOneForNull) {
  const Document document = LoadText("<a/>");
  GuardedBuffer name(4);
  EXPECT_EQ(XML_GetName(document.get(), nullptr, name.data(), 4), -1);
  EXPECT_EQ(XML_GetName(document.get(), document.root(), nullptr, 4), -1);
  EXPECT_EQ(XML_GetName(nullptr, document.root(), name.data(), 4), 1);
}

TEST(XmlGetAttrValue, CopiesTheValueAndGivesItsFullLength) {
  const Document document = LoadText("<a x=\"value\"/>");
  const XML_ATTR* const x = document.root()->first_attr;
  const struct {
    uint32_t capacity;
    const char* expected;
  } cases[] = {{1, ""}, {3, "va"}, {5, "valu"}, {6, "value"}, {20, "value"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.capacity);
    GuardedBuffer value(c.capacity);
    EXPECT_EQ(XML_GetAttrValue(document.get(), x, value.data(), c.capacity), 5);
    EXPECT_STREQ(value.data(), c.expected);
  }
}

TEST(XmlGetAttrValue, ReadsAnEmptyValue) {
  const Document document = LoadText("<a x=\"\"/>");
  GuardedBuffer value(4);
  EXPECT_EQ(XML_GetAttrValue(document.get(), document.root()->first_attr, value.data(), 4), 0);
  EXPECT_STREQ(value.data(), "");
}

TEST(XmlGetAttrValue, GivesMinusOneForNull) {
  const Document document = LoadText("<a x=\"1\"/>");
  GuardedBuffer value(4);
  EXPECT_EQ(XML_GetAttrValue(document.get(), nullptr, value.data(), 4), -1);
  EXPECT_EQ(XML_GetAttrValue(document.get(), document.root()->first_attr, nullptr, 4), -1);
  EXPECT_EQ(XML_GetAttrValue(nullptr, document.root()->first_attr, value.data(), 4), 1);
  EXPECT_EQ(static_cast<uint8_t>(value.data()[2]), kUntouched);
}

// ---- Finding elements ----

TEST(XmlFindChild, FindsTheFirstOfTheNameFromAGivenElementOn) {
  const Document document = LoadText("<r><a n=\"1\"/><b/><A n=\"2\"/><c/></r>");
  XML_NODE* const first = document.root()->first_child;
  EXPECT_EQ(XML_FindChild(document.get(), first, "a"), first);
  EXPECT_EQ(NameOf(XML_FindChild(document.get(), first, "c")), "c");
  XML_NODE* const b = first->next;
  EXPECT_EQ(NameOf(XML_FindChild(document.get(), b, "a")), "A");
  EXPECT_EQ(XML_FindChild(document.get(), b->next->next, "a"), nullptr);
}

TEST(XmlFindChild, ComparesWholeNamesWithoutRegardToCase) {
  const Document document = LoadText("<r><Software/><soft/><SOFTWARE-/></r>");
  XML_NODE* const first = document.root()->first_child;
  EXPECT_EQ(NameOf(XML_FindChild(document.get(), first, "sOFTWARE")), "Software");
  EXPECT_EQ(NameOf(XML_FindChild(document.get(), first, "SOFT")), "soft");
  EXPECT_EQ(NameOf(XML_FindChild(document.get(), first, "software-")), "SOFTWARE-");
  EXPECT_EQ(XML_FindChild(document.get(), first, "softwar"), nullptr);
  EXPECT_EQ(XML_FindChild(document.get(), first, "software_"), nullptr);
  EXPECT_EQ(XML_FindChild(document.get(), first, "software--"), nullptr);
}

TEST(XmlFindChild, DoesNotLookIntoChildren) {
  const Document document = LoadText("<r><a><b/></a></r>");
  EXPECT_EQ(XML_FindChild(document.get(), document.root(), "b"), nullptr);
  EXPECT_EQ(XML_FindChild(document.get(), document.root()->first_child, "b"), nullptr);
}

TEST(XmlFindChild, GivesNullForNullAndForTheEmptyName) {
  const Document document = LoadText("<r/>");
  EXPECT_EQ(XML_FindChild(document.get(), nullptr, "r"), nullptr);
  EXPECT_EQ(XML_FindChild(document.get(), document.root(), nullptr), nullptr);
  EXPECT_EQ(XML_FindChild(document.get(), document.root(), ""), nullptr);
  EXPECT_EQ(XML_FindChild(nullptr, document.root(), "r"), document.root());
}

TEST(XmlFindChild, FindsNamesOf256BytesAndMore) {
  const Document document(XML_CreateDoc("r"));
  for (const size_t length : {255U, 256U, 257U, 5000U}) {
    SCOPED_TRACE(length);
    const std::string name(length, 'n');
    XML_NODE* const added = XML_FindOrAddChild(document.get(), document.root(), name.c_str());
    ASSERT_NE(added, nullptr);
    XML_NODE* const first = document.root()->first_child;
    EXPECT_EQ(XML_FindChild(document.get(), first, std::string(length, 'N').c_str()), added);
    EXPECT_EQ(XML_FindChild(document.get(), first, (name + "n").c_str()), nullptr);
  }
}

TEST(XmlFindChild, TakesMemoryForNamesOf256BytesAndMoreAlone) {
  const Document document(XML_CreateDoc("r"));
  for (const size_t length : {255U, 256U}) {
    SCOPED_TRACE(length);
    const std::string name(length, 'n');
    XML_NODE* const added = XML_FindOrAddChild(document.get(), document.root(), name.c_str());
    const FailingAllocation failing(1);
    XML_NODE* const found =
        XML_FindChild(document.get(), document.root()->first_child, name.c_str());
    EXPECT_EQ(found, length < 256 ? added : nullptr);
    EXPECT_EQ(FailingAllocation::Calls(), length < 256 ? 0U : 1U);
  }
}

// ---- Finding attributes ----

TEST(XmlFindAttr, FindsTheFirstOfTheNameWithoutRegardToCase) {
  const Document document = LoadText("<a port=\"1\" Host=\"2\" HOST=\"3\" hos=\"4\"/>");
  const XML_NODE* const a = document.root();
  EXPECT_EQ(NameOf(XML_FindAttr(document.get(), a, "PORT")), "port");
  EXPECT_EQ(NameOf(XML_FindAttr(document.get(), a, "host")), "Host");
  EXPECT_EQ(NameOf(XML_FindAttr(document.get(), a, "hos")), "hos");
  EXPECT_EQ(XML_FindAttr(document.get(), a, "ho"), nullptr);
  EXPECT_EQ(XML_FindAttr(document.get(), a, "hosts"), nullptr);
}

// Every name of one letter repeated, and beside it those that differ from it in one place.
TEST(XmlFindAttr, TellsNamesOfAnyLengthApart) {
  for (size_t length = 1; length <= 40; ++length) {
    const Document document(XML_CreateDoc("a"));
    for (size_t other = 1; other < 45; ++other) {
      if (other == length) continue;
      XML_SetAttr(document.get(), document.root(), std::string(other, 'n').c_str(), "length");
    }
    for (size_t place = 0; place < length; ++place) {
      std::string other(length, 'n');
      other[place] = '.';  // "n" without the bit that tells cases apart is "N", "." is no letter
      XML_SetAttr(document.get(), document.root(), other.c_str(), "place");
    }
    const std::string name(length, 'n');
    const std::string same(length, 'N');
    EXPECT_EQ(XML_FindAttr(document.get(), document.root(), name.c_str()), nullptr) << length;
    XML_SetAttr(document.get(), document.root(), name.c_str(), "itself");
    const XML_ATTR* const found = XML_FindAttr(document.get(), document.root(), same.c_str());
    ASSERT_NE(found, nullptr) << length;
    EXPECT_STREQ(found->value, "itself");
  }
}

// In each pair one bit is different, the one that tells the cases of letters apart.
TEST(XmlFindAttr, FoldsLettersAloneInAnyPlace) {
  for (size_t length = 1; length <= 20; ++length) {
    for (size_t place = 0; place < length; ++place) {
      for (const char* const pair :
           {"@`", "[{", "\\|", "]}", "^~", "_\x7F", "!\x01", "-\x0D", "0\x10"}) {
        const Document document(XML_CreateDoc("a"));
        std::string name(length, 'n');
        name[place] = pair[0];
        XML_SetAttr(document.get(), document.root(), name.c_str(), "1");
        EXPECT_NE(XML_FindAttr(document.get(), document.root(), name.c_str()), nullptr);
        name[place] = pair[1];
        EXPECT_EQ(XML_FindAttr(document.get(), document.root(), name.c_str()), nullptr) << name;
      }
    }
  }
}

TEST(XmlFindAttr, FindsAnAttributeWithoutAName) {
  const Document document = LoadText("<a x=\"1\" =\"2\"/>");
  const XML_ATTR* const nameless = XML_FindAttr(document.get(), document.root(), "");
  ASSERT_NE(nameless, nullptr);
  EXPECT_STREQ(nameless->value, "2");
}

TEST(XmlFindAttr, GivesNullForNull) {
  const Document document = LoadText("<a x=\"1\"/><b/>");
  EXPECT_EQ(XML_FindAttr(document.get(), nullptr, "x"), nullptr);
  EXPECT_EQ(XML_FindAttr(document.get(), document.root(), nullptr), nullptr);
  EXPECT_EQ(XML_FindAttr(document.get(), document.root(), ""), nullptr);
  EXPECT_EQ(XML_FindAttr(document.get(), document.root()->next, "x"), nullptr);
  EXPECT_EQ(NameOf(XML_FindAttr(nullptr, document.root(), "x")), "x");
}

TEST(XmlFindAttr, NeedsNoMemoryForALongName) {
  const std::string name(300, 'n');
  const Document document(XML_CreateDoc("r"));
  ASSERT_EQ(XML_SetAttr(document.get(), document.root(), name.c_str(), "1"), 0);
  const FailingAllocation failing(1);
  EXPECT_EQ(NameOf(XML_FindAttr(document.get(), document.root(), name.c_str())), name);
}

// Only 7-bit letters have a case: "\xC4" and "\xE4", "[" and "{", "@" and "`" are two names each.
TEST(XmlFindAttr, FoldsLettersAlone) {
  const Document document(XML_CreateDoc("r"));
  for (const char* const name : {"\xC4", "[", "@"}) {
    ASSERT_EQ(XML_SetAttr(document.get(), document.root(), name, "1"), 0);
  }
  for (const char* const name : {"\xE4", "{", "`"}) {
    EXPECT_EQ(XML_FindAttr(document.get(), document.root(), name), nullptr);
  }
}

// ---- Valid names ----

TEST(XmlMakeValidName, ReplacesWhatNoNameHas) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"", ""},
      {"Port", "Port"},
      {"Serial No", "Serial_No"},
      {"-x", "_x"},
      {"--x", "_-x"},
      {"-", "_"},
      {"x-", "x-"},
      {"a.b/c\\d", "a_b_c_d"},
      {"!-_09azAZ", "!-_09azAZ"},
      {"\xE4\xFF\x80", "___"},
      {"@[`{/:", "______"},
      {"\t\n\x01\x7F", "____"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    GuardedBuffer text(std::string_view(c.text).size() + 1);
    std::string_view(c.text).copy(text.data(), text.size());
    text.data()[text.size() - 1] = '\0';
    XML_MakeValidName(text.data());
    EXPECT_STREQ(text.data(), c.expected);
  }
}

TEST(XmlMakeValidName, IgnoresNull) { XML_MakeValidName(nullptr); }

TEST(XmlMakeValidName, MakesNamesThatParse) {
  std::string name = "-";
  for (int byte = 1; byte < 255; ++byte) name += static_cast<char>(byte);
  XML_MakeValidName(name.data());
  EXPECT_EQ(Loaded("<" + name + "/>"), name);
}

}  // namespace
