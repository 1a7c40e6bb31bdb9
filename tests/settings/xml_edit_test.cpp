// SPDX-License-Identifier: MIT

// Making documents and changing them.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "settings/xml.h"
#include "settings/xml_arena.h"
#include "tests/settings/markup_document.h"
#include "tests/support/failing_allocation.h"

namespace {

using support::FailingAllocation;

// Leaves no room in the document for more than a few bytes.
void FillArena(const Document& document, uint32_t bytes_left) {
  XML_ARENA* const arena = document->arena;
  while (arena->capacity - arena->used > bytes_left) {
    xml_arena::Carve(arena, arena->capacity - arena->used - bytes_left);
  }
}

// ---- Records ----

TEST(XmlRecords, HoldTheirFieldsInTheirOrder) {
  const Document document = LoadText("<ab><c x=\"1\"/></ab>");
  const XML_NODE* const ab = document.root();
  const auto* const bytes = reinterpret_cast<const unsigned char*>(ab);
  EXPECT_EQ(bytes[8], 2);  // the length of the name, in four bytes behind its address
  EXPECT_EQ(bytes[9] | bytes[10] | bytes[11], 0);
  EXPECT_EQ(sizeof(XML_NODE), 56U);
  EXPECT_EQ(sizeof(XML_ATTR), 40U);
  EXPECT_EQ(sizeof(XML_DOC), 24U);
}

// ---- Documents ----

TEST(XmlCreateDoc, MakesADocumentOfOneElement) {
  const Document document(XML_CreateDoc("Registry"));
  EXPECT_EQ(Outline(document), "Registry");
  const uint32_t line_count = document->line_count;
  EXPECT_EQ(line_count, 0U);
  const XML_NODE* const root = document.root();
  EXPECT_TRUE(root->parent == nullptr && root->prev == nullptr && root->next == nullptr);
  EXPECT_TRUE(root->first_child == nullptr && root->first_attr == nullptr);
}

TEST(XmlCreateDoc, CopiesTheNameWhole) {
  std::string name(5000, 'n');
  const Document document(XML_CreateDoc(name.c_str()));
  name.assign(5000, 'x');
  EXPECT_EQ(Outline(document), std::string(5000, 'n'));
}

TEST(XmlCreateDoc, GivesNullForANullOrEmptyName) {
  EXPECT_EQ(XML_CreateDoc(nullptr), nullptr);
  EXPECT_EQ(XML_CreateDoc(""), nullptr);
}

TEST(XmlCreateDoc, MakesOneAllocationAndGivesNullWithoutMemory) {
  {
    const FailingAllocation counted(UINT32_MAX);
    EXPECT_TRUE(Document(XML_CreateDoc("a")));
    EXPECT_EQ(FailingAllocation::Calls(), 1U);
  }
  const FailingAllocation failing(1);
  EXPECT_EQ(XML_CreateDoc("a"), nullptr);
}

// A name of 4 MiB takes a block of its own.
TEST(XmlCreateDoc, GivesNullWithoutMemoryForTheName) {
  const std::string name(0x400000, 'n');
  const FailingAllocation failing(2);
  EXPECT_EQ(XML_CreateDoc(name.c_str()), nullptr);
}

TEST(XmlFreeDoc, TakesNull) { EXPECT_EQ(XML_FreeDoc(nullptr), 0); }

TEST(XmlFreeDoc, ReleasesEveryBlock) {
  XML_DOC* const document = XML_CreateDoc("a");
  const std::string value(0x400000, 'v');
  for (const char* const name : {"x", "y", "z"}) {
    ASSERT_EQ(XML_SetAttr(document, XML_GetRoot(document), name, value.c_str()), 0);
  }
  EXPECT_EQ(XML_FreeDoc(document), 0);
}

// ---- Adding children ----

TEST(XmlFindOrAddChild, AddsChildrenBehindTheLast) {
  const Document document(XML_CreateDoc("r"));
  XML_NODE* const b = XML_FindOrAddChild(document.get(), document.root(), "b");
  XML_NODE* const a = XML_FindOrAddChild(document.get(), document.root(), "a");
  XML_NODE* const c = XML_FindOrAddChild(document.get(), a, "c");
  EXPECT_EQ(Outline(document), "r{b a{c}}");
  EXPECT_TRUE(b->prev == nullptr);
  EXPECT_TRUE(a->prev == b);
  EXPECT_TRUE(c->parent == a);
}

TEST(XmlFindOrAddChild, FindsAnExistingChildWithoutRegardToCase) {
  const Document document = LoadText("<r><Software x=\"1\"/><b/></r>");
  XML_NODE* const found = XML_FindOrAddChild(document.get(), document.root(), "sOFTWARE");
  EXPECT_TRUE(found == document.root()->first_child);
  EXPECT_EQ(Outline(document), "r{Software[x=1] b}");
}

TEST(XmlFindOrAddChild, LinksItsChildToAParsedOne) {
  const Document document = LoadText("<r><a/><b/></r>");
  XML_NODE* const c = XML_FindOrAddChild(document.get(), document.root(), "c");
  EXPECT_EQ(Outline(document), "r{a b c}");
  EXPECT_STREQ(c->prev->name, "b");
  EXPECT_TRUE(c->prev->prev == nullptr);
}

TEST(XmlFindOrAddChild, CopiesTheName) {
  const Document document(XML_CreateDoc("r"));
  std::string name = "child";
  XML_FindOrAddChild(document.get(), document.root(), name.c_str());
  name = "other";
  EXPECT_EQ(Outline(document), "r{child}");
}

TEST(XmlFindOrAddChild, GivesNullForNullAndForTheEmptyName) {
  const Document document(XML_CreateDoc("r"));
  EXPECT_EQ(XML_FindOrAddChild(document.get(), nullptr, "a"), nullptr);
  EXPECT_EQ(XML_FindOrAddChild(document.get(), document.root(), nullptr), nullptr);
  EXPECT_EQ(XML_FindOrAddChild(document.get(), document.root(), ""), nullptr);
  EXPECT_EQ(XML_FindOrAddChild(nullptr, document.root(), "a"), nullptr);
  EXPECT_EQ(Outline(document), "r");
}

TEST(XmlFindOrAddChild, GivesNullWithoutMemoryAndChangesNothing) {
  const Document document = LoadText("<r><b/></r>");
  const FailingAllocation failing(1, FailingAllocation::Extent::kFromThenOn);
  FillArena(document, 40);  // room for the name and not for the record
  EXPECT_EQ(XML_FindOrAddChild(document.get(), document.root(), "a"), nullptr);
  FillArena(document, 1);
  EXPECT_EQ(XML_FindOrAddChild(document.get(), document.root(), "a"), nullptr);
  EXPECT_EQ(XML_FindOrAddChild(document.get(), document.root()->first_child, "a"), nullptr);
  EXPECT_EQ(Outline(document), "r{b}");
}

// ---- Adding siblings ----

TEST(XmlFindOrAddSibling, AddsASiblingBehindTheLast) {
  const Document document = LoadText("<r><a/><b/><c/></r>");
  XML_NODE* const a = document.root()->first_child;
  XML_NODE* const d = XML_FindOrAddSibling(document.get(), a, "d");
  EXPECT_EQ(Outline(document), "r{a b c d}");
  EXPECT_STREQ(d->prev->name, "c");
}

TEST(XmlFindOrAddSibling, AddsAtTopLevel) {
  const Document document(XML_CreateDoc("a"));
  XML_NODE* const b = XML_FindOrAddSibling(document.get(), document.root(), "b");
  EXPECT_EQ(Outline(document), "a b");
  EXPECT_TRUE(b->parent == nullptr);
  EXPECT_TRUE(b->prev == document.root());
}

TEST(XmlFindOrAddSibling, FindsTheElementItselfAndThoseBehindIt) {
  const Document document = LoadText("<r><a/><b/><c/></r>");
  XML_NODE* const b = document.root()->first_child->next;
  EXPECT_TRUE(XML_FindOrAddSibling(document.get(), b, "B") == b);
  EXPECT_TRUE(XML_FindOrAddSibling(document.get(), b, "C") == b->next);
  EXPECT_EQ(Outline(document), "r{a b c}");
}

TEST(XmlFindOrAddSibling, FindsAddedElementsBeforeIt) {
  const Document document(XML_CreateDoc("r"));
  XML_NODE* const a = XML_FindOrAddChild(document.get(), document.root(), "a");
  XML_FindOrAddChild(document.get(), document.root(), "b");
  XML_NODE* const c = XML_FindOrAddChild(document.get(), document.root(), "c");
  EXPECT_TRUE(XML_FindOrAddSibling(document.get(), c, "a") == a);
  EXPECT_EQ(Outline(document), "r{a b c}");
}

// Parsed elements do not know their predecessors, so the search begins at the first that is reached.
TEST(XmlFindOrAddSibling, DoesNotFindParsedElementsBeforeIt) {
  const Document document = LoadText("<r><a/><b/></r>");
  XML_NODE* const b = document.root()->first_child->next;
  XML_NODE* const added = XML_FindOrAddSibling(document.get(), b, "a");
  EXPECT_EQ(Outline(document), "r{a b a}");
  EXPECT_TRUE(added->prev == b);
  EXPECT_TRUE(XML_FindOrAddSibling(document.get(), added, "b") == b);
  XML_FindOrAddSibling(document.get(), added, "c");
  EXPECT_EQ(Outline(document), "r{a b a c}");
}

TEST(XmlFindOrAddSibling, GivesNullForNullAndForTheEmptyName) {
  const Document document(XML_CreateDoc("r"));
  EXPECT_EQ(XML_FindOrAddSibling(document.get(), nullptr, "a"), nullptr);
  EXPECT_EQ(XML_FindOrAddSibling(document.get(), document.root(), nullptr), nullptr);
  EXPECT_EQ(XML_FindOrAddSibling(document.get(), document.root(), ""), nullptr);
  EXPECT_EQ(XML_FindOrAddSibling(nullptr, document.root(), "a"), nullptr);
  EXPECT_EQ(Outline(document), "r");
}

TEST(XmlFindOrAddSibling, GivesNullWithoutMemoryAndChangesNothing) {
  const Document document(XML_CreateDoc("r"));
  const FailingAllocation failing(1, FailingAllocation::Extent::kFromThenOn);
  for (const uint32_t bytes_left : {40U, 1U}) {
    FillArena(document, bytes_left);
    EXPECT_EQ(XML_FindOrAddSibling(document.get(), document.root(), "a"), nullptr);
  }
  EXPECT_EQ(Outline(document), "r");
}

// ---- Setting attributes ----

TEST(XmlSetAttr, AddsAttributesBehindTheLast) {
  const Document document = LoadText("<r x=\"1\"/>");
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "b", "2"), 0);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "a", "3"), 0);
  EXPECT_EQ(Outline(document), "r[x=1][b=2][a=3]");
}

