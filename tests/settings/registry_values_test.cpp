// SPDX-License-Identifier: MIT

// Values: setting, reading, deleting, and how their names are read.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

#include "tests/settings/registry_fixture.h"
#include "tests/support/guarded_buffer.h"

namespace {

using registry_test::Constant;
using registry_test::Key;
using registry_test::SysReg;
using support::GuardedBuffer;
using namespace std::string_literals;

using SysRegSetValue = SysReg;
using SysRegQueryValue = SysReg;
using SysRegDeleteValue = SysReg;
using SysRegValueName = SysReg;

// ---- Setting ----

TEST_F(SysRegSetValue, StoresTextAndTypeAsAttributesInTheOrderOfSetting) {
  const Key software("Software");
  EXPECT_EQ(software.SetDword("Port", 19021), 0);
  EXPECT_EQ(software.SetString("Host", "target.local"), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(),
            "<Registry>\r\n"
            "  <Software Port=\"0x00004A4D\" Port_TARVENRegType=\"SYS_REG_TYPE_DWORD\""
            " Host=\"target.local\" Host_TARVENRegType=\"SYS_REG_TYPE_SZ\"/>\r\n"
            "</Registry>\r\n");
}

TEST_F(SysRegSetValue, StoresADwordBelowNestedKeys) {
  const Key key("A\\B");
  EXPECT_EQ(key.SetDword("N", 10), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(),
            "<Registry>\r\n"
            "  <A>\r\n"
            "    <B N=\"0x0000000A\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\"/>\r\n"
            "  </A>\r\n"
            "</Registry>\r\n");
}

TEST_F(SysRegSetValue, TakesTheLowBytesOfADwordAndZerosForTheRest) {
  const uint8_t bytes[64] = {0x11, 0x22, 0x33, 0x44, 0x55};
  const struct {
    uint32_t size;
    const char* text;
  } cases[] = {
      {0, "0x00000000"}, {1, "0x00000011"}, {2, "0x00002211"},  {3, "0x00332211"},
      {4, "0x44332211"}, {5, "0x44332211"}, {64, "0x44332211"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    const Key key;
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", SYS_REG_TYPE_DWORD, bytes, c.size), 0);
    SYS_REG_Flush();
    EXPECT_EQ(File(), FileWithKey("N=\""s + c.text + "\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\""));
  }
}

TEST_F(SysRegSetValue, StoresTheUpperHalfOfAQwordFirst) {
  const uint8_t bytes[64] = {0xEF, 0xCD, 0xAB, 0x89, 0x67, 0x45, 0x23, 0x01, 0xFF};
  const struct {
    uint32_t size;
    const char* text;
  } cases[] = {
      {0, "0x0000000000000000"}, {4, "0x0000000089ABCDEF"}, {7, "0x0023456789ABCDEF"},
      {8, "0x0123456789ABCDEF"}, {9, "0x0123456789ABCDEF"}, {64, "0x0123456789ABCDEF"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    const Key key;
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", SYS_REG_TYPE_QWORD, bytes, c.size), 0);
    SYS_REG_Flush();
    EXPECT_EQ(File(), FileWithKey("N=\""s + c.text + "\" N_TARVENRegType=\"SYS_REG_TYPE_QWORD\""));
  }
}

TEST_F(SysRegSetValue, TakesAStringToItsEndWhateverTheSize) {
  const Key key;
  for (const uint32_t size : {0U, 2U, 5U, 6U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(size);
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", SYS_REG_TYPE_SZ, "abcde", size), 0);
    EXPECT_EQ(key.String("N"), "abcde");
  }
}

TEST_F(SysRegSetValue, TakesNullForAnEmptyString) {
  const Key key;
  EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", SYS_REG_TYPE_SZ, nullptr, 0), 0);
  EXPECT_EQ(key.String("N"), "");
}

TEST_F(SysRegSetValue, RefusesNullDataThatHasASize) {
  const Key key;
  for (const uint32_t type : {SYS_REG_TYPE_DWORD, SYS_REG_TYPE_QWORD, SYS_REG_TYPE_MULTI_SZ}) {
    SCOPED_TRACE(type);
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", type, nullptr, 4), 1);
    uint32_t found = 0;
    EXPECT_EQ(key.Type("N", &found), 2);
  }
}

TEST_F(SysRegSetValue, TakesNullDataWithoutASizeForTheNumberZero) {
  const Key key;
  EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", SYS_REG_TYPE_DWORD, nullptr, 0), 0);
  EXPECT_EQ(key.Dword("N"), 0);
  EXPECT_EQ(SYS_REG_SetValue(key.handle(), "M", SYS_REG_TYPE_MULTI_SZ, nullptr, 0), 1);
}

TEST_F(SysRegSetValue, StoresEveryStringOfAMultiSzUnderANumberedName) {
  const Key key;
  EXPECT_EQ(key.SetStrings("N", "x\0yz\0\0"s), 0);
  EXPECT_EQ(key.SetStrings("M", "a\0b\0c\0d\0\0"s), 0);
  EXPECT_EQ(key.SetStrings("One", "alone\0\0"s), 0);
  EXPECT_EQ(key.SetStrings("None", "\0"s), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("N=\"x\" N_TARVENRegMltStr1=\"yz\""
                                " N_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\""
                                " M=\"a\" M_TARVENRegMltStr1=\"b\" M_TARVENRegMltStr2=\"c\""
                                " M_TARVENRegMltStr3=\"d\""
                                " M_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\""
                                " One=\"alone\" One_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\""
                                " None=\"\" None_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\""));
}

TEST_F(SysRegSetValue, RefusesAMultiSzWhoseSizeDoesNotFit) {
  const Key key;
  const std::string strings = "x\0yz\0\0ab\0\0"s;
  for (const uint32_t size : {0U, 1U, 2U, 3U, 4U, 5U, 7U, 8U, 9U, 10U}) {
    SCOPED_TRACE(size);
    // Nothing behind the size is looked at.
    GuardedBuffer data(size);
    memcpy(data.data(), strings.data(), size);
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", SYS_REG_TYPE_MULTI_SZ, data.data(), size), 1);
    uint32_t type = 0;
    EXPECT_EQ(key.Type("N", &type), 2);
  }
  EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", SYS_REG_TYPE_MULTI_SZ, strings.data(), 6), 0);
}

TEST_F(SysRegSetValue, LeavesTheOldMultiSzWhenTheNewOneIsRefused) {
  const Key key;
  EXPECT_EQ(key.SetStrings("N", "a\0b\0\0"s), 0);
  EXPECT_EQ(key.SetStrings("N", "c\0"s), 1);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("N=\"a\" N_TARVENRegMltStr1=\"b\""
                                " N_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\""));
}

TEST_F(SysRegSetValue, ReplacesAMultiSzWithAllItsStrings) {
  const Key key;
  EXPECT_EQ(key.SetStrings("N", "a\0b\0c\0\0"s), 0);
  EXPECT_EQ(key.SetDword("Other", 1), 0);
  EXPECT_EQ(key.SetStrings("N", "d\0e\0\0"s), 0);
  SYS_REG_Flush();
  // The old value was removed first, so the new one stands last.
  EXPECT_EQ(File(), FileWithKey("Other=\"0x00000001\" Other_TARVENRegType=\"SYS_REG_TYPE_DWORD\""
                                " N=\"d\" N_TARVENRegMltStr1=\"e\""
                                " N_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\""));
}

TEST_F(SysRegSetValue, ReplacesOtherValuesInTheirPlace) {
  const Key key;
  EXPECT_EQ(key.SetDword("N", 1), 0);
  EXPECT_EQ(key.SetString("M", "m"), 0);
  EXPECT_EQ(key.SetString("n", "now a string"), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("N=\"now a string\" N_TARVENRegType=\"SYS_REG_TYPE_SZ\""
                                " M=\"m\" M_TARVENRegType=\"SYS_REG_TYPE_SZ\""));
}

TEST_F(SysRegSetValue, LeavesTheFurtherStringsOfAMultiSzThatBecomesAString) {
  const Key key;
  EXPECT_EQ(key.SetStrings("N", "a\0b\0\0"s), 0);
  EXPECT_EQ(key.SetString("N", "s"), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("N=\"s\" N_TARVENRegMltStr1=\"b\""
                                " N_TARVENRegType=\"SYS_REG_TYPE_SZ\""));
}

TEST_F(SysRegSetValue, RefusesTypesThatCannotBeWritten) {
  const Key key;
  for (const uint32_t type : {0U, 2U, 3U, 5U, 6U, 8U, 9U, 10U, 12U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(type);
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), "N", type, "abc", 4), 1);
    uint32_t found = 0;
    EXPECT_EQ(key.Type("N", &found), 2);
  }
}

TEST_F(SysRegSetValue, RefusesBadArguments) {
  const Key key;
  const uint32_t value = 1;
  const auto set = [&value](SYS_REG_HANDLE handle, const char* name) {
    return SYS_REG_SetValue(handle, name, SYS_REG_TYPE_DWORD, &value, sizeof value);
  };
  EXPECT_EQ(set(nullptr, "N"), 1);
  EXPECT_EQ(set(key.handle(), nullptr), 1);
  EXPECT_EQ(set(key.handle(), ""), 1);
  for (uintptr_t constant = 0x80000003; constant <= 0x80000006; ++constant) {
    SCOPED_TRACE(constant);
    EXPECT_EQ(set(Constant(constant), "N"), 1);
  }
  SYS_REG_Flush();
  EXPECT_EQ(File(), "<Registry>\r\n  <Key/>\r\n</Registry>\r\n");
}

TEST_F(SysRegSetValue, SetsValuesOfTheRootKeyThroughTheConstant) {
  EXPECT_EQ(SYS_REG_SetValue(HKEY_CURRENT_USER, "N", SYS_REG_TYPE_SZ, "v", 2), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), "<Registry N=\"v\" N_TARVENRegType=\"SYS_REG_TYPE_SZ\"/>\r\n");
}

