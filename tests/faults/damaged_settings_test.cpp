// SPDX-License-Identifier: MIT

// Settings files that something has damaged: every truncation and every flipped bit of one of 4 KiB.
#include <cstdint>
#include <string>
#include <tuple>

#include "tests/faults/settings_fixture.h"

namespace {

using registry_test::kEmptyFile;
using registry_test::Key;
using namespace std::string_literals;

constexpr size_t kFileSize = 4096;

// Keys inside keys with values of all types; the last value fills the file up to its size.
std::string WholeFile() {
  std::string text = "<Registry>\r\n";
  for (int i = 0; text.size() < kFileSize - 700; ++i) {
    const std::string number = std::to_string(i);
    text += "  <Software" + number +
            " Host=\"target.local\" Host_TARVENRegType=\"SYS_REG_TYPE_SZ\">\r\n";
    text += "    <Probe Port=\"0x00004A4D\" Port_TARVENRegType=\"SYS_REG_TYPE_DWORD\"";
    text += " Id=\"0x000000012345ABCD\" Id_TARVENRegType=\"SYS_REG_TYPE_QWORD\"/>\r\n";
    text +=
        "    <Files F=\"a\" F_TARVENRegMltStr1=\"b\" "
        "F_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\"/>\r\n";
    text += "  </Software" + number + ">\r\n";
  }
  const std::string begin = "  <Last A=\"", middle = "\" B=\"", end = "\"/>\r\n</Registry>\r\n";
  const size_t filling = kFileSize - text.size() - begin.size() - middle.size() - end.size();
  text += begin + std::string(filling / 2, 'a') + middle + std::string(filling - filling / 2, 'b');
  return text + end;
}

class DamagedSettings : public fault_test::SettingsFaults {
 protected:
  // What the next program with these settings comes upon.
  void ExpectUsable(const std::string& damaged) const {
    PutFile(damaged);
    EXPECT_EQ(Key("Software0\\Probe").SetDword("New", 0x1234), 0);
    // Before anything is written the file is as it was or, where it was no document, empty.
    const std::string loaded = File();
    EXPECT_TRUE(loaded == damaged || loaded == kEmptyFile);
    SYS_REG_Flush();
    const std::string written = File();
    EXPECT_EQ(Key("Software0\\Probe").Dword("New"), 0x1234);
    EXPECT_EQ(File(), written);
    SYS_REG_Flush();
    if (HasFailure()) FAIL();
  }
};

TEST_F(DamagedSettings, WholeFileIsReadWhole) {
  const std::string whole = WholeFile();
  ASSERT_EQ(whole.size(), kFileSize);
  PutFile(whole);
  EXPECT_EQ(Key("Software3\\Probe").Dword("Port"), 19021);
  SYS_REG_Flush();
  EXPECT_EQ(File(), whole);
}

// One quarter of the file's bytes, and one bit of each of them.
class DamagedSettingsPart : public DamagedSettings,
                            public testing::WithParamInterface<std::tuple<size_t, int>> {
 protected:
  static size_t begin() { return std::get<0>(GetParam()) * kFileSize / 4; }
  static size_t end() { return begin() + kFileSize / 4; }
  static int bit() { return std::get<1>(GetParam()); }
};
class CutSettings : public DamagedSettingsPart {};
class FlippedSettings : public DamagedSettingsPart {};

TEST_P(CutSettings, AreUsable) {
  const std::string whole = WholeFile();
  for (size_t length = begin(); length < end(); ++length) {
    SCOPED_TRACE("cut to " + std::to_string(length) + " bytes");
    ASSERT_NO_FATAL_FAILURE(ExpectUsable(whole.substr(0, length)));
  }
}

TEST_P(FlippedSettings, AreUsable) {
  const std::string whole = WholeFile();
  for (size_t at = begin(); at < end(); ++at) {
    SCOPED_TRACE("bit " + std::to_string(bit()) + " of byte " + std::to_string(at));
    std::string damaged = whole;
    damaged[at] = static_cast<char>(damaged[at] ^ (1 << bit()));
    ASSERT_NO_FATAL_FAILURE(ExpectUsable(damaged));
  }
}

INSTANTIATE_TEST_SUITE_P(Quarters, CutSettings,
                         testing::Combine(testing::Range<size_t>(0, 4), testing::Values(0)));
INSTANTIATE_TEST_SUITE_P(QuartersAndBits, FlippedSettings,
                         testing::Combine(testing::Range<size_t>(0, 4), testing::Range(0, 8)));

}  // namespace
