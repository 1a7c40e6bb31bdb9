// SPDX-License-Identifier: MIT

// Files that XML_LoadFile reads. xml_parse_test.cpp tells what their texts load as.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "settings/xml.h"
#include "sys/files.h"
#include "tests/settings/markup_document.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/temporary_home.h"

namespace {

using support::FailingAllocation;
using support::OpenDescriptors;
using support::TemporaryHome;

// How files were read, and what else than the truth is told of their size.
std::vector<uint32_t> flags_of_opens;
std::vector<uint32_t> sizes_of_reads;
int32_t told_size = 0;

}  // namespace

extern "C" {

int32_t __real_SYS_FILE_Open(const char* path, uint32_t flags);
int32_t __real_SYS_FILE_GetSize(int32_t handle);
void __real_SYS_FILE_Read(int32_t handle, void* buffer, uint32_t size);
void* __real_SYS_MEM_Alloc(uint32_t size);

int32_t __wrap_SYS_FILE_Open(const char* path, uint32_t flags) {
  flags_of_opens.push_back(flags);
  return __real_SYS_FILE_Open(path, flags);
}

int32_t __wrap_SYS_FILE_GetSize(int32_t handle) {
  return told_size != 0 ? told_size : __real_SYS_FILE_GetSize(handle);
}

void __wrap_SYS_FILE_Read(int32_t handle, void* buffer, uint32_t size) {
  sizes_of_reads.push_back(size);
  __real_SYS_FILE_Read(handle, buffer, size);
}

// Memory that never holds a zero by chance.
void* __wrap_SYS_MEM_Alloc(uint32_t size) {
  void* const memory = __real_SYS_MEM_Alloc(size);
  return memory == nullptr ? nullptr : memset(memory, 'x', size);
}

}  // extern "C"

namespace {

class XmlLoadFile : public testing::Test {
 protected:
  XmlLoadFile() {
    flags_of_opens.clear();
    sizes_of_reads.clear();
    told_size = 0;
  }