// ---- Reading: types and failures ----

TEST_F(SysRegQueryValue, TellsTheTypeAloneWithoutABuffer) {
  const Key key;
  EXPECT_EQ(key.SetDword("D", 1), 0);
  EXPECT_EQ(key.SetString("S", "s"), 0);
  EXPECT_EQ(key.SetStrings("M", "m\0\0"s), 0);
  const uint64_t number = 1;
  EXPECT_EQ(SYS_REG_SetValue(key.handle(), "Q", SYS_REG_TYPE_QWORD, &number, 8), 0);
  const struct {
    const char* name;
    uint32_t type;
  } cases[] = {{"D", 4}, {"S", 1}, {"M", 7}, {"Q", 11}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    uint32_t type = 0;
    uint32_t size = 77;
    EXPECT_EQ(SYS_REG_QueryValue(key.handle(), c.name, &type, nullptr, &size), 0);
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(size, 77U);
  }
}

TEST_F(SysRegQueryValue, ReadsTheTypesOfAFileIgnoringCase) {
  PutKey(
      "A=\"a\" A_TARVENRegType=\"sys_reg_type_sz\""
      " B=\"b\" B_TARVENRegType=\"SYS_REG_TYPE_EXPAND_SZ\""
      " C=\"c\" C_tarvenregtype=\"Sys_Reg_Type_Binary\"");
  const Key key;
  const struct {
    const char* name;
    uint32_t type;
  } cases[] = {{"a", 1}, {"B", 2}, {"C", 3}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    uint32_t type = 0;
    EXPECT_EQ(key.Type(c.name, &type), 0);
    EXPECT_EQ(type, c.type);
  }
}

