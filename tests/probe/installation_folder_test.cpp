// SPDX-License-Identifier: MIT

// The places in the installation folder, which are the same for every process: nothing else runs
// beside this test, and it keeps its hands off a folder that is there already.
#include <gtest/gtest.h>

#include "tests/probe/probe_run.h"

namespace {

namespace fs = std::filesystem;
using probe_test::kCannotOpen;
using probe_test::kLibraryName;
using probe_test::Place;
using probe_test::Result;

const fs::path kInstallation = "/Applications/TARVEN/MBolt";
constexpr char kVersionedName[] = "libmboltarm.5.dylib";

class ProbelibInstallationFolder : public testing::Test {
 protected:
  void SetUp() override {
    for (fs::path path = kInstallation; path.has_relative_path(); path = path.parent_path()) {
      if (!fs::exists(path)) made_ = path;
    }
    if (made_ != kInstallation && !made_.empty() && !fs::exists(kInstallation)) {
      std::error_code error;
      fs::create_directories(kInstallation, error);
      if (!error) return;
      made_.clear();
      GTEST_SKIP() << kInstallation << " cannot be made here: " << error.message();
    }
    made_.clear();
    GTEST_SKIP() << kInstallation << " is there already and stays as it is";
  }
  void TearDown() override {
    if (!made_.empty()) fs::remove_all(made_);
  }

  Result Run(const std::vector<std::string>& commands) const {
    std::vector<std::string> arguments = {folder_.path() / "caller"};
    arguments.insert(arguments.end(), commands.begin(), commands.end());
    return probe_test::Run(arguments);
  }

  const support::TemporaryFolder folder_;
  const fs::path program_ = Place(PROBE_CALLER_PATH, folder_.path() / "caller");
  // The outermost folder that this test made.
  fs::path made_;

  const Result open_called_{"MBOLT_Open: 0xee4aa131b9dbd4cc\n", 0};
};

TEST_F(ProbelibInstallationFolder, IsTheFifthPlace) {
  Place(PROBE_LIBRARY_PATH, kInstallation / kLibraryName);
  Place(LIBRARY_WITHOUT_OPEN_PATH, kInstallation / kVersionedName);
  EXPECT_EQ(Run({"call", "MBOLT_Open"}), open_called_);
}

TEST_F(ProbelibInstallationFolder, HoldsTheVersionedFileAsTheSixthPlace) {
  Place(PROBE_LIBRARY_PATH, kInstallation / kVersionedName);
  EXPECT_EQ(Run({"call", "MBOLT_Open"}), open_called_);
}

TEST_F(ProbelibInstallationFolder, ComesAfterTheProgramsOwn) {
  Place(LIBRARY_WITHOUT_OPEN_PATH, kInstallation / kLibraryName);
  Place(PROBE_LIBRARY_PATH, folder_.path() / kLibraryName);
  EXPECT_EQ(Run({"call", "MBOLT_Open"}), open_called_);
}

TEST_F(ProbelibInstallationFolder, IsNotLookedIntoForOtherNames) {
  Place(PROBE_LIBRARY_PATH, kInstallation / "libmboltarm.4.dylib");
  Place(PROBE_LIBRARY_PATH, kInstallation / "libmboltarm.5.dylib.old");
  EXPECT_EQ(Run({"open"}), (Result{std::string(kCannotOpen) + "open: -1\n", 0}));
}

}  // namespace
