// SPDX-License-Identifier: MIT

// The USB serial devices that Linux has, on a /sys of the test's own.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "sys/serial.h"
#include "tests/support/child_process.h"

namespace {

constexpr int kNotAllowed = 77;

// Runs check in a child whose /sys/class/tty holds these names; without names there is no such
// folder. Returns what check returns.
int WithTerminals(const std::vector<std::string>& names, const std::function<int()>& check) {
  return support::RunInChild([&] {
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", "/sys", "tmpfs", 0, nullptr) != 0) {
      return kNotAllowed;
    }
    std::string path = "/sys/class";
    if (!names.empty()) {
      mkdir(path.c_str(), 0755);
      path += "/tty";
      mkdir(path.c_str(), 0755);
    }
    for (const std::string& name : names) mkdir((path + "/" + name).c_str(), 0755);
    return check();
  });
}

TEST(SysComEnumPorts, FindsTheUsbDevicesAmongTheTerminals) {
  const int status = WithTerminals({"tty", "ttyS0", "ttyUSB7", "ttyUS", "xttyACM1"}, [] {
    char names[2][SYS_COM_NAME_SIZE] = {};
    if (SYS_COM_EnumPorts(names, 2) != 1) return 1;
    return strcmp(names[0], "ttyUSB7") == 0 ? 0 : 2;
  });
  if (status == kNotAllowed) GTEST_SKIP() << "a /sys of its own needs root and the right to mount";
  EXPECT_EQ(status, 0);
}

TEST(SysComEnumPorts, FindsModemsOnUsbToo) {
  const int status = WithTerminals({"ttyACM0", "ttyUSB0"},
                                   [] { return SYS_COM_EnumPorts(nullptr, 0) == 2 ? 0 : 1; });
  if (status == kNotAllowed) GTEST_SKIP() << "a /sys of its own needs root and the right to mount";
  EXPECT_EQ(status, 0);
}

TEST(SysComEnumPorts, FindsNoneWhereTheSystemDoesNotTell) {
  const int status = WithTerminals({}, [] { return SYS_COM_EnumPorts(nullptr, 0) == 0 ? 0 : 1; });
  if (status == kNotAllowed) GTEST_SKIP() << "a /sys of its own needs root and the right to mount";
  EXPECT_EQ(status, 0);
}

}  // namespace