TEST_F(SysRegQueryValue, TakesANullTypePointer) {
  const Key key;
  EXPECT_EQ(key.SetDword("N", 5), 0);
  EXPECT_EQ(key.Dword("N"), 5);
}

TEST_F(SysRegQueryValue, GivesTwoForAValueThatIsNotThere) {
  PutKey("N=\"without a type\"");
  const Key key;
  uint32_t type = 99;
  EXPECT_EQ(key.Type("N", &type), 2);
  EXPECT_EQ(key.Type("Missing", &type), 2);
  EXPECT_EQ(type, 99U);
}

TEST_F(SysRegQueryValue, GivesOneForATypeItDoesNotKnow) {
  PutKey("N=\"v\" N_TARVENRegType=\"???\" M=\"v\" M_TARVENRegType=\"SYS_REG_TYPE_SZ2\"");
  const Key key;
  uint32_t type = 99;
  EXPECT_EQ(key.Type("N", &type), 1);
  EXPECT_EQ(key.Type("M", &type), 1);
  EXPECT_EQ(type, 99U);
}

TEST_F(SysRegQueryValue, TellsTheTypeOfABinaryValueButCannotReadIt) {
  PutKey("N=\"0102\" N_TARVENRegType=\"SYS_REG_TYPE_BINARY\"");
  const Key key;
  uint32_t type = 0;
  EXPECT_EQ(key.Type("N", &type), 0);
  EXPECT_EQ(type, 3U);
  char data[8];
  uint32_t size = sizeof data;
  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "N", &type, data, &size), 1);
  EXPECT_EQ(size, 8U);
}

