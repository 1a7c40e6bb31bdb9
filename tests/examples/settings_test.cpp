// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include "tests/examples/example_run.h"
#include "tests/support/temporary_home.h"

namespace {

using example_test::Result;
using example_test::RunExample;
using support::TemporaryHome;

TEST(ExampleSettings, WrittenNumberIsThereForTheNextProgram) {
  const TemporaryHome home;
  EXPECT_EQ(RunExample({"Port", "19021"}), (Result{"", 0}));
  EXPECT_EQ(RunExample({"Port"}), (Result{"Port is the number 19021.\n", 0}));
  EXPECT_EQ(home.Read("Library/Application Support/TARVEN/TARVEN_REG_HKEY_CURRENT_USER.xml"),
            "<Registry>\r\n"
            "  <Software>\r\n"
            "    <Example Port=\"0x00004A4D\" Port_TARVENRegType=\"SYS_REG_TYPE_DWORD\"/>\r\n"
            "  </Software>\r\n"
            "</Registry>\r\n");
}

TEST(ExampleSettings, WhatIsNoNumberIsAText) {
  const TemporaryHome home;
  EXPECT_EQ(RunExample({"Bench", "3rd floor"}), (Result{"", 0}));
  EXPECT_EQ(RunExample({"Bench"}), (Result{"Bench is the text \"3rd floor\".\n", 0}));
}

TEST(ExampleSettings, LaterValueReplacesTheFirst) {
  const TemporaryHome home;
  EXPECT_EQ(RunExample({"Port", "somewhere"}), (Result{"", 0}));
  EXPECT_EQ(RunExample({"Port", "0x10"}), (Result{"", 0}));
  EXPECT_EQ(RunExample({"Port"}), (Result{"Port is the number 16.\n", 0}));
}

TEST(ExampleSettings, SaysWhatIsNotSet) {
  const TemporaryHome home;
  EXPECT_EQ(RunExample({"Port"}), (Result{"Port is not set.\n", 1}));
}

TEST(ExampleSettings, WithoutANameTellsItsUse) {
  const TemporaryHome home;
  EXPECT_EQ(RunExample(), (Result{"usage: settings NAME [VALUE]\n", 2}));
}

}  // namespace
