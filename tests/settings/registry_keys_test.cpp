// SPDX-License-Identifier: MIT

// Keys: opening, closing, and how their paths are read.
#include <gmock/gmock.h>

#include "tests/settings/registry_fixture.h"

namespace {

using registry_test::Constant;
using registry_test::Key;
using registry_test::SysReg;
using namespace std::string_literals;

using SysRegOpenKey = SysReg;
using SysRegCloseKey = SysReg;

class SysRegKeyPath : public SysReg {
 protected:
  // The file with a value set in the key of this path.
  std::string FileWith(const std::string& path) const {
    {
      const Key key(path.c_str());
      EXPECT_NE(key.handle(), nullptr);
      EXPECT_EQ(key.SetString("Here", ""), 0);
    }
    SYS_REG_Flush();
    const std::string file = File();
    PutFile(registry_test::kEmptyFile);
    return file;
  }
  static constexpr char kMark[] = "Here=\"\" Here_TARVENRegType=\"SYS_REG_TYPE_SZ\"/>\r\n";

  // The file of a root with one marked key of this name.
  static std::string WithKey(const std::string& name) {
    return "<Registry>\r\n  <" + name + " " + kMark + "</Registry>\r\n";
  }
  static std::string WithMarkedRoot() { return "<Registry "s + kMark; }
};

// ---- Opening and closing ----

TEST_F(SysRegOpenKey, MakesTheKeysThatAreMissing) {
  { const Key key("A\\B\\C"); }
  { const Key key("A\\D"); }
  SYS_REG_Flush();
  EXPECT_EQ(File(),
            "<Registry>\r\n  <A>\r\n    <B>\r\n      <C/>\r\n    </B>\r\n    <D/>\r\n  </A>\r\n"
            "</Registry>\r\n");
}

TEST_F(SysRegOpenKey, FindsKeysIgnoringCase) {
  EXPECT_EQ(Key("Alpha\\Beta").SetDword("N", 1), 0);
  EXPECT_EQ(Key("ALPHA\\beta").Dword("N"), 1);
}

TEST_F(SysRegOpenKey, GoesOnFromAKey) {
  const Key alpha("Alpha");
  EXPECT_EQ(Key("Beta", alpha.handle()).SetDword("N", 1), 0);
  EXPECT_EQ(Key("Alpha\\Beta").Dword("N"), 1);
}

TEST_F(SysRegOpenKey, GivesEveryCallerAHandle) {
  const Key first;
  const Key second;
  EXPECT_NE(first.handle(), second.handle());
  EXPECT_EQ(first.SetDword("N", 1), 0);
  EXPECT_EQ(second.Dword("N"), 1);
}

TEST_F(SysRegOpenKey, KeepsTheHivesApart) {
  EXPECT_EQ(Key("K", HKEY_CLASSES_ROOT).SetDword("N", 0), 0);
  EXPECT_EQ(Key("K", HKEY_CURRENT_USER).SetDword("N", 1), 0);
  EXPECT_EQ(Key("K", HKEY_LOCAL_MACHINE).SetDword("N", 2), 0);
  SYS_REG_Flush();
  const struct {
    const char* hive;
    const char* number;
  } cases[] = {{"HKEY_CLASSES_ROOT", "0"}, {"HKEY_CURRENT_USER", "1"}, {"HKEY_LOCAL_MACHINE", "2"}};
  for (const auto& c : cases) {
    EXPECT_EQ(home_.Read(FileName(c.hive)), "<Registry>\r\n  <K N=\"0x0000000"s + c.number +
                                                "\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\"/>\r\n"
                                                "</Registry>\r\n");
  }
}

TEST_F(SysRegOpenKey, RefusesNullAndTheConstantsWithoutAHive) {
  EXPECT_EQ(SYS_REG_OpenKey(nullptr, "A"), nullptr);
  EXPECT_EQ(SYS_REG_OpenKey(HKEY_CURRENT_USER, nullptr), nullptr);
  for (uintptr_t constant = 0x80000003; constant <= 0x80000006; ++constant) {
    SCOPED_TRACE(constant);
    EXPECT_EQ(SYS_REG_OpenKey(Constant(constant), "A"), nullptr);
    EXPECT_EQ(SYS_REG_OpenKey(Constant(constant), ""), nullptr);
  }
}

TEST_F(SysRegCloseKey, IgnoresNullAndTheConstants) {
  SYS_REG_CloseKey(nullptr);
  for (uintptr_t constant = 0x80000000; constant <= 0x80000006; ++constant) {
    SYS_REG_CloseKey(Constant(constant));
  }
}

// ---- Paths ----

TEST_F(SysRegKeyPath, ThatIsEmptyOpensTheParent) {
  for (const char* path : {"", " ", " \t\r\n "}) {
    SCOPED_TRACE(path);
    EXPECT_EQ(FileWith(path), WithMarkedRoot());
  }
}

TEST_F(SysRegKeyPath, EndsAtAnEmptyName) {
  EXPECT_EQ(FileWith("\\A"), WithMarkedRoot());
  EXPECT_EQ(FileWith(" \\A"), WithMarkedRoot());
  EXPECT_EQ(FileWith("A\\\\B"), WithKey("A"));
  EXPECT_EQ(FileWith("A\\ \\B"), WithKey("A"));
  EXPECT_EQ(FileWith("A\\"), WithKey("A"));
  EXPECT_EQ(FileWith("A\\ "), WithKey("A"));
}

TEST_F(SysRegKeyPath, DropsBlanks) {
  EXPECT_EQ(FileWith("  My  Own\tKey \\"), WithKey("MyOwn_Key"));
  EXPECT_EQ(FileWith("My\r\nKey"), WithKey("MyKey"));
  EXPECT_EQ(FileWith("\tMyKey \t"), WithKey("MyKey"));
  EXPECT_EQ(FileWith(" A \\ B "),
            "<Registry>\r\n  <A>\r\n    <B "s + kMark + "  </A>\r\n</Registry>\r\n");
}

TEST_F(SysRegKeyPath, TurnsWhatNoNameHasIntoUnderscores) {
  EXPECT_EQ(FileWith("-a-b"), WithKey("_a-b"));
  EXPECT_EQ(FileWith("a.b/c:d\"e<f>g=h&i"), WithKey("a_b_c_d_e_f_g_h_i"));
  EXPECT_EQ(FileWith("\xC3\xA4!_9"), WithKey("__!_9"));
}

TEST_F(SysRegKeyPath, TakesNamesOf511Characters) {
  const std::string name(511, 'n');
  { const Key key((name + "\\B").c_str()); }
  SYS_REG_Flush();
  EXPECT_EQ(File(),
            "<Registry>\r\n  <" + name + ">\r\n    <B/>\r\n  </" + name + ">\r\n</Registry>\r\n");
}

TEST_F(SysRegKeyPath, EndsBeforeANameOf512Characters) {
  EXPECT_EQ(FileWith("A\\" + std::string(512, 'n') + "\\B"), WithKey("A"));
  EXPECT_EQ(FileWith(std::string(5000, 'n')), WithMarkedRoot());
}

TEST_F(SysRegKeyPath, EndsBeforeThePieceOfANameThatIsTooMuch) {
  EXPECT_EQ(FileWith("A\\short " + std::string(507, 'n') + "\\B"),
            "<Registry>\r\n  <A>\r\n    <short "s + kMark + "  </A>\r\n</Registry>\r\n");
}

}  // namespace