TEST_F(SysRegQueryValue, GivesOneWhenOnlyTheTypeIsThere) {
  PutKey("N_TARVENRegType=\"SYS_REG_TYPE_SZ\"");
  const Key key;
  uint32_t type = 0;
  EXPECT_EQ(key.Type("N", &type), 0);
  EXPECT_EQ(key.String("N"), "failed with 1");
}

TEST_F(SysRegQueryValue, RefusesBadArguments) {
  const Key key;
  EXPECT_EQ(key.SetDword("N", 1), 0);
  uint32_t value = 0;
  uint32_t size = sizeof value;
  EXPECT_EQ(SYS_REG_QueryValue(nullptr, "N", nullptr, &value, &size), 1);
  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), nullptr, nullptr, &value, &size), 1);
  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "", nullptr, &value, &size), 1);
  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "N", nullptr, &value, nullptr), 1);
  EXPECT_EQ(SYS_REG_QueryValue(Constant(0x80000004), "N", nullptr, &value, &size), 1);
  EXPECT_EQ(value, 0U);
}

// Names of all lengths beside each other, each a beginning of the next.
TEST_F(SysRegQueryValue, TellsNamesApartOfWhichOneBeginsTheOther) {
  const Key key;
  for (uint32_t length = 40; length >= 1; --length) {
    EXPECT_EQ(key.SetDword(std::string(length, 'n').c_str(), length), 0);
  }
  for (uint32_t length = 1; length <= 40; ++length) {
    EXPECT_EQ(key.Dword(std::string(length, 'N').c_str()), length);
    EXPECT_EQ(key.SetDword(std::string(length, 'N').c_str(), 100 + length), 0);
  }
  for (uint32_t length = 1; length <= 40; ++length) {
    EXPECT_EQ(key.Dword(std::string(length, 'n').c_str()), 100 + length);
  }
  EXPECT_EQ(key.Dword(std::string(41, 'n').c_str()), -2);
}

TEST_F(SysRegQueryValue, FindsValueAndTypeInAnyOrderAndTheFirstOfEach) {
  PutKey(
      "N_TARVENRegMltStr1=\"x\" n_tarvenREGTYPE=\"SYS_REG_TYPE_DWORD\" NN=\"0x3\" "
      "N_TARVENRegTypf=\"SYS_REG_TYPE_QWORD\" M_TARVENRegType=\"SYS_REG_TYPE_SZ\" n=\"0x1\" "
      "N=\"0x2\" N_TARVENRegType=\"SYS_REG_TYPE_SZ\"");
  EXPECT_EQ(Key().Dword("N"), 1);
  EXPECT_EQ(Key().SetDword("N", 5), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("N_TARVENRegMltStr1=\"x\" n_tarvenREGTYPE=\"SYS_REG_TYPE_DWORD\" "
                                "NN=\"0x3\" N_TARVENRegTypf=\"SYS_REG_TYPE_QWORD\" "
                                "M_TARVENRegType=\"SYS_REG_TYPE_SZ\" n=\"0x00000005\" N=\"0x2\" "
                                "N_TARVENRegType=\"SYS_REG_TYPE_SZ\""));
}

TEST_F(SysRegQueryValue, TellsLongNamesThatBeginAlikeApart) {
  PutKey(
      "LongNameOfAValueB_TARVENRegType=\"SYS_REG_TYPE_SZ\" LongNameOfAValueB=\"0x2\" "
      "LongNameOfAValueA=\"0x1\" LongNameOfAValueA_TARVENRegType=\"SYS_REG_TYPE_DWORD\"");
  EXPECT_EQ(Key().Dword("LongNameOfAValueA"), 1);
}

TEST_F(SysRegQueryValue, TakesTheFirstOfTwoThatStandInFrontOfTheOther) {
  PutKey(
      "N=\"0x1\" n=\"0x2\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\" "
      "M_TARVENRegType=\"SYS_REG_TYPE_DWORD\" m_TARVENRegType=\"SYS_REG_TYPE_SZ\" M=\"0x3\"");
  EXPECT_EQ(Key().Dword("N"), 1);
  EXPECT_EQ(Key().Dword("M"), 3);
}

