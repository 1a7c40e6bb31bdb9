// SPDX-License-Identifier: MIT

// Where the program and its module lie, and where their temporary files may.
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sys/paths.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/temporary_home.h"

// ---- What the tests put between the paths and the system ----

namespace {

// What the dynamic linker says instead of the truth; empty when it does not tell.
std::optional<std::string> module_name;
const void* asked_address = nullptr;

// Links that lead somewhere although they are not there.
std::map<std::string, std::string> links;

// What the system says instead of the truth; empty when it does not tell.
std::optional<std::string> executable_path;

// What unique files were asked for.
std::vector<std::string> templates;

}  // namespace

extern "C" {

int __real_dladdr(const void* address, Dl_info* info);
int __wrap_dladdr(const void* address, Dl_info* info);
ssize_t __real_readlink(const char* path, char* target, size_t capacity);
ssize_t __wrap_readlink(const char* path, char* target, size_t capacity);
int __real_mkostemp(char* path, int flags);
int __wrap_mkostemp(char* path, int flags);
size_t __real__ZN8platform14ExecutablePathEPcm(char* path, size_t capacity);
size_t __wrap__ZN8platform14ExecutablePathEPcm(char* path, size_t capacity);

int __wrap_dladdr(const void* address, Dl_info* info) {
  asked_address = address;
  if (!module_name) return __real_dladdr(address, info);
  info->dli_fname = module_name->c_str();
  return module_name->empty() ? 0 : 1;
}

ssize_t __wrap_readlink(const char* path, char* target, size_t capacity) {
  const auto link = links.find(path);
  if (link == links.end()) return __real_readlink(path, target, capacity);
  return static_cast<ssize_t>(link->second.copy(target, capacity));
}

int __wrap_mkostemp(char* path, int flags) {
  templates.emplace_back(path);
  return __real_mkostemp(path, flags);
}

size_t __wrap__ZN8platform14ExecutablePathEPcm(char* path, size_t capacity) {
  if (!executable_path) return __real__ZN8platform14ExecutablePathEPcm(path, capacity);
  EXPECT_EQ(capacity, 4096U);
  const std::string text = executable_path->empty() ? "/rubbish" : *executable_path;
  path[text.copy(path, capacity - 1)] = '\0';
  return executable_path->size();
}

}  // extern "C"

namespace {

using support::GuardedBuffer;
using support::OpenDescriptors;
using support::TemporaryHome;
using testing::ElementsAre;

namespace fs = std::filesystem;

// The path that the system started.
std::string OwnPath() { return fs::canonical("/proc/self/exe"); }

class Program : public testing::Test {
 protected:
  ~Program() override {
    module_name.reset();
    links.clear();
    executable_path.reset();
    templates.clear();
  }

