// SPDX-License-Identifier: MIT

// The search when the system does not tell where the module or the executable is.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "probe/probelib.h"
#include "tests/probe/probe_run.h"

namespace {

using probe_test::kLibraryName;
using probe_test::Place;

// What the system tells; null is a failure, which leaves a path behind that nobody may follow.
const char* module_path = nullptr;
const char* path_left_behind = nullptr;
const char* executable_path = nullptr;

}  // namespace

extern "C" {
int __wrap_dladdr(const void* address, Dl_info* info);
size_t __wrap__ZN8platform14ExecutablePathEPcm(char* path, size_t capacity);
}

int __wrap_dladdr(const void*, Dl_info* info) {
  *info = {};
  info->dli_fname = module_path != nullptr ? module_path : path_left_behind;
  return module_path != nullptr ? 1 : 0;
}

size_t __wrap__ZN8platform14ExecutablePathEPcm(char* path, size_t capacity) {
  if (executable_path == nullptr) return 0;
  const size_t length = std::string(executable_path).copy(path, capacity - 1);
  path[length] = '\0';
  return length;
}

namespace {

class ProbelibFaults : public testing::Test {
 protected:
  ProbelibFaults() {
    Place(PROBE_LIBRARY_PATH, folder_.path() / kLibraryName);
    path_left_behind = path_.c_str();
  }

  const support::TemporaryFolder folder_;
  const std::string path_ = folder_.path() / "program";
};

TEST_F(ProbelibFaults, ModuleThatIsNotKnownLeavesTheExecutablesFolder) {
  executable_path = path_.c_str();
  EXPECT_EQ(PROBELIB_Open(), 0);
}

TEST_F(ProbelibFaults, ExecutableThatIsNotKnownLeavesTheModulesFolder) {
  module_path = path_.c_str();
  EXPECT_EQ(PROBELIB_Open(), 0);
}

TEST_F(ProbelibFaults, NothingThatIsKnownLeavesTheInstallationFolder) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(PROBELIB_Open(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), probe_test::kCannotOpen);
}

TEST_F(ProbelibFaults, PathOfTheExecutableIsAskedForWhenTheModulesFolderHasNone) {
  module_path = "/nowhere/program";
  executable_path = path_.c_str();
  EXPECT_EQ(PROBELIB_Open(), 0);
}

}  // namespace