TEST_F(SysRegQueryValue, TakesANameThatLiesWhereTheValueGoes) {
  const Key key;
  const std::string strings("one\0two\0three\0\0", 15);
  EXPECT_EQ(key.SetStrings("Name", strings), 0);
  char name_and_data[64] = "Name";
  uint32_t size = sizeof name_and_data;
  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), name_and_data, nullptr, name_and_data, &size), 0);
  EXPECT_EQ(std::string(name_and_data, 15), strings);
  EXPECT_EQ(size, 12U);
}

TEST_F(SysRegQueryValue, HasASecondNameWithTheSameResults) {
  const Key key;
  EXPECT_EQ(key.SetDword("N", 0x12345678), 0);
  uint32_t type = 0;
  uint32_t value = 0;
  uint32_t size = sizeof value;
  EXPECT_EQ(SYS_REG_QueryValueEx(key.handle(), "N", &type, &value, &size), 0);
  EXPECT_EQ(type, 4U);
  EXPECT_EQ(value, 0x12345678U);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(SYS_REG_QueryValueEx(key.handle(), "M", &type, &value, &size), 2);
}

// ---- Reading: strings ----

TEST_F(SysRegQueryValue, CutsStringsToTheCapacity) {
  const struct {
    uint32_t capacity;
    int32_t result;
    const char* text;  // null: nothing is stored
  } cases[] = {
      {0, 234, nullptr}, {1, 234, ""},   {2, 234, "a"},
      {3, 234, "ab"},    {4, 0, "abc"},  // as long as the text: the last character is cut, and nobody is told
      {5, 0, "abcd"},    {6, 0, "abcd"},
  };
  for (const char* type : {"SYS_REG_TYPE_SZ", "SYS_REG_TYPE_EXPAND_SZ"}) {
    PutKey("N=\"abcd\" N_TARVENRegType=\""s + type + "\"");
    const Key key;
    for (const auto& c : cases) {
      SCOPED_TRACE(type + " "s + std::to_string(c.capacity));
      GuardedBuffer data(c.capacity);
      uint32_t size = c.capacity;
      EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "N", nullptr, data.data(), &size), c.result);
      EXPECT_EQ(size, 4U);
      if (c.text != nullptr) {
        EXPECT_STREQ(data.data(), c.text);
      }
    }
    SYS_REG_Flush();
  }
}

TEST_F(SysRegQueryValue, GivesStringsOfAllLengthsBack) {
  for (size_t length = 0; length <= 300; ++length) {
    std::string name = "N" + std::to_string(length);
    std::string text;
    for (size_t i = 0; i < length; ++i) text += static_cast<char>('#' + (length + i) % 90);
    const Key key;
    ASSERT_EQ(key.SetString(name.c_str(), text), 0);
    ASSERT_EQ(key.String(name.c_str()), text);
  }
  SYS_REG_Flush();
  const Key key;
  for (size_t length = 0; length <= 300; ++length) {
    std::string name = "N" + std::to_string(length);
    std::string text;
    // The file keeps 255 bytes of a value.
    for (size_t i = 0; i < std::min<size_t>(length, 255); ++i) {
      text += static_cast<char>('#' + (length + i) % 90);
    }
    ASSERT_EQ(key.String(name.c_str()), text);
  }
}

TEST_F(SysRegQueryValue, GivesBytesBackThatAreNoAscii) {
  const std::string text = "\x01\t\r\n<>&'\x7F\x80\xFF";
  EXPECT_EQ(Key().SetString("N", text), 0);
  SYS_REG_Flush();
  EXPECT_EQ(Key().String("N"), text);
}

// ---- Reading: numbers ----

