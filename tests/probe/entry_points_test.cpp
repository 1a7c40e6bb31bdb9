// SPDX-License-Identifier: MIT

// What the entry points do with a call. Every test runs a program of its own (probe_caller.cpp), with
// the library beside it.
#include <gtest/gtest.h>
#include <inttypes.h>

#include <set>

#include "tests/probe/entry_point_list.h"
#include "tests/probe/probe_run.h"
#include "tests/support/stream_reader.h"

namespace {

namespace fs = std::filesystem;
using probe_test::kCannotOpenExiting;
using probe_test::kEntryPoints;
using probe_test::kLibraryName;
using probe_test::Place;
using probe_test::ReadFile;
using probe_test::Result;

class ProbeEntryPoints : public testing::Test {
 protected:
  ProbeEntryPoints() { Place(PROBE_CALLER_PATH, Folder() / "caller"); }

  fs::path Folder() const { return folder_.path(); }
  void PutLibrary(const fs::path& library) const { Place(library, Folder() / kLibraryName); }

  // Runs a program of this folder, with more variables in its environment.
  Result RunHere(std::vector<std::string> arguments,
                 const std::vector<std::string>& environment = {}) const {
    arguments[0] = Folder() / arguments[0];
    support::ChildOptions options{.environment = environment};
    options.environment.push_back("PROBE_LIBRARY_LOG=" + (Folder() / "calls.txt").native());
    return probe_test::Run(arguments, options);
  }
  Result Run(std::vector<std::string> commands,
             const std::vector<std::string>& environment = {}) const {
    commands.insert(commands.begin(), "caller");
    return RunHere(commands, environment);
  }

  // The calls that reached the library, a line each.
  std::string Calls() const { return ReadFile(Folder() / "calls.txt"); }

  // Runs commands and returns how often they looked a function up in the library, in addition to
  // what opening the library alone looks up.
  size_t LookupsOf(const std::string& name, const std::vector<std::string>& commands) const {
    return LookupsIn("commands", name, commands) - LookupsIn("open", name, {"open"});
  }

 private:
  // The dynamic loader writes down what it looks up.
  size_t LookupsIn(const std::string& log, const std::string& name,
                   const std::vector<std::string>& commands) const {
    const fs::path file = Folder() / (log + " " + name);
    Run(commands, {"LD_DEBUG=symbols", "LD_DEBUG_OUTPUT=" + file.native()});
    const std::string library = Folder() / kLibraryName;
    return support::CountOf(probe_test::ReadFilesNamed(Folder(), file.filename()),
                            "symbol=" + name + ";  lookup in file=" + library);
  }

