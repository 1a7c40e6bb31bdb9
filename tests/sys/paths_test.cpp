// SPDX-License-Identifier: MIT

// Paths as text. paths_folders_test.cpp makes folders, paths_program_test.cpp finds the program.
#include "sys/paths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/temporary_home.h"

namespace {

using support::FailingAllocation;
using support::GuardedBuffer;
using support::OpenDescriptors;
using support::TemporaryHome;

// ---- SYS_SplitPath ----

// Buffers of one size for all four parts.
struct Outputs {
  explicit Outputs(size_t size = 512) : drive(size), directory(size), name(size), extension(size) {}
  bool AreUntouched() {
    return drive.IsUntouched(0, drive.size()) && directory.IsUntouched(0, directory.size()) &&
           name.IsUntouched(0, name.size()) && extension.IsUntouched(0, extension.size());
  }
  void Split(const std::string& path, uint32_t capacity) {
    SYS_SplitPath(path.c_str(), drive.data(), capacity, directory.data(), capacity, name.data(),
                  capacity, extension.data(), capacity);
  }

  GuardedBuffer drive;
  GuardedBuffer directory;
  GuardedBuffer name;
  GuardedBuffer extension;
};

TEST(SysSplitPath, TakesAPathApart) {
  const struct {
    const char* path;
    const char* directory;
    const char* name;
    const char* extension;
  } cases[] = {
      {"dir/file.tar.gz", "dir", "file.tar", ".gz"},
      {"/a/b/c.d", "/a/b", "c", ".d"},
      {"d/a.txt", "d", "a", ".txt"},
      {"a.txt", "", "a.txt", ".txt"},  // without a "/" the name keeps its extension
      {"file.txt", "", "file.txt", ".txt"},
      {"file", "", "file", ""},
      {"d/file", "d", "file", ""},
      {"/x", "", "x", ""},
      {"/x.y", "", "x", ".y"},
      {"", "", "", ""},
      {"/", "", "", ""},
      {"//", "/", "", ""},
      {"//x", "/", "x", ""},
      {"d/", "d", "", ""},
      {"d//x", "d/", "x", ""},
      {".profile", "", ".profile", ""},
      {"dir/.profile", "dir", ".profile", ""},
      {".a.b", "", ".a.b", ".b"},
      {"d/.a.b", "d", ".a", ".b"},
      {"a.b/c", "a.b", "c", ""},  // a "/" follows the dot
      {"a.b/c.d/", "a.b/c.d", "", ""},
      {"a.b/.c", "a.b", ".c", ""},
      {"d/a.", "d", "a", "."},
      {"a.", "", "a.", "."},
      {"d/a..b", "d", "a.", ".b"},
      {".", "", ".", ""},
      {"..", "", "..", "."},
      {"d/.", "d", ".", ""},
      {"d/..", "d", ".", "."},
      {"C:\\d\\a.txt", "", "C:\\d\\a.txt", ".txt"},
      {"d\xC3\xA4/\xFF.\xFE", "d\xC3\xA4", "\xFF", ".\xFE"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    Outputs outputs;
    outputs.Split(c.path, 512);
    EXPECT_STREQ(outputs.drive.data(), "");
    EXPECT_STREQ(outputs.directory.data(), c.directory);
    EXPECT_STREQ(outputs.name.data(), c.name);
    EXPECT_STREQ(outputs.extension.data(), c.extension);
  }
}

TEST(SysSplitPath, EachOutputMayBeNull) {
  GuardedBuffer text(512);
  SYS_SplitPath("d/a.b", nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0);
  SYS_SplitPath("d/a.b", text.data(), 512, nullptr, 0, nullptr, 0, nullptr, 0);
  EXPECT_STREQ(text.data(), "");
  SYS_SplitPath("d/a.b", nullptr, 0, text.data(), 512, nullptr, 0, nullptr, 0);
  EXPECT_STREQ(text.data(), "d");
  SYS_SplitPath("d/a.b", nullptr, 0, nullptr, 0, text.data(), 512, nullptr, 0);
  EXPECT_STREQ(text.data(), "a");
  SYS_SplitPath("d/a.b", nullptr, 0, nullptr, 0, nullptr, 0, text.data(), 512);
  EXPECT_STREQ(text.data(), ".b");
}

TEST(SysSplitPath, NullPathStoresNothing) {
  Outputs outputs;
  SYS_SplitPath(nullptr, outputs.drive.data(), 512, outputs.directory.data(), 512,
                outputs.name.data(), 512, outputs.extension.data(), 512);
  EXPECT_TRUE(outputs.AreUntouched());
}

TEST(SysSplitPath, StoresNothingWithoutMemory) {
  Outputs outputs;
  {
    const FailingAllocation failing(1);
    outputs.Split("d/a.b", 512);
  }
  EXPECT_TRUE(outputs.AreUntouched());
  outputs.Split("d/a.b", 512);
  EXPECT_STREQ(outputs.name.data(), "a");
}

TEST(SysSplitPath, OutputMayLieOnThePath) {
  char path[512] = "dir/name.ext";
  GuardedBuffer name(512);
  GuardedBuffer extension(512);
  SYS_SplitPath(path, nullptr, 0, path, 512, name.data(), 512, extension.data(), 512);
  EXPECT_STREQ(path, "dir");
  EXPECT_STREQ(name.data(), "name");
  EXPECT_STREQ(extension.data(), ".ext");
}

TEST(SysSplitPath, CapacitiesBelowThatOfAPathDoNotBoundTheParts) {
  for (const uint32_t capacity : {0U, 1U, 4U}) {
    SCOPED_TRACE(capacity);
    Outputs outputs;
    outputs.Split("directory/name.extension", capacity);
    EXPECT_STREQ(outputs.drive.data(), "");
    EXPECT_STREQ(outputs.directory.data(), "directory");
    EXPECT_STREQ(outputs.name.data(), "name");
    EXPECT_STREQ(outputs.extension.data(), ".extension");
  }
}

TEST(SysSplitPath, PartsAreCutAt511Characters) {
  const std::string d(5000, 'd');
  const std::string n(5000, 'n');
  const std::string e(5000, 'e');
  Outputs outputs;
  outputs.Split(d + "/" + n + "." + e, 512);
  EXPECT_EQ(outputs.directory.data(), d.substr(0, 511));
  EXPECT_EQ(outputs.name.data(), n.substr(0, 511));
  EXPECT_EQ(outputs.extension.data(), "." + e.substr(0, 510));
  Outputs shorter;
  shorter.Split(d.substr(0, 511) + "/" + n.substr(0, 510) + "." + e.substr(0, 511), 1);
  EXPECT_EQ(shorter.directory.data(), d.substr(0, 511));
  EXPECT_EQ(shorter.name.data(), n.substr(0, 510));
  EXPECT_EQ(shorter.extension.data(), "." + e.substr(0, 510));
}

TEST(SysSplitPath, LargerCapacitiesHoldLongerParts) {
  const std::string d(5000, 'd');
  Outputs outputs(2048);
  outputs.Split(d + "/" + d + "." + d, 2048);
  EXPECT_EQ(outputs.directory.data(), d.substr(0, 2047));
  EXPECT_EQ(outputs.name.data(), d.substr(0, 2047));
  EXPECT_EQ(outputs.extension.data(), "." + d.substr(0, 2046));
}

// ---- SYS_MakePath ----

TEST(SysMakePath, PutsThePartsTogether) {
  const struct {
    const char* directory;
    const char* name;
    const char* extension;
    const char* path;
  } cases[] = {
      {"a/", "b", "c", "a/b.c"},
      {"a", "b", "c", "a/b.c"},
      {"", "b", "c", "b.c"},
      {nullptr, "b", "c", "b.c"},
      {"a", "b", nullptr, "a/b"},
      {"a", nullptr, "c", "a/"},  // an extension needs a name
      {nullptr, nullptr, "c", ""},
      {nullptr, nullptr, nullptr, ""},
      {"a", "b", "", "a/b."},
      {"a", "", "c", "a/.c"},
      {"a", "", nullptr, "a/"},
      {"/", "b", nullptr, "/b"},
      {"a//", "b", nullptr, "a//b"},
      {"a", "b", ".c", "a/b..c"},  // the dot is put in front of whatever is given
      {"a", "/b", nullptr, "a//b"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    GuardedBuffer output(512);
    SYS_MakePath(output.data(), "C:", c.directory, c.name, c.extension);
    EXPECT_STREQ(output.data(), c.path);
    SYS_MakePath(output.data(), nullptr, c.directory, c.name, c.extension);
    EXPECT_STREQ(output.data(), c.path);
  }
}

TEST(SysMakePath, CutsThePathAt511Characters) {
  const std::string d(511, 'd');
  const std::string n(5000, 'n');
  const struct {
    std::string directory;
    std::string name;
    std::string extension;
    std::string path;
  } cases[] = {
      {n, "b", "c", n.substr(0, 511)},
      {d, "b", "c", d},
      {d.substr(0, 510), "b", "c", d.substr(0, 510) + "/"},
      {d.substr(0, 509), "b", "c", d.substr(0, 509) + "/b"},
      {"d", n, "c", "d/" + n.substr(0, 509)},
      {"d", n.substr(0, 508), "c", "d/" + n.substr(0, 508) + "."},
      {"d", "n", n, "d/n." + n.substr(0, 507)},
  };
  for (const auto& c : cases) {
    GuardedBuffer output(512);
    SYS_MakePath(output.data(), nullptr, c.directory.c_str(), c.name.c_str(), c.extension.c_str());
    EXPECT_EQ(output.data(), c.path);
  }
}

TEST(SysMakePath, NullOutputIsIgnored) { SYS_MakePath(nullptr, "C:", "a", "b", "c"); }

// ---- SYS_JoinPath ----

class SysJoinPath : public testing::Test {
 protected:
  std::string Join(const std::string& base, const char* relative, uint32_t capacity = 512) {
    GuardedBuffer output(capacity);
    SYS_JoinPath(base.c_str(), relative, output.data(), capacity);
    const std::string result = output.data();
    EXPECT_EQ(std::string(output.data() + result.size(), capacity - result.size()),
              std::string(capacity - result.size(), '\0'))
        << "the rest is filled up with zeros";
    return result;
  }

  TemporaryHome home_;
  std::string folder_ = home_.path() + "/";
};

TEST_F(SysJoinPath, FileThatIsThereContributesItsFolder) {
  EXPECT_EQ(Join(home_.Write("base.txt", ""), "x/y"), folder_ + "x/y");
}

TEST_F(SysJoinPath, FolderContributesItselfOnlyWithASlash) {
  ASSERT_EQ(mkdir(home_.At("sub").c_str(), 0777), 0);
  EXPECT_EQ(Join(home_.At("sub"), "x"), folder_ + "x");
  EXPECT_EQ(Join(home_.At("sub/"), "x"), folder_ + "sub/x");
}

TEST_F(SysJoinPath, NameWithoutAFolderContributesNothing) {
  home_.Write("base.txt", "");
  std::filesystem::current_path(home_.path());
  EXPECT_EQ(Join("base.txt", "x"), "x");
}

TEST_F(SysJoinPath, BaseThatIsNotThereStandsAsItIs) {
  EXPECT_EQ(Join(home_.At("missing"), "x"), folder_ + "missingx");
  EXPECT_EQ(Join(home_.At("missing/"), "x"), folder_ + "missing/x");
  EXPECT_EQ(Join("", "x"), "x");
}

TEST_F(SysJoinPath, EmptyOrAbsoluteRelativePathIsTheResult) {
  const std::string base = home_.Write("base.txt", "");
  EXPECT_EQ(Join(base, "/x/y"), "/x/y");
  EXPECT_EQ(Join(base, "/"), "/");
  EXPECT_EQ(Join(base, ""), "");
  EXPECT_EQ(Join(home_.At("missing/"), "/x"), "/x");
  EXPECT_EQ(Join(home_.At("missing/"), ""), "");
}

TEST_F(SysJoinPath, CutsAtCapacityLessOne) {
  EXPECT_EQ(Join("/no/base/", "name", 14), "/no/base/name");
  EXPECT_EQ(Join("/no/base/", "name", 13), "/no/base/nam");
  EXPECT_EQ(Join("/no/base/", "name", 10), "/no/base/");
  EXPECT_EQ(Join("/no/base/", "name", 9), "/no/base");
  EXPECT_EQ(Join("/no/base/", "name", 4), "/no");
  EXPECT_EQ(Join("/no/base/", "name", 1), "");
  EXPECT_EQ(Join("/no/base/", "/name", 4), "/na");
  EXPECT_EQ(Join(home_.Write("base.txt", ""), "x", 8), folder_.substr(0, 7));
}

TEST_F(SysJoinPath, LongPathsFillTheCapacityAndNoMore) {
  const std::string n(5000, 'n');
  EXPECT_EQ(Join(n, n.c_str()), n.substr(0, 511));
  EXPECT_EQ(Join("/b/", n.c_str(), 2048), "/b/" + n.substr(0, 2044));
  EXPECT_EQ(Join("/b/", ("/" + n).c_str()), "/" + n.substr(0, 510));
}

TEST_F(SysJoinPath, WithoutOutputOrCapacityNothingIsStored) {
  GuardedBuffer output(8);
  SYS_JoinPath("/b/", "x", output.data(), 0);
  EXPECT_TRUE(output.IsUntouched(0, 8));
  SYS_JoinPath("/b/", "x", nullptr, 8);
}

TEST_F(SysJoinPath, NullPathsGiveAnEmptyText) {
  for (const bool is_base : {true, false}) {
    GuardedBuffer output(8);
    SYS_JoinPath(is_base ? nullptr : "/b/", is_base ? "x" : nullptr, output.data(), 8);
    EXPECT_STREQ(output.data(), "");
  }
}

TEST_F(SysJoinPath, LeavesNoDescriptor) {
  const std::string base = home_.Write("base.txt", "");
  const std::vector<int> before = OpenDescriptors();
  Join(base, "x");
  EXPECT_EQ(OpenDescriptors(), before);
}

// ---- SYS_GetFileExt and SYS_GetFileName ----

TEST(SysGetFileExt, IsThatOfTheSplitPath) {
  const struct {
    const char* path;
    const char* extension;
  } cases[] = {
      {"d/a.tar.gz", ".gz"}, {"a.txt", ".txt"}, {"d/.profile", ""}, {"a.b/c", ""}, {"", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    GuardedBuffer output(17);
    SYS_GetFileExt(c.path, output.data(), 16);
    EXPECT_STREQ(output.data(), c.extension);
  }
}

TEST(SysGetFileName, IsThatOfTheSplitPath) {
  const struct {
    const char* path;
    const char* name;
  } cases[] = {
      {"d/a.tar.gz", "a.tar"}, {"a.txt", "a.txt"}, {"d/.profile", ".profile"}, {"d/", ""}, {"", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    GuardedBuffer output(17);
    SYS_GetFileName(c.path, output.data(), 16);
    EXPECT_STREQ(output.data(), c.name);
  }
}

TEST(SysGetFileExt, TextOfExactlyCapacityIsStoredAndALongerOneIsNot) {
  GuardedBuffer output(5);
  SYS_GetFileExt("d/a.txt", output.data(), 4);
  EXPECT_STREQ(output.data(), ".txt");
  GuardedBuffer smaller(4);
  SYS_GetFileExt("d/a.txt", smaller.data(), 3);
  EXPECT_STREQ(smaller.data(), "");
  EXPECT_TRUE(smaller.IsUntouched(1, 4));
}

TEST(SysGetFileName, TextOfExactlyCapacityIsStoredAndALongerOneIsNot) {
  GuardedBuffer output(5);
  SYS_GetFileName("d/name.txt", output.data(), 4);
  EXPECT_STREQ(output.data(), "name");
  GuardedBuffer smaller(4);
  SYS_GetFileName("d/name.txt", smaller.data(), 3);
  EXPECT_STREQ(smaller.data(), "");
  EXPECT_TRUE(smaller.IsUntouched(1, 4));
}

TEST(SysGetFileExt, CapacityOfZeroStoresAnEmptyText) {
  GuardedBuffer output(1);
  SYS_GetFileExt("d/a.txt", output.data(), 0);
  EXPECT_STREQ(output.data(), "");
  GuardedBuffer name(1);
  SYS_GetFileName("d/a.txt", name.data(), 0);
  EXPECT_STREQ(name.data(), "");
}

TEST(SysGetFileExt, LongPartsAreCutAt511Characters) {
  const std::string n(5000, 'n');
  GuardedBuffer output(601);
  SYS_GetFileExt(("d/" + n + "." + n).c_str(), output.data(), 600);
  EXPECT_EQ(output.data(), "." + n.substr(0, 510));
  SYS_GetFileName(("d/" + n + "." + n).c_str(), output.data(), 600);
  EXPECT_EQ(output.data(), n.substr(0, 511));
  SYS_GetFileName(("d/" + n).c_str(), output.data(), 510);
  EXPECT_STREQ(output.data(), "");
}

TEST(SysGetFileExt, NullPathAndNoMemoryGiveAnEmptyTextAndNullOutputIsIgnored) {
  GuardedBuffer output(9);
  SYS_GetFileExt(nullptr, output.data(), 8);
  EXPECT_STREQ(output.data(), "");
  SYS_GetFileExt("d/a.txt", nullptr, 8);
  const FailingAllocation failing(1);
  SYS_GetFileExt("d/a.txt", output.data(), 8);
  EXPECT_STREQ(output.data(), "");
}

TEST(SysGetFileName, NullPathAndNoMemoryGiveAnEmptyTextAndNullOutputIsIgnored) {
  GuardedBuffer output(9);
  SYS_GetFileName(nullptr, output.data(), 8);
  EXPECT_STREQ(output.data(), "");
  SYS_GetFileName("d/a.txt", nullptr, 8);
  const FailingAllocation failing(1);
  SYS_GetFileName("d/a.txt", output.data(), 8);
  EXPECT_STREQ(output.data(), "");
}

}  // namespace