TEST(XmlSetAttr, ReplacesTheFirstValueOfTheNameWithoutRegardToCase) {
  const Document document = LoadText("<r Port=\"1\" x=\"2\" PORT=\"3\"/>");
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "pORT", "longer than before"), 0);
  EXPECT_EQ(Outline(document), "r[Port=longer than before][x=2][PORT=3]");
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "port", ""), 0);
  EXPECT_EQ(Outline(document), "r[Port=][x=2][PORT=3]");
}

TEST(XmlSetAttr, TakesANullValueAsEmpty) {
  const Document document(XML_CreateDoc("r"));
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "x", nullptr), 0);
  EXPECT_EQ(Outline(document), "r[x=]");
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "y", "1"), 0);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "y", nullptr), 0);
  EXPECT_EQ(Outline(document), "r[x=][y=]");
}

TEST(XmlSetAttr, CopiesNameAndValueWhole) {
  const Document document(XML_CreateDoc("r"));
  std::string name(300, 'n');
  std::string value(5000, 'v');
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), name.c_str(), value.c_str()), 0);
  name.assign(300, 'x');
  value.assign(5000, 'x');
  EXPECT_EQ(Outline(document), "r[" + std::string(300, 'n') + "=" + std::string(5000, 'v') + "]");
}

TEST(XmlSetAttr, LeavesTheOldValueInTheArena) {
  const Document document = LoadText("<r x=\"old\"/>");
  const char* const old_value = document.root()->first_attr->value;
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "x", "new"), 0);
  EXPECT_STREQ(old_value, "old");
}

