// SPDX-License-Identifier: MIT

// The monitor of serial ports, with a pseudo-terminal as the port.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/examples/example_run.h"
#include "tests/support/child_process.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/stream_reader.h"

namespace {

using example_test::Result;
using example_test::RunExample;
using support::PseudoTerminal;

std::string NameOf(const PseudoTerminal& terminal) {
  return terminal.device_path().substr(std::string("/dev/").size());
}

TEST(ExampleSerialMonitor, ShowsWhatComesInUntilThePortIsGone) {
  PseudoTerminal terminal;
  const std::string name = NameOf(terminal);
  const support::Pipe output = support::MakePipe();
  support::ChildProcess monitor({EXAMPLE_PATH, name, "31250", "60000"},
                                {.streams = {.output = output.writing}});
  close(output.writing);
  support::StreamReader shown(output.reading);
  const std::string title = "Watching " + name + " at 31250 baud.\n";
  ASSERT_TRUE(shown.WaitFor(title));  // what was typed before would be thrown away
  terminal.Type("temp 21\r\n");
  EXPECT_TRUE(shown.WaitFor("temp 21\r\n"));
  terminal.Type("temp 22");
  EXPECT_TRUE(shown.WaitFor("temp 22"));
  terminal.CloseDevice();
  terminal.CloseController();
  EXPECT_TRUE(shown.WaitForEnd());
  EXPECT_EQ(monitor.WaitForExit(), 0);
  EXPECT_EQ(shown.text(), title + "temp 21\r\ntemp 22\nNothing more has come.\n");
  close(output.reading);
}

TEST(ExampleSerialMonitor, EndsWhenNothingHasComeForSoLongAtItsOwnSpeed) {
  const PseudoTerminal terminal;
  const std::string name = NameOf(terminal);
  EXPECT_EQ(RunExample({name, "?", "1"}),
            (Result{"Watching " + name + " at 115200 baud.\n\nNothing more has come.\n", 0}));
}

TEST(ExampleSerialMonitor, SaysWhenAPortDoesNotOpen) {
  EXPECT_EQ(RunExample({"cu.usb-nobody-has-this"}),
            (Result{"cu.usb-nobody-has-this does not open.\n", 1}));
}

TEST(ExampleSerialMonitor, SaysWhenADeviceIsNoSerialPort) {
  EXPECT_EQ(RunExample({"null"}),
            (Result{"ERROR while writing port settings.\nnull does not open.\n", 1}));
}

// As many as this machine has, which most often is none.
TEST(ExampleSerialMonitor, WithoutAPortListsThem) {
  std::string found;
  std::string hints;
  for (const auto& entry : std::filesystem::directory_iterator("/sys/class/tty")) {
    const std::string name = entry.path().filename();
    if (!name.starts_with("ttyUSB") && !name.starts_with("ttyACM")) continue;
    found += "Modem at path: /dev/" + name + "\n";
    hints += "serial_monitor " + name + "\n";
  }
  if (found.empty()) hints = "There are no USB serial ports.\n";
  EXPECT_EQ(RunExample(), (Result{found + hints, 0}));
}

}  // namespace
