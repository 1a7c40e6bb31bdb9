// SPDX-License-Identifier: MIT

// The program that calls the probe, with the stand-in library beside it. What that library returns
// is the 64-bit FNV-1a hash of a function's name:
//
//   MBOLT_Open      0xEE4AA131B9DBD4CC
//   MBOLT_GetSN     0xEF694658AF0540ED, whose low 32 bits are 2936357101
//   MBOLT_IsHalted  0xF9749EC0D1EC33E6
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/program_run.h"
#include "tests/support/temporary_folder.h"

namespace {

using support::Place;
using support::ReadFile;
using support::Result;

class ExampleCallProbe : public testing::Test {
 protected:
  Result Run(const std::vector<std::string>& arguments = {}) const {
    std::vector<std::string> command = {program_};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return support::Run(command, {.environment = {"PROBE_LIBRARY_LOG=" + log_.native()}});
  }
  void PutLibrary() const { Place(PROBE_LIBRARY_PATH, folder_.path() / "libmboltarm.dylib"); }
  std::string Calls() const { return ReadFile(log_); }

  const support::TemporaryFolder folder_;
  const std::filesystem::path program_ = Place(EXAMPLE_PATH, folder_.path() / "call_probe");
  const std::filesystem::path log_ = folder_.path() / "calls.txt";
};

TEST_F(ExampleCallProbe, OpensTheProbeAndLetsTheTargetRun) {
  PutLibrary();
  EXPECT_EQ(Run(), (Result{"Opened: 0xB9DBD4CC\n"
                           "Serial number: 2936357101\n"
                           "The target stands still and is let go.\n",
                           0}));
  EXPECT_EQ(Calls(),
            "MBOLT_Open()\n"
            "MBOLT_GetSN()\n"
            "MBOLT_SetSpeed(0xfa0)\n"
            "MBOLT_IsHalted()\n"
            "MBOLT_Go()\n"
            "MBOLT_Close()\n");
}

TEST_F(ExampleCallProbe, PassesItsSpeedOn) {
  PutLibrary();
  EXPECT_EQ(Run({"1000"}).exit_status, 0);
  EXPECT_NE(Calls().find("MBOLT_SetSpeed(0x3e8)\n"), std::string::npos);
}

TEST_F(ExampleCallProbe, WithoutTheLibrarySaysSo) {
  EXPECT_EQ(Run(), (Result{"Could not open M-Bolt shared library.\n", 1}));
}

TEST_F(ExampleCallProbe, WhatIsNoSpeedMakesItTellItsUse) {
  PutLibrary();
  EXPECT_EQ(Run({"fast"}), (Result{"usage: call_probe [SPEED]\n", 2}));
  EXPECT_EQ(Calls(), "");
}

}  // namespace