  TemporaryHome home_;
};

TEST_F(XmlLoadFile, ReadsTheWholeFileWithOneRead) {
  const std::string path = home_.Write("a.xml", "<a><b/></a>\r\n");
  const Document document(XML_LoadFile(path.c_str()));
  EXPECT_EQ(Outline(document), "a{b}");
  EXPECT_EQ(flags_of_opens, std::vector<uint32_t>{SYS_FILE_FLAG_READ});
  EXPECT_EQ(sizes_of_reads, std::vector<uint32_t>{13});
}

TEST_F(XmlLoadFile, LoadsAFileThatMayOnlyBeRead) {
  const std::string path = home_.Write("a.xml", "<a/>");
  ASSERT_EQ(chmod(path.c_str(), 0400), 0);
  EXPECT_EQ(Outline(Document(XML_LoadFile(path.c_str()))), "a");
}

TEST_F(XmlLoadFile, GivesNullForANullPath) { EXPECT_EQ(XML_LoadFile(nullptr), nullptr); }

TEST_F(XmlLoadFile, GivesNullForAMissingFile) {
  EXPECT_EQ(XML_LoadFile(home_.At("missing.xml").c_str()), nullptr);
  EXPECT_EQ(XML_LoadFile(""), nullptr);
}

TEST_F(XmlLoadFile, GivesNullForAnEmptyFile) {
  EXPECT_EQ(XML_LoadFile(home_.Write("empty.xml", "").c_str()), nullptr);
  EXPECT_TRUE(sizes_of_reads.empty());
}

TEST_F(XmlLoadFile, GivesNullForAFolder) { EXPECT_EQ(XML_LoadFile(home_.path().c_str()), nullptr); }

// A folder whose size reads as small opens all the same; nothing can be read from it.
TEST_F(XmlLoadFile, GivesNullWhenNothingCanBeRead) {
  told_size = 4;
  EXPECT_EQ(XML_LoadFile(home_.path().c_str()), nullptr);
}

TEST_F(XmlLoadFile, GivesNullForAFileWithoutASize) {
  const std::string path = home_.Write("a.xml", "<a/>");
  told_size = -1;
  EXPECT_EQ(XML_LoadFile(path.c_str()), nullptr);
  told_size = INT32_MIN;
  EXPECT_EQ(XML_LoadFile(path.c_str()), nullptr);
}

TEST_F(XmlLoadFile, TakesAFileThatBecameShorterAsItIs) {
  const std::string path = home_.Write("a.xml", "<a/>");
  told_size = 100;
  EXPECT_EQ(Outline(Document(XML_LoadFile(path.c_str()))), "a");
}

TEST_F(XmlLoadFile, ReadsNoMoreThanTheSizeItWasTold) {
  const std::string path = home_.Write("a.xml", "<a/><b/>");
  told_size = 4;
  EXPECT_EQ(Outline(Document(XML_LoadFile(path.c_str()))), "a");
}

TEST_F(XmlLoadFile, LeavesTheFileAsItWas) {
  const std::string path = home_.Write("a.xml", "<a x=\"1\"></A>");
  Document(XML_LoadFile(path.c_str()));
  EXPECT_EQ(home_.Read("a.xml"), "<a x=\"1\"></A>");
}

TEST_F(XmlLoadFile, LeavesNoDescriptorOpen) {
  const std::vector<int> before = OpenDescriptors();
  for (const char* const text : {"<a/>", "", "damaged", "<a></b>"}) {
    Document(XML_LoadFile(home_.Write("a.xml", text).c_str()));
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(XmlLoadFile, CopiesAllItNeeds) {
  const std::string path = home_.Write("a.xml", "<a x=\"1\"/>");
  const Document document(XML_LoadFile(path.c_str()));
  std::filesystem::remove(path);
  EXPECT_EQ(Outline(document), "a[x=1]");
}

TEST_F(XmlLoadFile, LoadsALargeFileWithThreeAllocations) {
  std::string text = "<r>";
  for (int i = 0; i < 50'000; ++i) text += "<e name=\"value\"/>";
  text += "</r>";
  const std::string path = home_.Write("a.xml", text);
  const FailingAllocation counted(UINT32_MAX);
  const Document document(XML_LoadFile(path.c_str()));
  ASSERT_TRUE(document);
  // 50,000 times 109 bytes fill one block of 4 MiB and part of a second.
  EXPECT_EQ(FailingAllocation::Calls(), 3U);
}

TEST_F(XmlLoadFile, GivesNullWithoutMemory) {
  const std::string path = home_.Write("a.xml", "<a/>");
  const std::vector<int> before = OpenDescriptors();
  for (const uint32_t nth : {1U, 2U}) {
    SCOPED_TRACE(nth);
    const FailingAllocation failing(nth);
    EXPECT_EQ(XML_LoadFile(path.c_str()), nullptr);
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

// The block header takes 24 bytes, the document 24.
TEST_F(XmlLoadFile, CarvesRecordsAndStringsBackToBack) {
  const std::string path = home_.Write("a.xml", "<ab x=\"12\"/>");
  const Document document(XML_LoadFile(path.c_str()));
  ASSERT_TRUE(document);
  const XML_NODE* const element = document.root();
  const char* const name = element->name;
  EXPECT_EQ(name, reinterpret_cast<const char*>(document.get()) + 24);
  EXPECT_EQ(reinterpret_cast<const char*>(element), name + 3);
  const XML_ATTR* const attribute = element->first_attr;
  const char* const attribute_name = attribute->name;
  EXPECT_EQ(attribute_name, name + 3 + 56);
  const char* const value = attribute->value;
  EXPECT_EQ(value, attribute_name + 2);
  EXPECT_EQ(reinterpret_cast<const char*>(attribute), value + 3);
}

}  // namespace