  const support::TemporaryFolder folder_;
};

// ---- Bound calls ----

TEST_F(ProbeEntryPoints, OpenTheLibraryAtTheFirstCallAndReturnItsValue) {
  PutLibrary(PROBE_LIBRARY_PATH);
  EXPECT_EQ(Run({"handle", "call", "MBOLTARM_Clock", "handle", "call", "MBOLTARM_Clock"}).output,
            "handle: null\nMBOLTARM_Clock: 0xab35cd26397274ea\n"
            "handle: set\nMBOLTARM_Clock: 0xab35cd26397274ea\n");
  EXPECT_EQ(Calls(), "MBOLTARM_Clock()\nMBOLTARM_Clock()\n");
}

TEST_F(ProbeEntryPoints, LookTheirNameUpOnce) {
  PutLibrary(PROBE_LIBRARY_PATH);
  const std::vector<std::string> calls = {"call", "MBOLTARM_Clock", "call", "MBOLTARM_Clock",
                                          "call", "MBOLT_Clock",    "call", "MBOLTARM_Clock"};
  EXPECT_EQ(LookupsOf("MBOLTARM_Clock", calls), 1U);
  EXPECT_EQ(LookupsOf("MBOLT_Clock", calls), 1U);
  EXPECT_EQ(LookupsOf("MBOLT_Open", calls), 0U);
}

TEST_F(ProbeEntryPoints, UseALibraryThatWasOpenedBefore) {
  PutLibrary(PROBE_LIBRARY_PATH);
  EXPECT_EQ(
      Run({"open", "rename", Folder() / kLibraryName, Folder() / "aside", "call", "MBOLT_Open"}),
      (Result{"open: 0\nrename: 0\nMBOLT_Open: 0xee4aa131b9dbd4cc\n", 0}));
}

TEST_F(ProbeEntryPoints, PassSixArgumentsInOrderAndWhole) {
  PutLibrary(PROBE_LIBRARY_PATH);
  const std::vector<std::string> call = {"call",
                                         "MBOLTARM_SetWP",
                                         "0x1111111111111111",
                                         "0x8000000000000002",
                                         "0xffffffffffffffff",
                                         "0x0",
                                         "0x5555aaaa5555aaaa",
                                         "0x6"};
  std::vector<std::string> twice = call;
  twice.insert(twice.end(), call.begin(), call.end());
  EXPECT_EQ(Run(twice).output,
            "MBOLTARM_SetWP: 0xa1ae47d93850981b\nMBOLTARM_SetWP: 0xa1ae47d93850981b\n");
  const std::string line =
      "MBOLTARM_SetWP(0x1111111111111111, 0x8000000000000002, 0xffffffffffffffff, 0x0, "
      "0x5555aaaa5555aaaa, 0x6)\n";
  EXPECT_EQ(Calls(), line + line);
}

TEST_F(ProbeEntryPoints, TellTheTwoPrefixesApart) {
  PutLibrary(PROBE_LIBRARY_PATH);
  EXPECT_EQ(Run({"call", "MBOLT_SetWP", "1", "2", "3", "4", "5", "6", "call", "MBOLTARM_SetWP", "7",
                 "8", "9", "10", "11", "12"})
                .output,
            "MBOLT_SetWP: 0x889e766b51cd29b\nMBOLTARM_SetWP: 0xa1ae47d93850981b\n");
  EXPECT_EQ(Calls(),
            "MBOLT_SetWP(0x1, 0x2, 0x3, 0x4, 0x5, 0x6)\n"
            "MBOLTARM_SetWP(0x7, 0x8, 0x9, 0xa, 0xb, 0xc)\n");
}

// The first round goes through the binders, the second straight to the library.
TEST_F(ProbeEntryPoints, AllPassTheirArgumentsOnAndReturnTheLibrarysValue) {
  PutLibrary(PROBE_LIBRARY_PATH);
  std::string results;
  std::string calls;
  std::set<intptr_t> values;
  for (int round = 0; round < 2; ++round) {
    for (const auto& entry_point : kEntryPoints) {
      values.insert(probe_test::ValueOf(entry_point.name));
      char text[32];
      snprintf(text, sizeof text, "0x%" PRIxPTR "\n",
               static_cast<uintptr_t>(probe_test::ValueOf(entry_point.name)));
      results += text;
      calls += entry_point.name + std::string("(");
      const char* separator = "";
      for (const uintptr_t argument : probe_test::PatternsFor(entry_point, round)) {
        snprintf(text, sizeof text, "%s0x%" PRIxPTR, separator, argument);
        calls += text;
        separator = ", ";
      }
      calls += ")\n";
    }
  }
  EXPECT_EQ(values.size(), 631U);
  EXPECT_EQ(Run({"call-all", "2"}), (Result{results, 0}));
  EXPECT_EQ(Calls(), calls);
}

TEST_F(ProbeEntryPoints, PassFunctionsAndObjectsThatTheLibraryUses) {
  PutLibrary(CALLING_LIBRARY_PATH);
  EXPECT_EQ(Run({"callback", "callback"}), (Result{"result -7, called 2 times, object after\n"
                                                   "result -7, called 2 times, object after\n",
                                                   0}));
}

// ---- What the library lacks ----

TEST_F(ProbeEntryPoints, EndTheProcessWhenNoPlaceHasTheLibrary) {
  EXPECT_EQ(Run({"call", "MBOLTARM_Clock"}), (Result{kCannotOpenExiting, 1}));
  EXPECT_EQ(Run({"call", "MBOLT_SetWP", "1", "2", "3", "4", "5", "6"}),
            (Result{kCannotOpenExiting, 1}));
}

TEST_F(ProbeEntryPoints, EndTheProcessWhenTheLibraryLacksTheCalledFunction) {
  PutLibrary(LIBRARY_WITHOUT_OPEN_PATH);
  const std::string library = Folder() / kLibraryName;
  EXPECT_EQ(Run({"call", "MBOLTARM_Clock", "call", "MBOLT_Open", "call", "MBOLTARM_Clock"}),
            (Result{"MBOLTARM_Clock: 0xab35cd26397274ea\nFunction not found: MBOLT_Open (" +
                        library + ": undefined symbol: MBOLT_Open). Exiting now.\n",
                    1}));
  EXPECT_EQ(Calls(), "MBOLTARM_Clock()\n");
}

TEST_F(ProbeEntryPoints, CloseTheLibraryBeforeTheySayWhatItLacks) {
  PutLibrary(CLOSING_LIBRARY_PATH);
  const std::string library = Folder() / kLibraryName;
  EXPECT_EQ(Run({"call", "MBOLT_Open"}),
            (Result{"The library is closed.\nFunction not found: MBOLT_Open (" + library +
                        ": undefined symbol: MBOLT_Open). Exiting now.\n",
                    1}));
}

TEST_F(ProbeEntryPoints, GiveZeroForANullSymbolAndLookItUpAtEveryCall) {
  PutLibrary(LIBRARY_WITH_NULL_LOCK_PATH);
  const std::vector<std::string> calls = {"call", "MBOLT_Lock", "call", "MBOLT_Open",
                                          "call", "MBOLT_Lock", "call", "MBOLT_Lock"};
  EXPECT_EQ(Run(calls), (Result{"MBOLT_Lock: 0x0\nMBOLT_Open: 0xee4aa131b9dbd4cc\n"
                                "MBOLT_Lock: 0x0\nMBOLT_Lock: 0x0\n",
                                0}));
  EXPECT_EQ(Calls(), "MBOLT_Open()\n");
  EXPECT_EQ(LookupsOf("MBOLT_Lock", calls), 3U);
  EXPECT_EQ(LookupsOf("MBOLT_Open", calls), 1U);
}

// ---- Threads ----

TEST_F(ProbeEntryPoints, AreBoundRightByFirstCallsOnFourThreadsAtOnce) {
  PutLibrary(PROBE_LIBRARY_PATH);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Run({"race", "4"}), (Result{"", 0}));
  EXPECT_EQ(support::CountOf(Calls(), "MBOLT_Open()\n"), 12U);
}