TEST_F(SysRegQueryValue, ReadsNumbersAsHexadecimalText) {
  const struct {
    const char* text;
    uint32_t dword;
    uint64_t qword;
  } cases[] = {
      {"0x0000000A", 10, 10},
      {"0X1f", 31, 31},
      {"10", 16, 16},
      {" \t-0x10", 0xFFFFFFF0, 0xFFFFFFFFFFFFFFF0},
      {"0x123456789ABCDEF0", 0x9ABCDEF0, 0x123456789ABCDEF0},
      {"12 and more", 0x12, 0x12},
      {"", 0, 0},
      {"none", 0, 0},
      {"0x", 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    PutKey("D=\""s + c.text + "\" D_TARVENRegType=\"SYS_REG_TYPE_DWORD\" Q=\"" + c.text +
           "\" Q_TARVENRegType=\"SYS_REG_TYPE_QWORD\"");
    const Key key;
    EXPECT_EQ(key.Dword("D"), c.dword);
    uint64_t value = 0xDEADBEEFDEADBEEF;
    uint32_t size = 20;
    EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "Q", nullptr, &value, &size), 0);
    EXPECT_EQ(value, c.qword);
    EXPECT_EQ(size, 8U);
    SYS_REG_Flush();
  }
}

TEST_F(SysRegQueryValue, StoresNoNumberThatHasNoRoom) {
  const Key key;
  EXPECT_EQ(key.SetDword("D", 1), 0);
  const uint64_t number = 1;
  EXPECT_EQ(SYS_REG_SetValue(key.handle(), "Q", SYS_REG_TYPE_QWORD, &number, 8), 0);
  const struct {
    const char* name;
    uint32_t width;
  } cases[] = {{"D", 4}, {"Q", 8}};
  for (const auto& c : cases) {
    for (uint32_t capacity = 0; capacity < c.width; ++capacity) {
      SCOPED_TRACE(c.name + std::to_string(capacity));
      GuardedBuffer data(8);
      uint32_t size = capacity;
      EXPECT_EQ(SYS_REG_QueryValue(key.handle(), c.name, nullptr, data.data(), &size), 234);
      EXPECT_EQ(size, capacity);
      EXPECT_TRUE(data.IsUntouched(0, 8));
    }
    GuardedBuffer exact(c.width);
    uint32_t size = c.width;
    EXPECT_EQ(SYS_REG_QueryValue(key.handle(), c.name, nullptr, exact.data(), &size), 0);
    EXPECT_EQ(size, c.width);
    EXPECT_EQ(exact.bytes()[0], 1);
  }
}

// ---- Reading: sequences of strings ----

TEST_F(SysRegQueryValue, TellsSizeAndResultOfAMultiSzAtEveryCapacityAndStoresNothingBehindIt) {
  const Key key;
  EXPECT_EQ(key.SetStrings("N", "x\0yz\0\0"s), 0);
  const char u = static_cast<char>(GuardedBuffer::kFill);  // untouched
  const struct {
    uint32_t capacity;
    int32_t result;
    uint32_t size;
    std::string stored;
  } cases[] = {
      {0, 234, 3, ""},
      {1, 234, 3, "\0"s},
      {2, 234, 3, "x\0"s},
      {3, 0, 3, "x\0\0"s},
      {4, 0, 4, "x\0y\0"s},
      {5, 0, 4, "x\0yz\0"s},
      {6, 0, 4, "x\0yz\0\0"s},
      {7, 0, 4, "x\0yz\0\0"s + u},
      {10, 0, 4, "x\0yz\0\0"s + std::string(4, u)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.capacity);
    GuardedBuffer data(c.capacity);
    uint32_t size = c.capacity;
    EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "N", nullptr, data.data(), &size), c.result);
    EXPECT_EQ(size, c.size);
    EXPECT_EQ(std::string(data.data(), c.capacity), c.stored);
  }
}

TEST_F(SysRegQueryValue, LeavesAStringThatFillsTheCapacityWhenMoreFollow) {
  const Key key;
  EXPECT_EQ(key.SetStrings("N", "abc\0z\0\0"s), 0);
  GuardedBuffer data(3);
  uint32_t size = 3;
  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "N", nullptr, data.data(), &size), 234);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(std::string(data.data(), 3), "ab\0"s);
}

