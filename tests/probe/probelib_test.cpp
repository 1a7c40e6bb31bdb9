// SPDX-License-Identifier: MIT

// Where the probe's library is looked for, and what happens when it is nowhere. Every test runs a
// program of its own (probe_caller.cpp); the path of the program as a module is the name it is
// started under, so the tests choose that freely.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/probe/probe_run.h"
#include "tests/support/stream_reader.h"

namespace {

namespace fs = std::filesystem;
using probe_test::kCannotOpen;
using probe_test::kCannotOpenExiting;
using probe_test::kLibraryName;
using probe_test::Place;
using probe_test::ReadFile;
using probe_test::Result;

// Nothing was found, and the process went on.
const Result kNotOpened{std::string(kCannotOpen) + "open: -1\nhandle: null\n", 0};
const Result kOpened{"open: 0\nhandle: set\n", 0};

class ProbelibLoad : public testing::Test {
 protected:
  // The program, its name as a module, and the places around them. All folders are there, all
  // libraries are missing.
  ProbelibLoad() {
    Place(PROBE_CALLER_PATH, program_);
    fs::create_directories(module_.parent_path());
  }

  fs::path Folder() const { return folder_.path(); }

  Result RunAs(const std::string& name, std::vector<std::string> commands,
               support::ChildOptions options = {}) const {
    options.program = program_;
    commands.insert(commands.begin(), name);
    return probe_test::Run(commands, options);
  }
  Result Run(const std::vector<std::string>& commands) const { return RunAs(module_, commands); }
  Result Open() const { return Run({"open", "handle"}); }
  Result OpenAs(const std::string& name, const support::ChildOptions& options = {}) const {
    return RunAs(name, {"open", "handle"}, options);
  }

  void PutLibrary(const fs::path& place) const { Place(PROBE_LIBRARY_PATH, place); }
  // A library without MBOLT_Open, so that it tells itself apart.
  void PutOtherLibrary(const fs::path& place) const { Place(LIBRARY_WITHOUT_OPEN_PATH, place); }
  void PutText(const fs::path& place, const std::string& text) const {
    fs::create_directories(place.parent_path());
    std::ofstream(place) << text;
  }
  // A copy of the library with one text in it replaced by another of the same length.
  void PutChangedLibrary(const fs::path& place, const std::string& from,
                         const std::string& to) const {
    std::string content = ReadFile(PROBE_LIBRARY_PATH);
    const size_t position = content.find(from);
    ASSERT_NE(position, std::string::npos);
    PutText(place, content.replace(position, from.size(), to));
  }

  // A folder below the test's own whose path, with the separator behind it, has this length.
  std::string FolderOfLength(size_t length) const {
    std::string path = Folder().native() + "/";
    while (path.size() < length) {
      const size_t step = std::min<size_t>(length - path.size(), 101);
      // One character alone would be a separator without a name.
      const size_t name = length - path.size() - step == 1 ? step - 2 : step - 1;
      path += std::string(name, 'd') + "/";
    }
    fs::create_directories(path);
    return path;
  }