// ---- Where the entry points can be called from ----

TEST_F(ProbeEntryPoints, AllPassThroughTheModule) {
  PutLibrary(PROBE_LIBRARY_PATH);
  const Result linked = Run({"call-all", "2"});
  const std::string calls = Calls();
  fs::remove(Folder() / "calls.txt");
  const Result loaded =
      Run({"module", Place(PROBE_MODULE_PATH, Folder() / "probe.so"), "call-all", "2"});
  EXPECT_EQ(loaded, (Result{"module: loaded\n" + linked.output, 0}));
  EXPECT_EQ(Calls(), calls);
}

TEST_F(ProbeEntryPoints, AreThereForCodeThatTheClientLoads) {
  PutLibrary(PROBE_LIBRARY_PATH);
  Place(VQXCLIENT_PATH, Folder() / "client");
  // The sanitizer would be first to load otherwise, and insists on it.
  EXPECT_EQ(RunHere({"client"}, {std::string("LD_PRELOAD=") + PRELOADED_PATH,
                                 "ASAN_OPTIONS=verify_asan_link_order=0"}),
            (Result{"0x26ba3072011ee2bd 0xab35cd26397274ea\n", 5}));
  EXPECT_EQ(Calls(), "MBOLT_ReadMemU32(0x20000000, 0x4, 0x1234, 0x0)\nMBOLTARM_Clock()\n");
}

}  // namespace