TEST_F(SysRegQueryValue, NeverStoresBehindTheCapacityHoweverManyStringsThereAre) {
  const Key key;
  std::string strings;
  for (int i = 0; i < 40; ++i) strings += std::string(1 + static_cast<size_t>(i % 3), 'a') + '\0';
  strings += '\0';
  EXPECT_EQ(key.SetStrings("N", strings), 0);
  // 14 of one, 13 of two and 13 of three characters, and a final terminator.
  const uint32_t full_size = 14 + 26 + 39 + 1;
  for (uint32_t capacity = 0; capacity <= strings.size() + 1; ++capacity) {
    SCOPED_TRACE(capacity);
    GuardedBuffer data(capacity);
    uint32_t size = capacity;
    const int32_t result = SYS_REG_QueryValue(key.handle(), "N", nullptr, data.data(), &size);
    // Lengths that fill the capacity leave no final terminator to count.
    EXPECT_EQ(size, capacity < full_size ? full_size - 1 : full_size);
    EXPECT_EQ(result, size > capacity ? 234 : 0);
    if (capacity >= strings.size()) {
      EXPECT_EQ(std::string(data.data(), strings.size()), strings);
    }
  }
}

TEST_F(SysRegQueryValue, GivesAnEmptyMultiSzAsOneEmptyString) {
  const Key key;
  EXPECT_EQ(key.SetStrings("N", "\0"s), 0);
  GuardedBuffer data(2);
  uint32_t size = 2;
  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "N", nullptr, data.data(), &size), 0);
  EXPECT_EQ(size, 1U);
  EXPECT_EQ(std::string(data.data(), 2), "\0\0"s);
}

TEST_F(SysRegQueryValue, EndsAMultiSzAtTheFirstNumberThatIsMissing) {
  PutKey(
      "N=\"a\" N_TARVENRegMltStr1=\"b\" N_TARVENRegMltStr3=\"d\""
      " N_TARVENRegType=\"SYS_REG_TYPE_MULTI_SZ\"");
  const Key key;
  char data[16];
  uint32_t size = sizeof data;
  EXPECT_EQ(SYS_REG_QueryValue(key.handle(), "N", nullptr, data, &size), 0);
  EXPECT_EQ(size, 3U);
  EXPECT_EQ(std::string(data, 5), "a\0b\0\0"s);
}

// ---- Deleting ----

TEST_F(SysRegDeleteValue, RemovesTheValueAndItsType) {
  const Key key;
  EXPECT_EQ(key.SetDword("N", 1), 0);
  EXPECT_EQ(key.SetDword("M", 2), 0);
  EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), "n"), 0);
  uint32_t type = 0;
  EXPECT_EQ(key.Type("N", &type), 2);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("M=\"0x00000002\" M_TARVENRegType=\"SYS_REG_TYPE_DWORD\""));
}

TEST_F(SysRegDeleteValue, RemovesAllStringsOfAMultiSz) {
  const Key key;
  EXPECT_EQ(key.SetStrings("N", "a\0b\0c\0\0"s), 0);
  EXPECT_EQ(key.SetDword("M", 2), 0);
  EXPECT_EQ(SYS_REG_DeleteValueEx(key.handle(), "N"), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("M=\"0x00000002\" M_TARVENRegType=\"SYS_REG_TYPE_DWORD\""));
}

TEST_F(SysRegDeleteValue, LeavesNumberedAttributesOfOtherTypes) {
  PutKey("N=\"a\" N_TARVENRegMltStr1=\"b\" N_TARVENRegType=\"SYS_REG_TYPE_SZ\"");
  EXPECT_EQ(SYS_REG_DeleteValue(Key().handle(), "N"), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("N_TARVENRegMltStr1=\"b\""));
}

TEST_F(SysRegDeleteValue, RemovesATypeThatStandsAlone) {
  PutKey("N_TARVENRegType=\"SYS_REG_TYPE_SZ\"");
  EXPECT_EQ(SYS_REG_DeleteValue(Key().handle(), "N"), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), "<Registry>\r\n  <Key/>\r\n</Registry>\r\n");
}

TEST_F(SysRegDeleteValue, RefusesAValueWithoutAKnownType) {
  PutKey("N=\"a\" M=\"b\" M_TARVENRegType=\"???\"");
  const Key key;
  EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), "Missing"), 1);
  EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), "N"), 1);
  EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), "M"), 1);
}

TEST_F(SysRegDeleteValue, RefusesBadArguments) {
  const Key key;
  EXPECT_EQ(key.SetDword("N", 1), 0);
  EXPECT_EQ(SYS_REG_DeleteValue(nullptr, "N"), 1);
  EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), nullptr), 1);
  EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), ""), 1);
  EXPECT_EQ(SYS_REG_DeleteValueEx(Constant(0x80000006), "N"), 1);
  EXPECT_EQ(key.Dword("N"), 1);
}

