// SPDX-License-Identifier: MIT

// Files: when they are read and written, and what becomes of those that cannot be.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "settings/xml.h"
#include "tests/settings/registry_fixture.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/open_descriptors.h"

namespace {

namespace fs = std::filesystem;
using registry_test::kEmptyFile;
using registry_test::Key;
using support::FailingAllocation;
using namespace std::string_literals;

std::vector<uint32_t> sleeps;

class SysRegFile : public registry_test::SysReg {
 protected:
  SysRegFile() { sleeps.clear(); }

  // Whether the hive of the current user can be used.
  static bool Works() { return Key().handle() != nullptr; }

  // A file with one value, "N" in "Key".
  static std::string FileWithN(const std::string& number) {
    return FileWithKey("N=\"0x0000000" + number + "\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\"");
  }
};

// What the file of the current user becomes when it held this.
class SysRegResetFile : public SysRegFile {
 protected:
  std::string AfterLoading(const std::string& text) const {
    PutFile(text);
    uint32_t type = 0;
    EXPECT_EQ(SYS_REG_QueryValue(HKEY_CURRENT_USER, "N", &type, nullptr, nullptr), 2);
    const std::string file = File();
    SYS_REG_Flush();
    return file;
  }
};

}  // namespace

// Tells the sleeps between attempts, and makes them short.
extern "C" void __wrap_SYS_Sleep(uint32_t milliseconds);
void __wrap_SYS_Sleep(uint32_t milliseconds) { sleeps.push_back(milliseconds); }