TEST(XmlSetAttr, TakesAValueOf4MiB) {
  const Document document(XML_CreateDoc("r"));
  const std::string value(0x400000, 'v');
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "x", value.c_str()), 0);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "y", "1"), 0);
  EXPECT_EQ(Outline(document), "r[x=" + value + "][y=1]");
}

TEST(XmlSetAttr, GivesMinusOneForNullAndForTheEmptyName) {
  const Document document(XML_CreateDoc("r"));
  EXPECT_EQ(XML_SetAttr(document.get(), nullptr, "x", "1"), -1);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), nullptr, "1"), -1);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "", "1"), -1);
  EXPECT_EQ(XML_SetAttr(nullptr, document.root(), "x", "1"), -1);
  EXPECT_EQ(Outline(document), "r");
}

TEST(XmlSetAttr, GivesMinusOneWithoutMemoryAndChangesNothing) {
  const Document document = LoadText("<r x=\"1\"/>");
  const FailingAllocation failing(1, FailingAllocation::Extent::kFromThenOn);
  FillArena(document, 20);  // room for the strings and not for the record
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "y", "2"), -1);
  FillArena(document, 2);  // room for the name alone
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "y", "22"), -1);
  FillArena(document, 1);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "y", "2"), -1);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "x", "2"), -1);
  EXPECT_EQ(Outline(document), "r[x=1]");
}

