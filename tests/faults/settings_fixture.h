// SPDX-License-Identifier: MIT

// A settings store whose file is in the hands of a fault test.
#ifndef TARVEN_TESTS_FAULTS_SETTINGS_FIXTURE_H_
#define TARVEN_TESTS_FAULTS_SETTINGS_FIXTURE_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/settings/registry_fixture.h"

namespace fault_test {

// Files that are written thousands of times lie in memory, where the system has a folder there.
inline const bool files_are_in_memory =
    std::filesystem::is_directory("/dev/shm") && setenv("TMPDIR", "/dev/shm", 1) == 0;

// The current folder is the home as well: a file that ends up in it is noticed and goes with it.
class SettingsFaults : public registry_test::SysReg {
 protected:
  SettingsFaults() { std::filesystem::current_path(home_.path()); }

  // A file with a value that the test changes, and one beside it that has to stay.
  static std::string FileWith(uint32_t number) {
    return "<Registry>\r\n"
           "  <Key N=\"0x0000000" +
           std::to_string(number) +
           "\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\"/>\r\n"
           "  <Other S=\"kept\" S_TARVENRegType=\"SYS_REG_TYPE_SZ\"/>\r\n"
           "</Registry>\r\n";
  }

  // Opens the key, sets its value and flushes. Returns what the setting returned, 1 without a key.
  static int32_t SetAndFlush(uint32_t number) {
    int32_t result = 1;
    {
      const registry_test::Key key;
      if (key.handle() != nullptr) result = key.SetDword("N", number);
    }
    SYS_REG_Flush();
    return result;
  }

  // A value can be set, written and read again.
  static void ExpectWorks() {
    EXPECT_EQ(SetAndFlush(7), 0);
    EXPECT_EQ(registry_test::Key().Dword("N"), 7);
    SYS_REG_Flush();
  }
};

}  // namespace fault_test

#endif