namespace {

// ---- Loading ----

TEST_F(SysRegFile, IsMadeWithAnEmptyDocumentWhenItIsMissing) {
  const struct {
    SYS_REG_HANDLE hive;
    const char* name;
  } cases[] = {
      {HKEY_CLASSES_ROOT, "TARVEN_REG_HKEY_CLASSES_ROOT.xml"},
      {HKEY_CURRENT_USER, "TARVEN_REG_HKEY_CURRENT_USER.xml"},
      {HKEY_LOCAL_MACHINE, "TARVEN_REG_HKEY_LOCAL_MACHINE.xml"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string file = kFolder + "/"s + c.name;
    EXPECT_FALSE(fs::exists(home_.At(file)));
    uint32_t type = 0;
    EXPECT_EQ(SYS_REG_QueryValue(c.hive, "N", &type, nullptr, nullptr), 2);
    EXPECT_EQ(home_.Read(file), kEmptyFile);
  }
  EXPECT_THAT(sleeps, testing::IsEmpty());
}

TEST_F(SysRegFile, ComesWithItsFolder) {
  fs::remove_all(home_.At("Library"));
  EXPECT_TRUE(Works());
  EXPECT_EQ(File(), kEmptyFile);
}

TEST_F(SysRegFile, IsReadAtTheFirstUseAndNotAgainBeforeAFlush) {
  PutFile(FileWithN("1"));
  EXPECT_EQ(Key().Dword("N"), 1);
  PutFile(FileWithN("2"));
  EXPECT_EQ(Key().Dword("N"), 1);
  SYS_REG_Flush();
  EXPECT_EQ(Key().Dword("N"), 2);
}

TEST_F(SysRegFile, OfAnotherProgramIsReadWhateverItsRootIsCalled) {
  PutFile("<!-- by hand -->\n<!DOCTYPE settings>\n<settings>\n<key n='1'></key></settings>");
  EXPECT_EQ(Key().Dword("N"), -2);
  PutFile(
      "<!-- by hand -->\n<!DOCTYPE settings>\n<settings>\n"
      "<KEY n = \"0x9\"\tN_TARVENREGTYPE = \"SYS_REG_TYPE_DWORD\" >\n</key>\n</settings>");
  SYS_REG_Flush();
}

TEST_F(SysRegFile, WrittenByHandIsRead) {
  PutFile(
      "<!-- by hand -->\n<!DOCTYPE settings>\n<settings>\n"
      "<KEY n = \"0x9\"\tN_TARVENREGTYPE = \"SYS_REG_TYPE_DWORD\" >\n</key>\n</settings>");
  EXPECT_EQ(Key().Dword("N"), 9);
}

// ---- Resetting ----

TEST_F(SysRegResetFile, ReplacesWhatIsNoDocument) {
  const struct {
    const char* what;
    std::string text;
  } cases[] = {
      {"empty", ""},
      {"blanks", " \r\n"},
      {"a comment alone", "<!-- nothing -->"},
      {"plain text", "N=1\n"},
      {"text between tags", "<Registry>text</Registry>"},
      {"a declaration", "<?xml version=\"1.0\"?><Registry/>"},
      {"another closing tag", "<Registry><A></B></Registry>"},
      {"zeros", std::string(100, '\0')},
      {"a cut tag", "<Registry>\r\n  <Key N=\"0x0000"},
      {"other bytes",
       "\x7F"
       "ELF\x02\x01\x01"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(AfterLoading(c.text), kEmptyFile);
  }
}

TEST_F(SysRegResetFile, LeavesADocumentThatItsEndLeavesOpen) {
  EXPECT_EQ(AfterLoading("<Registry>\r\n  <Key>"), "<Registry>\r\n  <Key>");
}

// ---- Writing ----

TEST_F(SysRegFile, IsNotWrittenBeforeAFlush) {
  EXPECT_EQ(Key().SetDword("N", 1), 0);
  EXPECT_EQ(File(), kEmptyFile);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithN("1"));
}

TEST_F(SysRegFile, ThatIsUnchangedIsNotWritten) {
  PutFile("<Registry><Key N=\"0x1\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\"/></Registry>");
  const timespec long_ago[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, FilePath().c_str(), long_ago, 0), 0);
  EXPECT_EQ(Key().Dword("N"), 1);
  SYS_REG_Flush();
  struct stat status {};
  ASSERT_EQ(stat(FilePath().c_str(), &status), 0);
  EXPECT_EQ(status.st_mtime, 1'000'000'000);
}

TEST_F(SysRegFile, ThatIsChangedBackIsNotWritten) {
  PutFile(FileWithN("1"));
  EXPECT_EQ(Key().SetDword("N", 2), 0);
  EXPECT_EQ(Key().SetDword("N", 1), 0);
  PutFile("by somebody else");
  SYS_REG_Flush();
  EXPECT_EQ(File(), "by somebody else");
}

TEST_F(SysRegFile, IsWrittenWhenOneByteChangedAtTheSameLength) {
  PutFile(FileWithN("1"));
  EXPECT_EQ(Key().SetDword("N", 2), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithN("2"));
}

TEST_F(SysRegFile, LosesWhatWasLongerBefore) {
  PutFile(FileWithN("1") + std::string(1000, ' '));
  EXPECT_EQ(Key().SetDword("N", 2), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithN("2"));
}

TEST_F(SysRegFile, IsWrittenByTheLastFlushThatCameFromAChange) {
  EXPECT_EQ(Key().SetDword("N", 1), 0);
  PutFile(FileWithN("2"));
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithN("1"));
}

TEST_F(SysRegFile, StaysWithoutAFlushThatHasNothingLoaded) {
  SYS_REG_Flush();
  SYS_REG_Flush();
  EXPECT_FALSE(fs::exists(FilePath()));
}

// The worked example of docs/settings-format.md.
TEST_F(SysRegFile, HoldsTheWorkedExample) {
  EXPECT_EQ(Key("Software\\VQX").SetDword("Port", 19021), 0);
  EXPECT_EQ(Key("Software\\VQX").SetString("Host", "target.local"), 0);
  EXPECT_EQ(Key("Software\\VQX\\Recent").SetStrings("Files", "a.elf\0b.elf\0c.elf\0\0"s), 0);
  const uint64_t serial_number = 0x12345ABCD;
  EXPECT_EQ(SYS_REG_SetValue(Key("Software\\Probe").handle(), "Serial No", SYS_REG_TYPE_QWORD,
                             &serial_number, sizeof serial_number),
            0);
  EXPECT_EQ(Key("Software\\Probe").SetString("Note", ""), 0);
  { const Key empty("Software\\Empty"); }
  SYS_REG_Flush();
  EXPECT_EQ(
      File(),
      "<Registry>\r\n"
      "  <Software>\r\n"
      "    <VQX Port=\"0x00004A4D\" Port_TARVENRegType=\"SYS_REG_TYPE_DWORD\""
      " Host=\"target.local\" Host_TARVENRegType=\"SYS_REG_TYPE_SZ\">\r\n"
      "      <Recent Files=\"a.elf\" Files_TARVENRegMltStr1=\"b.elf\""
      " Files_TARVENRegMltStr2=\"c.elf\""
      " Files_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\"/>\r\n"
      "    </VQX>\r\n"
      "    <Probe SerialNo=\"0x000000012345ABCD\" SerialNo_TARVENRegType=\"SYS_REG_TYPE_QWORD\""
      " Note=\"\" Note_TARVENRegType=\"SYS_REG_TYPE_SZ\"/>\r\n"
      "    <Empty/>\r\n"
      "  </Software>\r\n"
      "</Registry>\r\n");
}

TEST_F(SysRegFile, IsReadByOthers) {
  const Key key("A\\B");
  EXPECT_EQ(key.SetDword("N", 10), 0);
  EXPECT_EQ(key.SetString("S", "text with blanks"), 0);
  EXPECT_EQ(key.SetStrings("M", "a\0b\0\0"s), 0);
  SYS_REG_Flush();
  const support::Pipe pipe = support::MakePipe();
  support::ChildProcess xmllint(
      {"xmllint", "--xpath", "string(/Registry/A/B/@M_TARVENRegMltStr1)", FilePath()},
      {.streams = {.output = pipe.writing}});
  close(pipe.writing);
  support::StreamReader reader(pipe.reading);
  EXPECT_TRUE(reader.WaitForEnd());
  EXPECT_EQ(xmllint.WaitForExit(), 0);
  EXPECT_EQ(reader.text(), "b\n");
  close(pipe.reading);
}

// ---- Where the file is ----

TEST_F(SysRegFile, LiesInTheCurrentFolderWithoutHome) {
  fs::current_path(home_.path());
  unsetenv("HOME");
  EXPECT_TRUE(Works());
  EXPECT_EQ(home_.Read("TARVEN_REG_HKEY_CURRENT_USER.xml"), kEmptyFile);
}

TEST_F(SysRegFile, LiesInTheCurrentFolderWhenHomeIsAFile) {
  fs::current_path(home_.path());
  setenv("HOME", home_.Write("file", "").c_str(), 1);
  EXPECT_TRUE(Works());
  EXPECT_EQ(home_.Read("TARVEN_REG_HKEY_CURRENT_USER.xml"), kEmptyFile);
}

TEST_F(SysRegFile, LiesInTheCurrentFolderWhenHomeIsTooLong) {
  fs::current_path(home_.path());
  setenv("HOME", std::string(5000, 'h').c_str(), 1);
  EXPECT_TRUE(Works());
  EXPECT_EQ(home_.Read("TARVEN_REG_HKEY_CURRENT_USER.xml"), kEmptyFile);
}

TEST_F(SysRegFile, CannotBeHadWhenThePathHasNoRoomForItsName) {
  // 511 characters of the folder fill the path, so that the name is cut away.
  std::string home = home_.path();
  while (home.size() < 478) home += "/" + std::string(std::min<size_t>(99, 477 - home.size()), 'h');
  fs::create_directories(home);
  setenv("HOME", home.c_str(), 1);
  EXPECT_FALSE(Works());
}

TEST_F(SysRegFile, IsWrittenWhereHomeLeadsAtTheFlush) {
  fs::create_directories(home_.At("other"));
  EXPECT_EQ(Key().SetDword("N", 1), 0);
  setenv("HOME", home_.At("other").c_str(), 1);
  SYS_REG_Flush();
  EXPECT_EQ(File(), kEmptyFile);
  EXPECT_EQ(home_.Read("other/" + FileName()), FileWithN("1"));
}

TEST_F(SysRegFile, HasNoBackslashInItsPath) {
  fs::create_directories(home_.At("a/b/"s + kFolder));
  setenv("HOME", home_.At("a\\b").c_str(), 1);
  EXPECT_TRUE(Works());
  EXPECT_EQ(home_.Read("a/b/" + FileName()), kEmptyFile);
}

// ---- What stands in the way ----

TEST_F(SysRegFile, IsTriedFourTimesFiveMillisecondsApartWhenItCannotBeMade) {
  fs::create_directories(FilePath());
  EXPECT_FALSE(Works());
  EXPECT_THAT(sleeps, testing::ElementsAre(5, 5, 5));
  const uint32_t value = 1;
  EXPECT_EQ(SYS_REG_SetValue(HKEY_CURRENT_USER, "N", SYS_REG_TYPE_DWORD, &value, 4), 1);
  EXPECT_EQ(SYS_REG_QueryValue(HKEY_CURRENT_USER, "N", nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(SYS_REG_DeleteValue(HKEY_CURRENT_USER, "N"), 1);
  SYS_REG_Flush();
}

TEST_F(SysRegFile, CanBeHadOnceNothingStandsInTheWayAnyMore) {
  fs::create_directories(FilePath());
  EXPECT_FALSE(Works());
  fs::remove(FilePath());
  EXPECT_TRUE(Works());
}

TEST_F(SysRegFile, IsTriedFourTimesFiveMillisecondsApartWhenItCannotBeWritten) {
  EXPECT_EQ(Key().SetDword("N", 1), 0);
  fs::remove(FilePath());
  fs::create_directories(FilePath());
  SYS_REG_Flush();
  EXPECT_THAT(sleeps, testing::ElementsAre(5, 5, 5));
  // The change is lost: the flush forgets the hive all the same.
  fs::remove(FilePath());
  EXPECT_EQ(Key().Dword("N"), -2);
}

TEST_F(SysRegFile, LockedAwayIsLeftAsItIs) {
  PutFile(FileWithN("1"));
  const auto as_another_user = [] {
    if (setuid(65534) != 0) return 77;
    const bool works = Works();
    SYS_REG_Flush();
    return works ? 1 : 0;
  };
  fs::permissions(home_.path(), fs::perms{0755});
  fs::permissions(FilePath(), fs::perms{});
  if (getuid() == 0) {
    EXPECT_EQ(support::RunInChild(as_another_user), 0);
  } else {
    EXPECT_FALSE(Works());
  }
  fs::permissions(FilePath(), fs::perms{0600});
  EXPECT_EQ(File(), FileWithN("1"));
}

TEST_F(SysRegFile, HoldsTheBeginningWhenTheDiskIsFull) {
  PutFile(FileWithN("1"));
  const auto flush_with_little_room = [] {
    signal(SIGXFSZ, SIG_IGN);
    const Key key;
    if (key.SetDword("N", 2) != 0) return 1;
    const auto descriptors = support::OpenDescriptors();
    const rlimit limit{30, 30};
    setrlimit(RLIMIT_FSIZE, &limit);
    SYS_REG_Flush();
    return support::OpenDescriptors() == descriptors ? 0 : 2;
  };
  EXPECT_EQ(support::RunInChild(flush_with_little_room), 0);
  EXPECT_EQ(File(), FileWithN("2").substr(0, 30));
  // What is left is no document: the next load starts with an empty one.
  EXPECT_EQ(Key().Dword("N"), -2);
}

TEST_F(SysRegFile, ThatIsLargerThanTheLimitIsReadAndStays) {
  std::string text = "<Registry>\r\n";
  for (int i = 0; text.size() < 0x180000; ++i) {
    text += "  <K" + std::to_string(i) + " N=\"" + std::string(200, 'v') + "\"/>\r\n";
  }
  text += "  <Key N=\"0x5\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\"/>\r\n</Registry>\r\n";
  PutFile(text);
  EXPECT_EQ(Key().Dword("N"), 5);
  SYS_REG_Flush();
  EXPECT_EQ(File(), text);
}

// ---- Descriptors and memory ----

TEST_F(SysRegFile, LeavesNoDescriptorOpen) {
  const auto descriptors = support::OpenDescriptors();
  for (const char* text : {"", "damaged", "<Registry/>"}) {
    PutFile(text);
    EXPECT_EQ(Key().SetDword("N", 1), 0);
    SYS_REG_Flush();
  }
  fs::remove(FilePath());
  fs::create_directories(FilePath());
  EXPECT_FALSE(Works());
  EXPECT_EQ(support::OpenDescriptors(), descriptors);
}

// Every single allocation fails in turn, once or from then on: the results are the listed ones, the
// store can be used afterwards, and the file holds either the old or the new value.
TEST_F(SysRegFile, SurvivesEveryAllocationThatFails) {
  for (const auto extent :
       {FailingAllocation::Extent::kOnce, FailingAllocation::Extent::kFromThenOn}) {
    for (uint32_t nth = 1;; ++nth) {
      SCOPED_TRACE(nth);
      PutFile(FileWithN("1"));
      uint32_t calls = 0;
      int32_t result = 0;
      {
        const FailingAllocation failing(nth, extent);
        SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "Key");
        const uint32_t value = 2;
        result = SYS_REG_SetValue(key, "N", SYS_REG_TYPE_DWORD, &value, sizeof value);
        SYS_REG_CloseKey(key);
        SYS_REG_Flush();
        calls = FailingAllocation::Calls();
      }
      EXPECT_TRUE(result == 0 || result == 1) << result;
      const int64_t number = Key().Dword("N");
      EXPECT_TRUE(number == 1 || number == 2) << number;
      SYS_REG_Flush();
      if (calls < nth) break;
    }
  }
}

TEST_F(SysRegFile, GetsNoKeyWithoutMemoryAndLosesNone) {
  // Nearly all of what a document takes at once.
  EXPECT_EQ(Key().SetString("N", std::string(0x3FF000, 'v')), 0);
  SYS_REG_HANDLE key = nullptr;
  int made = 0;
  do {
    // The first allocation is the handle; the second comes when the document needs more memory.
    const FailingAllocation failing(2);
    key = SYS_REG_OpenKey(HKEY_CURRENT_USER, ("K" + std::to_string(made++)).c_str());
    SYS_REG_CloseKey(key);
  } while (key != nullptr && made < 1000);
  EXPECT_EQ(key, nullptr);
  EXPECT_GT(made, 2);
  EXPECT_NE(Key(("K" + std::to_string(made)).c_str()).handle(), nullptr);
}

TEST_F(SysRegFile, CannotBeHadWithoutMemoryForWritingItsText) {
  const auto query = [] {
    return SYS_REG_QueryValue(HKEY_CURRENT_USER, "N", nullptr, nullptr, nullptr);
  };
  // Two allocations read the file; the text is written with the two behind them.
  for (const uint32_t nth : {3U, 4U}) {
    SCOPED_TRACE(nth);
    {
      const FailingAllocation failing(nth);
      EXPECT_EQ(query(), 1);
    }
    EXPECT_EQ(query(), 2);
    SYS_REG_Flush();
  }
}

TEST_F(SysRegFile, LosesNoChangeWhenItsTextCouldNotBeKeptAtFirst) {
  PutFile(FileWithN("1"));
  const auto query = [] {
    return SYS_REG_QueryValue(HKEY_CURRENT_USER, "N", nullptr, nullptr, nullptr);
  };
  uint32_t calls_of_load = 0;
  {
    const FailingAllocation counting(1000);
    query();
    calls_of_load = FailingAllocation::Calls();
  }
  SYS_REG_Flush();
  {
    // The last allocation of a load is the copy of the text.
    const FailingAllocation failing(calls_of_load);
    EXPECT_EQ(query(), 1);
  }
  EXPECT_EQ(Key().SetDword("N", 2), 0);
  EXPECT_EQ(query(), 2);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithN("2"));
}

TEST_F(SysRegFile, IsWrittenAnewWhenItsTextWasNeverKept) {
  PutFile("<Registry><Key/></Registry>");
  {
    const FailingAllocation failing(3, FailingAllocation::Extent::kFromThenOn);
    EXPECT_FALSE(Works());
  }
  SYS_REG_Flush();
  EXPECT_EQ(File(), "<Registry>\r\n  <Key/>\r\n</Registry>\r\n");
}

}  // namespace