  const support::TemporaryFolder folder_;
  const fs::path program_ = Folder() / "program/one/two/three/caller";
  const fs::path module_ = Folder() / "module/one/two/three/name";
  // In the order in which they are tried.
  const fs::path places_[4] = {
      Folder() / "module/one/two/three" / kLibraryName,
      Folder() / "module" / kLibraryName,
      Folder() / "program/one/two/three" / kLibraryName,
      Folder() / "program" / kLibraryName,
  };
};

// ---- The places and their order ----

TEST_F(ProbelibLoad, FindsTheLibraryInEachOfTheFolders) {
  for (const fs::path& place : places_) {
    SCOPED_TRACE(place);
    PutLibrary(place);
    EXPECT_EQ(Open(), kOpened);
    fs::remove(place);
  }
  EXPECT_EQ(Open(), kNotOpened);
}

TEST_F(ProbelibLoad, TakesTheFirstPlaceThatHasOne) {
  for (const fs::path& place : places_) PutOtherLibrary(place);
  for (const fs::path& place : places_) {
    SCOPED_TRACE(place);
    fs::remove(place);
    PutLibrary(place);
    EXPECT_EQ(Run({"call", "MBOLT_Open"}), (Result{"MBOLT_Open: 0xee4aa131b9dbd4cc\n", 0}));
    fs::remove(place);
  }
}

TEST_F(ProbelibLoad, LooksThreeLevelsUpAndNoFewer) {
  for (const char* place :
       {"module/one/two", "module/one", ".", "program/one/two", "program/one"}) {
    PutLibrary(Folder() / place / kLibraryName);
  }
  EXPECT_EQ(Open(), kNotOpened);
}

TEST_F(ProbelibLoad, NeverAsksTheSystemsSearchForTheFileName) {
  PutLibrary(Folder() / "searched" / kLibraryName);
  const support::ChildOptions options{
      .environment = {"LD_LIBRARY_PATH=" + (Folder() / "searched").native()}};
  EXPECT_EQ(OpenAs(module_, options), kNotOpened);
}

// ---- What counts as absent ----

TEST_F(ProbelibLoad, GoesOnBehindATextFileInTheWay) {
  for (const fs::path& place : places_) {
    SCOPED_TRACE(place);
    PutLibrary(place);
    EXPECT_EQ(Open(), kOpened);
    fs::remove(place);
    PutText(place, "not a library\n");
  }
  EXPECT_EQ(Open(), kNotOpened);
}

TEST_F(ProbelibLoad, GoesOnBehindAFolderOfThatName) {
  fs::create_directories(places_[0]);
  PutLibrary(places_[1]);
  EXPECT_EQ(Open(), kOpened);
}

TEST_F(ProbelibLoad, GoesOnBehindALibraryForAnotherProcessor) {
  std::string content = ReadFile(PROBE_LIBRARY_PATH);
  content[18] = 40;  // the processor in an ELF header: 40 is a 32-bit one
  content[19] = 0;
  PutText(places_[0], content);
  EXPECT_EQ(Open(), kNotOpened);
  PutLibrary(places_[1]);
  EXPECT_EQ(Open(), kOpened);
}

TEST_F(ProbelibLoad, GoesOnBehindALibraryThatMissesAnother) {
  PutChangedLibrary(places_[0], "libc.so.6", "libX.so.6");
  EXPECT_EQ(Open(), kNotOpened);
  PutLibrary(places_[1]);
  EXPECT_EQ(Open(), kOpened);
}

// ---- Results, messages and the next call ----

TEST_F(ProbelibLoad, SaysSoAndReturnsOneWhenNoPlaceHasIt) {
  EXPECT_EQ(Run({"load", "0"}), (Result{std::string(kCannotOpen) + "load: 1\n", 0}));
}

TEST_F(ProbelibLoad, SaysSoAndEndsTheProcessWhenAskedTo) {
  for (const char* flag : {"1", "-1", "256", "0x40000000"}) {
    SCOPED_TRACE(flag);
    EXPECT_EQ(Run({"load", flag, "handle"}), (Result{kCannotOpenExiting, 1}));
  }
}

TEST_F(ProbelibLoad, SearchesAgainAfterAFailure) {
  PutLibrary(Folder() / "aside");
  const std::string failed = std::string(kCannotOpen) + "open: -1\n";
  EXPECT_EQ(Run({"open", "open", "rename", Folder() / "aside", places_[3], "open", "handle"}),
            (Result{failed + failed + "rename: 0\nopen: 0\nhandle: set\n", 0}));
}

TEST_F(ProbelibLoad, ReturnsAtOnceWhenTheLibraryIsOpen) {
  PutLibrary(places_[0]);
  EXPECT_EQ(Run({"load", "0", "rename", places_[0], Folder() / "aside", "load", "1", "open"}),
            (Result{"load: 0\nrename: 0\nload: 0\nopen: 0\n", 0}));
}

TEST_F(ProbelibLoad, OpensTheLibraryOnce) {
  PutLibrary(places_[0]);
  const support::ChildOptions options{
      .environment = {"LD_DEBUG=files", "LD_DEBUG_OUTPUT=" + (Folder() / "loader").native()}};
  EXPECT_EQ(RunAs(module_, {"open", "load", "1", "call", "MBOLT_Open"}, options).exit_status, 0);
  const std::string log = probe_test::ReadFilesNamed(Folder(), "loader");
  const std::string opened = "opening file=" + places_[0].native() + " [0]; direct_opencount=";
  EXPECT_EQ(support::CountOf(log, opened + "1"), 1U);
  EXPECT_EQ(support::CountOf(log, opened + "2"), 0U);
}

TEST_F(ProbelibLoad, WritesNothingWhenTheLibraryIsThere) {
  PutLibrary(places_[2]);
  EXPECT_EQ(Run({"load", "1"}), (Result{"load: 0\n", 0}));
}

// ---- The module's path ----

TEST_F(ProbelibLoad, CutsTheModulePathBehindABackslashToo) {
  PutLibrary(Folder() / "module\\libmboltarm.dylib");
  EXPECT_EQ(OpenAs((Folder() / "module\\name").native()), kOpened);
}

TEST_F(ProbelibLoad, KeepsAModuleNameWithoutASeparatorAsThePrefix) {
  PutLibrary(Folder() / "namelibmboltarm.dylib");
  const support::ChildOptions options{.environment = {"LD_LIBRARY_PATH=" + Folder().native()}};
  EXPECT_EQ(OpenAs("name", options), kOpened);
  EXPECT_EQ(OpenAs("other", options), kNotOpened);
}

TEST_F(ProbelibLoad, NeverTakesTheFirstCharacterForASeparator) {
  PutLibrary(Folder() / "\\namelibmboltarm.dylib");
  const support::ChildOptions options{.environment = {"LD_LIBRARY_PATH=" + Folder().native()}};
  EXPECT_EQ(OpenAs("\\name", options), kOpened);
  fs::remove(Folder() / "\\namelibmboltarm.dylib");
  PutLibrary(Folder() / "\\libmboltarm.dylib");
  EXPECT_EQ(OpenAs("\\name", options), kNotOpened);
  // The second character is the first that counts.
  PutLibrary(Folder() / "n\\libmboltarm.dylib");
  EXPECT_EQ(OpenAs("n\\ame", options), kOpened);
}

TEST_F(ProbelibLoad, GoesOnToTheExecutablesFolderWhenTheModuleHasNoName) {
  PutLibrary(Folder() / kLibraryName);
  const support::ChildOptions options{.environment = {"LD_LIBRARY_PATH=" + Folder().native()}};
  EXPECT_EQ(OpenAs("", options), kNotOpened);
  PutLibrary(places_[2]);
  EXPECT_EQ(OpenAs("", options), kOpened);
}

TEST_F(ProbelibLoad, TakesAModulePathOf511Characters) {
  const std::string folder = FolderOfLength(400);
  PutLibrary(folder + kLibraryName);
  EXPECT_EQ(OpenAs(folder + std::string(111, 'n')), kOpened);
}

TEST_F(ProbelibLoad, SkipsTheModulesFolderWhenItsPathHas512Characters) {
  const std::string folder = FolderOfLength(400);
  PutLibrary(folder + kLibraryName);
  EXPECT_EQ(OpenAs(folder + std::string(112, 'n')), kNotOpened);
  EXPECT_EQ(OpenAs(folder + std::string(2000, 'n')), kNotOpened);
  PutLibrary(places_[2]);
  EXPECT_EQ(OpenAs(folder + std::string(112, 'n')), kOpened);
}

TEST_F(ProbelibLoad, CutsCandidatesTo511Characters) {
  const std::string folder = FolderOfLength(500);
  PutLibrary(folder + kLibraryName);
  EXPECT_EQ(OpenAs(folder + "name"), kNotOpened);
  PutLibrary(folder + "libmboltarm");  // the first 11 characters of the file name
  EXPECT_EQ(OpenAs(folder + "name"), kOpened);
}

// ---- The executable's path ----

TEST_F(ProbelibLoad, TakesAnExecutablePathOf511Characters) {
  const std::string folder = FolderOfLength(490);
  PutLibrary(folder + kLibraryName);
  const support::ChildOptions options{.program =
                                          Place(PROBE_CALLER_PATH, folder + std::string(21, 'p'))};
  EXPECT_EQ(probe_test::Run({"", "open", "handle"}, options), kOpened);
}

TEST_F(ProbelibLoad, LooksWhereACutExecutablePathEnds) {
  const std::string outer = FolderOfLength(450);
  const std::string inner = outer + std::string(100, 'e') + "/";
  const support::ChildOptions options{.program = Place(PROBE_CALLER_PATH, inner + "caller")};
  PutLibrary(inner + kLibraryName);
  EXPECT_EQ(probe_test::Run({"", "open", "handle"}, options), kNotOpened);
  PutLibrary(outer + kLibraryName);
  EXPECT_EQ(probe_test::Run({"", "open", "handle"}, options), kOpened);
}

TEST_F(ProbelibLoad, KeepsTheFirst511CharactersOfTheExecutablesPath) {
  const std::string folder = FolderOfLength(511);
  const support::ChildOptions options{.program = Place(PROBE_CALLER_PATH, folder + "caller")};
  // The folder fills the buffer, so that no file name fits behind it; the one around it is not meant.
  PutLibrary(fs::path(folder).parent_path().parent_path() / kLibraryName);
  EXPECT_EQ(probe_test::Run({"", "open", "handle"}, options), kNotOpened);
}

// ---- As a loadable module ----

class ProbeModule : public ProbelibLoad {
 protected:
  Result CallOpenThrough(const fs::path& module) const {
    return RunAs("", {"module", module, "call", "MBOLT_Open"});
  }

  const Result called_{"module: loaded\nMBOLT_Open: 0xee4aa131b9dbd4cc\n", 0};
};

TEST_F(ProbeModule, LooksBesideItselfBeforeItLooksBesideTheExecutable) {
  const fs::path module = Place(PROBE_MODULE_PATH, Folder() / "module/one/two/three/probe.so");
  for (const fs::path& place : places_) PutOtherLibrary(place);
  for (const fs::path& place : places_) {
    SCOPED_TRACE(place);
    fs::remove(place);
    PutLibrary(place);
    EXPECT_EQ(CallOpenThrough(module), called_);
    fs::remove(place);
  }
  EXPECT_EQ(CallOpenThrough(module),
            (Result{std::string("module: loaded\n") + kCannotOpenExiting, 1}));
}

TEST_F(ProbeModule, LooksBesideTheExecutableWhenItsOwnPathIsTooLong) {
  const std::string folder = FolderOfLength(480);
  const fs::path module = Place(PROBE_MODULE_PATH, folder + std::string(32, 'm'));
  PutOtherLibrary(folder + kLibraryName);
  PutLibrary(places_[2]);
  EXPECT_EQ(CallOpenThrough(module), called_);
}

}  // namespace