// ---- Names of values ----

TEST_F(SysRegValueName, DropsBlanks) {
  const Key key;
  EXPECT_EQ(key.SetDword(" \t Serial No", 7), 0);
  for (const char* name :
       {"SerialNo", "Serial No", "Serial   \t No  ", "serial no", "S e r i a lNo"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(key.Dword(name), 7);
  }
  EXPECT_EQ(key.Dword("Serial"), -2);
}

TEST_F(SysRegValueName, KeepsBlanksWithinQuotes) {
  const Key key;
  EXPECT_EQ(key.SetDword("\"Serial No\"", 7), 0);
  EXPECT_EQ(key.Dword("SerialNo"), -2);
  EXPECT_EQ(key.Dword("\"Serial No\""), 7);
  EXPECT_EQ(key.Dword("\"Serial \" No"), 7);
  EXPECT_EQ(key.SetDword("a \"b\"", 8), 0);
  EXPECT_EQ(key.Dword("ab"), 8);
}

TEST_F(SysRegValueName, EndsAtAColonAndAtALineEnd) {
  const Key key;
  EXPECT_EQ(key.SetDword("Name: rest", 7), 0);
  for (const char* name : {"Name", "Name:", "Name\nrest", "Name\r", "Na me:x", "\"Name\"x"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(key.Dword(name), 7);
  }
}

// What reads as nothing, and must not be read for ever.
TEST_F(SysRegValueName, ThatReadsAsNothingDoesNothing) {
  const Key key;
  const uint32_t value = 1;
  for (const char* name :
       {" ", "\t\r\n", ":", " :", " : a", ": ", "\"\"", "\"\" \"\"", "\"open", " \"open"}) {
    SCOPED_TRACE(name);
    uint32_t type = 99;
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), name, SYS_REG_TYPE_DWORD, &value, 4), 0);
    // Not even a type that cannot be set is refused.
    EXPECT_EQ(SYS_REG_SetValue(key.handle(), name, SYS_REG_TYPE_BINARY, &value, 4), 0);
    EXPECT_EQ(SYS_REG_QueryValue(key.handle(), name, &type, nullptr, nullptr), 0);
    EXPECT_EQ(type, 99U);
    EXPECT_EQ(SYS_REG_DeleteValue(key.handle(), name), 0);
  }
  SYS_REG_Flush();
  EXPECT_EQ(File(), "<Registry>\r\n  <Key/>\r\n</Registry>\r\n");
}

TEST_F(SysRegValueName, EndsBeforeAQuoteThatDoesNotClose) {
  const Key key;
  EXPECT_EQ(key.SetDword("Name \"open", 7), 0);
  EXPECT_EQ(key.Dword("Name"), 7);
}

TEST_F(SysRegValueName, CountsItsFirst511Characters) {
  const Key key;
  const std::string name(511, 'n');
  EXPECT_EQ(key.SetDword((name + "more").c_str(), 7), 0);
  EXPECT_EQ(key.Dword(name.c_str()), 7);
  EXPECT_EQ(key.Dword((name + " and more").c_str()), 7);
  EXPECT_EQ(key.Dword((std::string(300, 'n') + " " + std::string(300, 'n')).c_str()), 7);
  EXPECT_EQ(key.Dword((std::string(5000, 'n')).c_str()), 7);
  EXPECT_EQ(key.Dword(name.substr(1).c_str()), -2);
}

TEST_F(SysRegValueName, KeepsItsFirstSpelling) {
  const Key key;
  EXPECT_EQ(key.SetString("Name", "a"), 0);
  EXPECT_EQ(key.SetString("NAME", "b"), 0);
  SYS_REG_Flush();
  EXPECT_EQ(File(), FileWithKey("Name=\"b\" Name_TARVENRegType=\"SYS_REG_TYPE_SZ\""));
}

TEST_F(SysRegValueName, ThatTheFileCannotHoldLosesTheFile) {
  EXPECT_EQ(Key().SetDword("Na/me", 7), 0);
  SYS_REG_Flush();
  EXPECT_EQ(Key("Other").SetDword("N", 1), 0);
  SYS_REG_Flush();
  EXPECT_THAT(File(), testing::Not(testing::HasSubstr("Na")));
}

}  // namespace