  TemporaryHome home_;
};

using SysGetModulePath = Program;
using SysGetModuleDir = Program;
using SysGetExePath = Program;
using SysGetExeDir = Program;
using SysGetTempDir = Program;

std::string ModulePath(uint32_t capacity = 4096) {
  GuardedBuffer output(capacity);
  SYS_GetModulePath(output.data(), capacity);
  return output.data();
}

std::string ModuleDir() {
  GuardedBuffer output(512);
  SYS_GetModuleDir(output.data());
  return output.data();
}

// ---- SYS_GetModulePath ----

TEST_F(SysGetModulePath, IsTheFileThatHoldsTheCode) {
  EXPECT_EQ(fs::canonical(ModulePath()), OwnPath());
  Dl_info info{};
  ASSERT_NE(__real_dladdr(asked_address, &info), 0);
  EXPECT_STREQ(info.dli_sname == nullptr ? "SYS_GetModulePath" : info.dli_sname,
               "SYS_GetModulePath");
}

TEST_F(SysGetModulePath, PathThatIsNoLinkStaysAsItIs) {
  module_name = home_.Write("program", "");
  EXPECT_EQ(ModulePath(), *module_name);
  module_name = "/nowhere/./program";
  EXPECT_EQ(ModulePath(), "/nowhere/./program");
  module_name = "./program";
  EXPECT_EQ(ModulePath(), "./program");
}

TEST_F(SysGetModulePath, LinkerThatDoesNotTellGivesAnEmptyText) {
  module_name = "";
  EXPECT_EQ(ModulePath(), "");
}

TEST_F(SysGetModulePath, AbsoluteTargetReplacesThePath) {
  const std::string program = home_.Write("program", "");
  fs::create_symlink(program, home_.At("link"));
  module_name = home_.At("link");
  EXPECT_EQ(ModulePath(), program);
}

TEST_F(SysGetModulePath, RelativeTargetReplacesTheLastComponent) {
  fs::create_directories(home_.At("bin"));
  fs::create_directories(home_.At("lib"));
  home_.Write("lib/program", "");
  fs::create_symlink("../lib/program", home_.At("bin/link"));
  module_name = home_.At("bin/link");
  EXPECT_EQ(ModulePath(), home_.At("bin/../lib/program"));
}

TEST_F(SysGetModulePath, ChainOfLinksIsFollowedToItsEnd) {
  fs::create_directories(home_.At("a/b"));
  fs::create_symlink("b/second", home_.At("a/first"));
  fs::create_symlink(home_.At("third"), home_.At("a/b/second"));
  fs::create_symlink("missing", home_.At("third"));
  module_name = home_.At("a/first");
  EXPECT_EQ(ModulePath(), home_.At("missing"));
}

TEST_F(SysGetModulePath, LinkInTheRootFolderLosesItsSlash) {
  module_name = "/link";
  links["/link"] = "target";
  EXPECT_EQ(ModulePath(), "target");
}

TEST_F(SysGetModulePath, DoubledSlashBeforeALinkStaysDoubled) {
  fs::create_symlink("program", home_.At("link"));
  module_name = home_.path() + "//link";
  EXPECT_EQ(ModulePath(), home_.path() + "/program");
  module_name = home_.path() + "///link";
  EXPECT_EQ(ModulePath(), home_.path() + "//program");
}

TEST_F(SysGetModulePath, LinksThatLeadInACircleEnd) {
  fs::create_symlink("second", home_.At("first"));
  fs::create_symlink("first", home_.At("second"));
  module_name = home_.At("first");
  EXPECT_THAT(ModulePath(), testing::AnyOf(home_.At("first"), home_.At("second")));
}

// Every step of following this one makes the path 200 characters longer.
TEST_F(SysGetModulePath, LinkThatLeadsToItselfOnALongerPathStaysWithinTheBuffers) {
  std::string detour;
  for (int i = 0; i < 100; ++i) detour += "./";
  fs::create_symlink(detour + "link", home_.At("link"));
  module_name = home_.At("link");
  EXPECT_EQ(ModulePath().size(), 2047U);
}

TEST_F(SysGetModulePath, BareNameThatIsALinkInUsrLocalBinIsItsTarget) {
  module_name = "program";
  links["/usr/local/bin/program"] = "/opt/tool/bin/program";
  EXPECT_EQ(ModulePath(), "/opt/tool/bin/program");
  links["/opt/tool/bin/program"] = "program-2.0";
  EXPECT_EQ(ModulePath(), "/opt/tool/bin/program-2.0");
}

TEST_F(SysGetModulePath, TargetInUsrLocalBinIsTakenAsStored) {
  module_name = "program";
  links["/usr/local/bin/program"] = "../tool/program";
  EXPECT_EQ(ModulePath(), "../tool/program");
}

TEST_F(SysGetModulePath, BareNameThatIsNoLinkThereStays) {
  module_name = "no-such-program";
  EXPECT_EQ(ModulePath(), "no-such-program");
  fs::current_path(home_.path());
  fs::create_symlink("target", home_.At("no-such-program"));
  EXPECT_EQ(ModulePath(), "target") << "it is a link of the working directory all the same";
}

TEST_F(SysGetModulePath, NameWithASlashIsNotLookedUp) {
  module_name = "./program";
  links["/usr/local/bin/./program"] = "/wrong";
  EXPECT_EQ(ModulePath(), "./program");
}

TEST_F(SysGetModulePath, LongNamesAndTargetsAreCutAt2047Characters) {
  module_name = "/" + std::string(5000, 'n');
  EXPECT_EQ(ModulePath(), module_name->substr(0, 2047));
  module_name = std::string(5000, 'n');
  EXPECT_EQ(ModulePath(), module_name->substr(0, 2047));
  module_name = "/d/link";
  links["/d/link"] = "/" + std::string(5000, 't');
  EXPECT_EQ(ModulePath(), "/" + std::string(2046, 't'));
  links["/d/link"] = std::string(5000, 't');
  EXPECT_EQ(ModulePath(), "/d/" + std::string(2044, 't'));
}

TEST_F(SysGetModulePath, CutsAtCapacityLessOne) {
  module_name = "/nowhere/program";
  EXPECT_EQ(ModulePath(17), "/nowhere/program");
  EXPECT_EQ(ModulePath(16), "/nowhere/progra");
  EXPECT_EQ(ModulePath(1), "");
}

TEST_F(SysGetModulePath, WithoutOutputOrCapacityNothingIsStored) {
  GuardedBuffer output(8);
  SYS_GetModulePath(output.data(), 0);
  EXPECT_TRUE(output.IsUntouched(0, 8));
  SYS_GetModulePath(nullptr, 8);
}

// ---- SYS_GetModuleDir ----

TEST_F(SysGetModuleDir, IsTheFolderOfTheModuleWithASlash) {
  EXPECT_EQ(fs::canonical(ModuleDir()), fs::path(OwnPath()).parent_path());
  EXPECT_THAT(ModuleDir(), testing::EndsWith("/"));
  const struct {
    const char* module;
    const char* folder;
  } cases[] = {
      {"/nowhere/bin/program.d/program.so", "/nowhere/bin/program.d/"},
      {"./program", "./"},
      {"program", ""},
      {"/program", ""},  // its directory part is empty
      {"/nowhere//program", "/nowhere/"},
      {"", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.module);
    module_name = c.module;
    EXPECT_EQ(ModuleDir(), c.folder);
  }
}

TEST_F(SysGetModuleDir, IsThatOfTheLinksTarget) {
  fs::create_symlink("/nowhere/program", home_.At("link"));
  module_name = home_.At("link");
  EXPECT_EQ(ModuleDir(), "/nowhere/");
}

TEST_F(SysGetModuleDir, ModulePathIsCutAt511CharactersFirst) {
  const std::string a(300, 'a');
  const std::string b(209, 'b');
  module_name = "/" + a + "/" + b + "/program";
  EXPECT_EQ(ModuleDir(), "/" + a + "/");
  module_name = "/" + a + "/" + b.substr(0, 208) + "/program";
  EXPECT_EQ(ModuleDir(), "/" + a + "/" + b.substr(0, 208) + "/");
}

TEST_F(SysGetModuleDir, NullOutputIsIgnored) { SYS_GetModuleDir(nullptr); }

// ---- SYS_GetExePath and SYS_GetExeDir ----

std::string ExePath(uint32_t capacity = 4096) {
  GuardedBuffer output(capacity);
  SYS_GetExePath(output.data(), capacity);
  return output.data();
}

std::string ExeDir() {
  GuardedBuffer output(512);
  SYS_GetExeDir(output.data());
  return output.data();
}

TEST_F(SysGetExePath, IsThePathOfTheRunningProgram) { EXPECT_EQ(ExePath(), OwnPath()); }

TEST_F(SysGetExePath, PathThatDoesNotFitGivesAnEmptyText) {
  executable_path = "/d/program";
  EXPECT_EQ(ExePath(11), "/d/program");
  EXPECT_EQ(ExePath(10), "");
  EXPECT_EQ(ExePath(1), "");
  executable_path = "/" + std::string(4000, 'n');
  EXPECT_EQ(ExePath(), *executable_path);
  EXPECT_EQ(ExePath(512), "");
}

TEST_F(SysGetExePath, SystemThatDoesNotTellGivesAnEmptyText) {
  executable_path = "";
  EXPECT_EQ(ExePath(), "");
}

TEST_F(SysGetExePath, WithoutOutputOrCapacityNothingIsStored) {
  GuardedBuffer output(8);
  SYS_GetExePath(output.data(), 0);
  EXPECT_TRUE(output.IsUntouched(0, 8));
  SYS_GetExePath(nullptr, 8);
}

TEST_F(SysGetExeDir, IsTheFolderOfTheRunningProgramWithASlash) {
  EXPECT_EQ(ExeDir(), fs::path(OwnPath()).parent_path().string() + "/");
  executable_path = "/d.e/program.x";
  EXPECT_EQ(ExeDir(), "/d.e/");
  executable_path = "/program";
  EXPECT_EQ(ExeDir(), "");
}

TEST_F(SysGetExeDir, PathOfMoreThan511CharactersGivesAnEmptyText) {
  const std::string d(250, 'd');
  executable_path = "/" + d + "/" + d + "/" + std::string(8, 'p');
  ASSERT_EQ(executable_path->size(), 511U);
  EXPECT_EQ(ExeDir(), "/" + d + "/" + d + "/");
  *executable_path += "p";
  EXPECT_EQ(ExeDir(), "");
}

TEST_F(SysGetExeDir, SystemThatDoesNotTellGivesAnEmptyText) {
  executable_path = "";
  EXPECT_EQ(ExeDir(), "");
}

TEST_F(SysGetExeDir, NullOutputIsIgnored) { SYS_GetExeDir(nullptr); }

// ---- SYS_GetTempDir ----

std::string TempDir(uint32_t capacity = 2048) {
  GuardedBuffer output(capacity);
  SYS_GetTempDir(output.data(), capacity);
  EXPECT_EQ(output.bytes()[capacity - 1], 0) << "the last byte of the output";
  return output.data();
}

TEST_F(SysGetTempDir, IsTheFolderOfTheModuleWhereFilesCanBeMadeThere) {
  fs::create_directory(home_.At("bin"));
  module_name = home_.At("bin/program");
  EXPECT_EQ(TempDir(), home_.At("bin/"));
  EXPECT_TRUE(fs::is_empty(home_.At("bin")));
  EXPECT_FALSE(fs::exists(home_.At(".TARVEN")));
  EXPECT_THAT(templates, ElementsAre(home_.At("bin//TARVENXXXXXX")));
}

TEST_F(SysGetTempDir, LeavesOneDescriptorPerCall) {
  module_name = home_.At("program");
  const std::vector<int> before = OpenDescriptors();
  TempDir();
  TempDir();
  std::vector<int> left;
  std::ranges::set_difference(OpenDescriptors(), before, std::back_inserter(left));
  ASSERT_EQ(left.size(), 2U);
  for (const int descriptor : left) {
    struct stat status {};
    EXPECT_EQ(fstat(descriptor, &status), 0);
    EXPECT_EQ(status.st_nlink, 0U) << "its file is deleted";
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    close(descriptor);
  }
}

TEST_F(SysGetTempDir, IsAHiddenFolderInHomeWhereNoFileCanBeMade) {
  module_name = "/nowhere/at/all/program";
  const std::vector<int> before = OpenDescriptors();
  const mode_t mask = umask(0);
  EXPECT_EQ(TempDir(), home_.At(".TARVEN"));
  umask(mask);
  struct stat status {};
  EXPECT_EQ(stat(home_.At(".TARVEN").c_str(), &status), 0);
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_EQ(status.st_mode & 07777, 0775U);
  EXPECT_EQ(TempDir(), home_.At(".TARVEN")) << "it is there already";
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SysGetTempDir, StaysWithTheModuleWithoutHome) {
  module_name = "/nowhere/at/all/program";
  unsetenv("HOME");
  EXPECT_EQ(TempDir(), "/nowhere/at/all/");
}

TEST_F(SysGetTempDir, HomeThatIsAFileIsNotNoticed) {
  module_name = "/nowhere/at/all/program";
  setenv("HOME", home_.Write("file", "").c_str(), 1);
  EXPECT_EQ(TempDir(), home_.At("file/.TARVEN"));
}

TEST_F(SysGetTempDir, CutsAtCapacityLessOne) {
  module_name = "/nowhere/at/all/program";
  unsetenv("HOME");
  EXPECT_EQ(TempDir(17), "/nowhere/at/all/");
  EXPECT_EQ(TempDir(16), "/nowhere/at/all");
  EXPECT_EQ(TempDir(2), "/");
  EXPECT_EQ(TempDir(1), "");
}

TEST_F(SysGetTempDir, LongHomeIsCutAt1023Characters) {
  module_name = "/nowhere/at/all/program";
  const std::string long_home = "/" + std::string(5000, 'n');
  setenv("HOME", long_home.c_str(), 1);
  EXPECT_EQ(TempDir(), long_home.substr(0, 1023));
  EXPECT_EQ(TempDir(512), long_home.substr(0, 511));
}

TEST_F(SysGetTempDir, WithoutOutputOrCapacityNothingIsStored) {
  module_name = "/nowhere/at/all/program";
  GuardedBuffer output(8);
  SYS_GetTempDir(output.data(), 0);
  EXPECT_TRUE(output.IsUntouched(0, 8));
  SYS_GetTempDir(nullptr, 8);
}

}  // namespace