// What takes a block of its own may lack memory while there is still room for the rest.
TEST(XmlSetAttr, GivesMinusOneWithoutMemoryForAStringOf4MiB) {
  const Document document = LoadText("<r x=\"1\"/>");
  const std::string text(0x400000, 't');
  const FailingAllocation failing(1, FailingAllocation::Extent::kFromThenOn);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "y", text.c_str()), -1);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), text.c_str(), "2"), -1);
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "x", text.c_str()), -1);
  EXPECT_EQ(Outline(document), "r[x=1]");
}

// ---- Deleting attributes ----

TEST(XmlDeleteAttr, UnlinksTheFirstOfTheNameWithoutRegardToCase) {
  const struct {
    const char* name;
    const char* expected;
  } cases[] = {
      {"A", "r[b=2][c=3][B=4]"},
      {"B", "r[a=1][c=3][B=4]"},
      {"c", "r[a=1][b=2][B=4]"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Document document = LoadText("<r a=\"1\" b=\"2\" c=\"3\" B=\"4\"/>");
    EXPECT_EQ(XML_DeleteAttr(document.get(), document.root(), c.name), 0);
    EXPECT_EQ(Outline(document), c.expected);
  }
}

TEST(XmlDeleteAttr, UnlinksTheLastAndTheOnlyOne) {
  const Document document = LoadText("<r a=\"1\" b=\"2\"/>");
  EXPECT_EQ(XML_DeleteAttr(document.get(), document.root(), "b"), 0);
  EXPECT_EQ(Outline(document), "r[a=1]");
  EXPECT_EQ(XML_DeleteAttr(document.get(), document.root(), "a"), 0);
  EXPECT_EQ(Outline(document), "r");
  EXPECT_EQ(XML_SetAttr(document.get(), document.root(), "c", "3"), 0);
  EXPECT_EQ(Outline(document), "r[c=3]");
}

TEST(XmlDeleteAttr, GivesOneWhenThereIsNothingToDelete) {
  const Document document = LoadText("<r a=\"1\"/><s/>");
  EXPECT_EQ(XML_DeleteAttr(document.get(), document.root(), nullptr), 1);
  EXPECT_EQ(XML_DeleteAttr(document.get(), document.root(), ""), 1);
  EXPECT_EQ(XML_DeleteAttr(document.get(), document.root(), "b"), 1);
  EXPECT_EQ(XML_DeleteAttr(document.get(), document.root()->next, "a"), 1);
  EXPECT_EQ(Outline(document), "r[a=1] s");
}

TEST(XmlDeleteAttr, GivesMinusOneForANullElement) {
  const Document document(XML_CreateDoc("r"));
  EXPECT_EQ(XML_DeleteAttr(document.get(), nullptr, "a"), -1);
  EXPECT_EQ(XML_DeleteAttr(document.get(), nullptr, nullptr), -1);
}

TEST(XmlDeleteAttr, IgnoresTheDocument) {
  const Document document = LoadText("<r a=\"1\"/>");
  EXPECT_EQ(XML_DeleteAttr(nullptr, document.root(), "a"), 0);
  EXPECT_EQ(Outline(document), "r");
}

}  // namespace
