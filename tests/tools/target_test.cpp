// SPDX-License-Identifier: MIT

#include "tools/terminal_server/target.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using terminal_server::Target;

constexpr uint32_t kBoot = 5'000;

// A target that was powered up at kBoot and has a terminal connected.
class TargetTest : public testing::Test {
 protected:
  TargetTest() { target_.Attach(); }

  // What the firmware prints when this is typed at that time after the power-up.
  std::string Type(std::string_view keys, uint32_t after_ms = 0) {
    return target_.Receive(keys, kBoot + after_ms);
  }
  std::string Poll(uint32_t after_ms) { return target_.Poll(kBoot + after_ms); }

  Target target_{kBoot};
};

// ---- Commands ----

TEST_F(TargetTest, AttachGivesThePrompt) { EXPECT_EQ(target_.Attach(), "> "); }

TEST_F(TargetTest, HelpListsEveryCommand) {
  EXPECT_EQ(Type("help\n"),
            "  help                       lists the commands\r\n"
            "  led on|off                 switches the LED\r\n"
            "  temp                       shows the temperature\r\n"
            "  uptime                     shows the time since the start\r\n"
            "  count                      counts starts, and connections since the last one\r\n"
            "  echo TEXT                  shows the text\r\n"
            "  keyecho on|off             echoes what is typed, for use with -LocalEcho Off\r\n"
            "  log on|off                 switches a log line every second\r\n"
            "  log debug|info|warn|error  switches it on from that level on\r\n"
            "  log color on|off           colours the log by level\r\n"
            "  drop                       drops the connection and goes on\r\n"
            "  reboot                     starts the target again and drops the connection\r\n"
            "> ");
}

TEST_F(TargetTest, LedIsSwitchedOnAndOff) {
  EXPECT_EQ(Type("led on\n"), "LED is on.\r\n> ");
  EXPECT_EQ(Type("led off\n"), "LED is off.\r\n> ");
}

TEST_F(TargetTest, LedStaysAsItIsAfterABadArgument) {
  Type("led on\n");
  EXPECT_EQ(Type("led bright\n"), "Usage: led on|off\r\n> ");
  Type("log on\n");
  EXPECT_EQ(Poll(1'000), "\r\n[    1.000] temp 23.1 C, led on\r\n> ");
}

TEST_F(TargetTest, TemperatureRisesAndFallsWithTheTime) {
  EXPECT_EQ(Type("temp\n", 0), "Temperature: 23.0 C\r\n> ");
  EXPECT_EQ(Type("temp\n", 999), "Temperature: 23.0 C\r\n> ");
  EXPECT_EQ(Type("temp\n", 15'000), "Temperature: 24.5 C\r\n> ");
  EXPECT_EQ(Type("temp\n", 40'000), "Temperature: 27.0 C\r\n> ");
  EXPECT_EQ(Type("temp\n", 41'000), "Temperature: 26.9 C\r\n> ");
  EXPECT_EQ(Type("temp\n", 80'000), "Temperature: 23.0 C\r\n> ");
}

TEST_F(TargetTest, UptimeCountsFromThePowerUp) {
  EXPECT_EQ(Type("uptime\n", 7), "Up for 0:00:00.007\r\n> ");
  EXPECT_EQ(Type("uptime\n", 62'345), "Up for 0:01:02.345\r\n> ");
  EXPECT_EQ(Type("uptime\n", 360'000'000), "Up for 100:00:00.000\r\n> ");
}

TEST(Target, UptimeGoesOnWhenTheCounterWraps) {
  Target target(0xFFFFFF00);
  target.Attach();
  EXPECT_EQ(target.Receive("uptime\n", 0x00000100), "Up for 0:00:00.512\r\n> ");
}

TEST_F(TargetTest, EchoPrintsEverythingBehindOneBlank) {
  EXPECT_EQ(Type("echo Hello,  world \n"), "Hello,  world \r\n> ");
  EXPECT_EQ(Type("echo  indented\n"), " indented\r\n> ");
  EXPECT_EQ(Type("echo\n"), "\r\n> ");
}

TEST_F(TargetTest, EchoPassesBytesAbove127Unchanged) {
  EXPECT_EQ(Type("echo gr\xC3\xBC\xC3\x9F \xFF\x80\n"), "gr\xC3\xBC\xC3\x9F \xFF\x80\r\n> ");
}

TEST_F(TargetTest, LogIsOffAtFirst) { EXPECT_EQ(Poll(100'000), ""); }

TEST_F(TargetTest, LogPrintsALineEachSecondOnceItIsOn) {
  EXPECT_EQ(Type("log on\n", 500), "Log is on.\r\n> ");
  EXPECT_EQ(Poll(1'499), "");
  EXPECT_EQ(Poll(1'500), "\r\n[    1.500] temp 23.1 C, led off\r\n> ");
  EXPECT_EQ(Poll(2'499), "");
  EXPECT_EQ(Poll(2'520), "\r\n[    2.520] temp 23.2 C, led off\r\n> ");
  EXPECT_EQ(Poll(3'499), "");
  EXPECT_EQ(Poll(3'500), "\r\n[    3.500] temp 23.3 C, led off\r\n> ");
}

TEST_F(TargetTest, LogStopsWhenItIsSwitchedOff) {
  Type("log on\n");
  EXPECT_EQ(Type("log off\n", 900), "Log is off.\r\n> ");
  EXPECT_EQ(Poll(10'000), "");
}

TEST_F(TargetTest, LogWithABadArgumentPrintsEveryUsageAndStaysOff) {
  for (const char* line : {"log maybe\n", "log warn error\n", "log color\n", "log color red\n"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Type(line),
              "Usage: log on|off\r\n"
              "       log debug|info|warn|error\r\n"
              "       log color on|off\r\n> ");
    EXPECT_EQ(Poll(10'000), "");
  }
}

TEST_F(TargetTest, LogLinesAreMarkedAsTheTemperatureRises) {
  Type("log on\n");
  EXPECT_EQ(Poll(19'000), "\r\n[   19.000] temp 24.9 C, led off\r\n> ");
  EXPECT_EQ(Poll(20'000), "\r\n[   20.000] warn: temp 25.0 C, led off\r\n> ");
  EXPECT_EQ(Poll(34'000), "\r\n[   34.000] warn: temp 26.4 C, led off\r\n> ");
  EXPECT_EQ(Poll(35'000), "\r\n[   35.000] error: temp 26.5 C, led off\r\n> ");
}

TEST_F(TargetTest, LogOfALevelLeavesOutWhatIsBelow) {
  EXPECT_EQ(Type("log info\n"), "Log is on from info on.\r\n> ");
  EXPECT_EQ(Poll(1'000), "\r\n[    1.000] temp 23.1 C, led off\r\n> ");
  EXPECT_EQ(Type("log warn\n", 18'000), "Log is on from warn on.\r\n> ");
  EXPECT_EQ(Poll(19'000), "");
  EXPECT_EQ(Poll(20'000), "\r\n[   20.000] warn: temp 25.0 C, led off\r\n> ");
  EXPECT_EQ(Type("LOG Error\n", 33'000), "Log is on from error on.\r\n> ");
  EXPECT_EQ(Poll(34'000), "");
  EXPECT_EQ(Poll(35'000), "\r\n[   35.000] error: temp 26.5 C, led off\r\n> ");
}

TEST_F(TargetTest, LogKeepsItsLevelWhileItIsOff) {
  Type("log warn\nlog off\nlog on\n");
  EXPECT_EQ(Poll(1'000), "");
  EXPECT_EQ(Poll(20'000), "\r\n[   20.000] warn: temp 25.0 C, led off\r\n> ");
}

TEST_F(TargetTest, DebugLogShowsWhatEndedALine) {
  EXPECT_EQ(Type("log debug\n"), "Log is on from debug on.\r\n> ");
  EXPECT_EQ(Type("echo a\n", 7), "[    0.007] debug: line of 6 bytes, ended by LF\r\na\r\n> ");
  EXPECT_EQ(Type("\r\n", 12'345), "[   12.345] debug: line of 0 bytes, ended by CR\r\n> ");
  Type("log off\n");
  EXPECT_EQ(Type("echo a\n"), "a\r\n> ");
}

TEST_F(TargetTest, LogHasColorsByLevelWhenAskedFor) {
  EXPECT_EQ(Type("log color on\nlog debug\n"),
            "Log colours are on.\r\n> Log is on from debug on.\r\n> ");
  EXPECT_EQ(Type("\n"), "[    0.000] \x1B[36mdebug: line of 0 bytes, ended by LF\x1B[0m\r\n> ");
  EXPECT_EQ(Poll(1'000), "\r\n[    1.000] \x1B[32mtemp 23.1 C, led off\x1B[0m\r\n> ");
  EXPECT_EQ(Poll(20'000), "\r\n[   20.000] \x1B[33mwarn: temp 25.0 C, led off\x1B[0m\r\n> ");
  EXPECT_EQ(Poll(35'000), "\r\n[   35.000] \x1B[1;31merror: temp 26.5 C, led off\x1B[0m\r\n> ");
  Type("log info\nlog color off\n", 35'000);
  EXPECT_EQ(Poll(36'000), "\r\n[   36.000] error: temp 26.6 C, led off\r\n> ");
}

TEST_F(TargetTest, ColorsAloneDoNotSwitchTheLogOn) {
  Type("log color on\n");
  EXPECT_EQ(Poll(10'000), "");
}

TEST_F(TargetTest, LogLinesThatNobodyCalledForAreNotMadeUpFor) {
  Type("log on\n");
  EXPECT_EQ(Poll(10'300), "\r\n[   10.300] temp 24.0 C, led off\r\n> ");
  EXPECT_EQ(Poll(10'999), "");
  EXPECT_EQ(Poll(11'000), "\r\n[   11.000] temp 24.1 C, led off\r\n> ");
}

TEST_F(TargetTest, LogLineShowsTheHalfTypedLineAgain) {
  Type("log on\n");
  Type("upt");
  EXPECT_EQ(Poll(1'000), "\r\n[    1.000] temp 23.1 C, led off\r\n> upt");
  EXPECT_EQ(Type("ime\n", 1'000), "Up for 0:00:01.000\r\n> ");
}

TEST_F(TargetTest, RebootPrintsALineWithoutPromptAndTakesTheLinkDown) {
  EXPECT_FALSE(target_.link_is_down());
  EXPECT_EQ(Type("reboot\n"), "Rebooting ...\r\n");
  EXPECT_TRUE(target_.link_is_down());
  EXPECT_EQ(target_.Attach(), "> ");
  EXPECT_FALSE(target_.link_is_down());
}

TEST_F(TargetTest, RebootSetsTheLogLevelBack) {
  Type("log error\nreboot\n");
  target_.Attach();
  Type("log on\n");
  EXPECT_EQ(Poll(1'000), "\r\n[    1.000] temp 23.1 C, led off\r\n> ");
}

TEST_F(TargetTest, DropTakesTheLinkDownAndNothingElse) {
  Type("led on\nlog on\n");
  EXPECT_EQ(Type("drop\necho lost\n", 500), "Dropping the connection ...\r\n");
  EXPECT_TRUE(target_.link_is_down());
  EXPECT_EQ(target_.Attach(), "> ");
  EXPECT_FALSE(target_.link_is_down());
  EXPECT_EQ(Poll(1'000), "\r\n[    1.000] temp 23.1 C, led on\r\n> ");
}

TEST_F(TargetTest, RebootStartsUptimeAnew) {
  Type("reboot\n", 60'000);
  target_.Attach();
  EXPECT_EQ(Type("uptime\n", 61'500), "Up for 0:00:01.500\r\n> ");
}

TEST_F(TargetTest, RebootSwitchesLedAndLogOff) {
  Type("led on\nlog on\nreboot\n");
  target_.Attach();
  EXPECT_EQ(Poll(5'000), "");
  Type("log on\n", 5'000);
  EXPECT_EQ(Poll(6'000), "\r\n[    6.000] temp 23.6 C, led off\r\n> ");
}

TEST_F(TargetTest, NothingBehindARebootIsLookedAt) {
  EXPECT_EQ(Type("reboot\necho lost\nec"), "Rebooting ...\r\n");
  EXPECT_EQ(Type("echo lost\n"), "");
  target_.Attach();
  EXPECT_EQ(Type("echo back\n"), "back\r\n> ");
}

TEST_F(TargetTest, CommandsWithoutArgumentsRefuseThem) {
  const struct {
    const char* line;
    const char* expected;
  } cases[] = {
      {"help me\n", "Usage: help\r\n> "},     {"temp now\n", "Usage: temp\r\n> "},
      {"uptime -s\n", "Usage: uptime\r\n> "}, {"count up\n", "Usage: count\r\n> "},
      {"drop it\n", "Usage: drop\r\n> "},     {"reboot now\n", "Usage: reboot\r\n> "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Type(c.line), c.expected);
    EXPECT_FALSE(target_.link_is_down());
  }
}

TEST_F(TargetTest, CommandsWithASwitchNeedOneWord) {
  EXPECT_EQ(Type("led\n"), "Usage: led on|off\r\n> ");
  EXPECT_EQ(Type("led on off\n"), "Usage: led on|off\r\n> ");
  EXPECT_EQ(Type("keyecho\n"), "Usage: keyecho on|off\r\n> ");
}

TEST_F(TargetTest, UnknownCommandIsNamedAndHelpOffered) {
  EXPECT_EQ(Type("reset hard\n"),
            "Unknown command \"reset\". Type \"help\" for the commands.\r\n> ");
}

TEST_F(TargetTest, BeginningOfACommandIsNoCommand) {
  EXPECT_EQ(Type("upt\n"), "Unknown command \"upt\". Type \"help\" for the commands.\r\n> ");
}

TEST_F(TargetTest, UpperAndLowerCaseAreTheSameInCommandsAndSwitches) {
  EXPECT_EQ(Type("LeD ON\n"), "LED is on.\r\n> ");
}

TEST_F(TargetTest, BlanksAroundWordsDoNotMatter) {
  EXPECT_EQ(Type(" \t led \t on  \n"), "LED is on.\r\n> ");
  EXPECT_EQ(Type("temp  \n"), "Temperature: 23.0 C\r\n> ");
}

// ---- The greeting ----

constexpr char kGreetingOfAFreshTarget[] =
    "M-Bolt demo target, terminal channel 0\r\n"
    "[    0.000] reset: power on\r\n"
    "[    0.001] clock: 120 MHz, memory: 192 KB\r\n"
    "[    0.002] sensor: 23.0 C\r\n"
    "[    0.002] warn: watchdog is off\r\n"
    "[    0.003] monitor: ready on channel 0\r\n"
    "Start 1, connection 1.\r\n"
    "Type \"help\" for the commands.\r\n";

TEST_F(TargetTest, GreetingOfTheFirstConnectionHasTheLogOfTheStart) {
  EXPECT_EQ(target_.Greeting(), kGreetingOfAFreshTarget);
}

TEST_F(TargetTest, GreetingOfALaterConnectionHasItsNumberAlone) {
  target_.Attach();
  EXPECT_EQ(target_.Greeting(),
            "M-Bolt demo target, terminal channel 0\r\n"
            "Start 1, connection 2.\r\n"
            "Type \"help\" for the commands.\r\n");
}

TEST_F(TargetTest, GreetingAfterARebootCountsTheStartAndConnectionsAnew) {
  target_.Attach();
  Type("reboot\n", 60'000);
  target_.Attach();
  EXPECT_EQ(target_.Greeting(),
            "M-Bolt demo target, terminal channel 0\r\n"
            "[    0.000] reset: reboot command\r\n"
            "[    0.001] clock: 120 MHz, memory: 192 KB\r\n"
            "[    0.002] sensor: 23.0 C\r\n"
            "[    0.002] warn: watchdog is off\r\n"
            "[    0.003] monitor: ready on channel 0\r\n"
            "Start 2, connection 1.\r\n"
            "Type \"help\" for the commands.\r\n");
}

TEST_F(TargetTest, LogOfTheStartKeepsTheColorsThroughAReboot) {
  Type("log color on\nreboot\n");
  target_.Attach();
  EXPECT_EQ(target_.Greeting(),
            "M-Bolt demo target, terminal channel 0\r\n"
            "[    0.000] \x1B[32mreset: reboot command\x1B[0m\r\n"
            "[    0.001] \x1B[32mclock: 120 MHz, memory: 192 KB\x1B[0m\r\n"
            "[    0.002] \x1B[32msensor: 23.0 C\x1B[0m\r\n"
            "[    0.002] \x1B[33mwarn: watchdog is off\x1B[0m\r\n"
            "[    0.003] \x1B[32mmonitor: ready on channel 0\x1B[0m\r\n"
            "Start 2, connection 1.\r\n"
            "Type \"help\" for the commands.\r\n");
}

TEST_F(TargetTest, CountShowsStartsAndConnectionsSinceTheLast) {
  EXPECT_EQ(Type("count\n"), "Start 1, connection 1.\r\n> ");
  Type("drop\n");
  target_.Attach();
  EXPECT_EQ(Type("count\n"), "Start 1, connection 2.\r\n> ");
  Type("reboot\n");
  target_.Attach();
  EXPECT_EQ(Type("count\n"), "Start 2, connection 1.\r\n> ");
}

// ---- The line editor ----

TEST_F(TargetTest, TypedTextIsNotEchoed) { EXPECT_EQ(Type("temp"), ""); }

TEST_F(TargetTest, EmptyLineGivesAPromptOnly) {
  EXPECT_EQ(Type("\n"), "> ");
  EXPECT_EQ(Type("   \n"), "> ");
}

TEST_F(TargetTest, CarriageReturnAloneEndsALine) {
  EXPECT_EQ(Type("echo a\recho b\r"), "a\r\n> b\r\n> ");
}

TEST_F(TargetTest, CarriageReturnAndLineFeedAreOneLineEnd) {
  EXPECT_EQ(Type("echo a\r\necho b\r\n"), "a\r\n> b\r\n> ");
}

TEST_F(TargetTest, CarriageReturnAndLineFeedAreOneLineEndWhenTheyArriveApart) {
  EXPECT_EQ(Type("echo a\r"), "a\r\n> ");
  EXPECT_EQ(Type("\n"), "");
  EXPECT_EQ(Type("\n"), "> ");
}

TEST_F(TargetTest, LineFeedAndCarriageReturnAreTwoLineEnds) { EXPECT_EQ(Type("\n\r"), "> > "); }

TEST_F(TargetTest, BackspaceTakesTheLastCharacterBackWhereTheCursorHasMovedAlready) {
  EXPECT_EQ(Type("echo ab\b"), " \b");
  EXPECT_EQ(Type("c\n"), "ac\r\n> ");
}

TEST_F(TargetTest, DeleteTakesTheLastCharacterBackAndMovesTheCursor) {
  EXPECT_EQ(Type("echo ab\x7F"), "\b \b");
  EXPECT_EQ(Type("c\n"), "ac\r\n> ");
}

TEST_F(TargetTest, DeleteTakesAWholeUtf8CharacterBack) {
  EXPECT_EQ(Type("echo a\xE2\x82\xAC\x7F"), "\b \b");
  EXPECT_EQ(Type("c\n"), "ac\r\n> ");
}

TEST_F(TargetTest, DeleteTakesStrayContinuationBytesBackToo) {
  EXPECT_EQ(Type("\x80\x80\x7F"), "\b \b");
  EXPECT_EQ(Type("temp\n"), "Temperature: 23.0 C\r\n> ");
}

TEST_F(TargetTest, BackspaceInAnEmptyLineLeavesThePromptAlone) { EXPECT_EQ(Type("\b\x7F"), ""); }

TEST_F(TargetTest, ControlUWipesTheLineCharacterByCharacter) {
  EXPECT_EQ(Type("reboot\x15"), "\b \b\b \b\b \b\b \b\b \b\b \b");
  EXPECT_EQ(Type("\xE2\x82\xAC\x15"), "\b \b");
  EXPECT_EQ(Type("\x15"), "");
  EXPECT_EQ(Type("\n"), "> ");
  EXPECT_FALSE(target_.link_is_down());
}

TEST_F(TargetTest, ControlCIsShownAndDropsTheLine) {
  EXPECT_EQ(Type("reboot\x03"), "^C\r\n> ");
  EXPECT_EQ(Type("\n"), "> ");
  EXPECT_FALSE(target_.link_is_down());
}

TEST_F(TargetTest, OtherControlKeysAreShownAndTheLineStands) {
  const struct {
    const char* key;
    const char* expected;
  } cases[] = {
      {"\x01", "^A\r\n> echo a"}, {"\x04", "^D\r\n> echo a"}, {"\x0F", "^O\r\n> echo a"},
      {"\x11", "^Q\r\n> echo a"}, {"\x13", "^S\r\n> echo a"}, {"\x16", "^V\r\n> echo a"},
      {"\x19", "^Y\r\n> echo a"}, {"\x1A", "^Z\r\n> echo a"}, {"\x1C", "^\\\r\n> echo a"},
      {"\x1D", "^]\r\n> echo a"},
  };
  Type("echo a");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(Type(c.key), c.expected);
  }
  EXPECT_EQ(Type("b\n"), "ab\r\n> ");
}

TEST_F(TargetTest, TabCountsAsABlank) { EXPECT_EQ(Type("echo a\tb\n"), "a b\r\n> "); }

TEST_F(TargetTest, ZeroBytesAreIgnored) {
  EXPECT_EQ(Type(std::string_view("echo a\0b\0\n", 10)), "ab\r\n> ");
}

TEST_F(TargetTest, ArrowAndFunctionKeysAreIgnored) {
  EXPECT_EQ(Type("echo a\x1B[A\x1B[15~\x1BOP\x1Bx"), "");
  EXPECT_EQ(Type("b\n"), "ab\r\n> ");
}

TEST_F(TargetTest, EscapeSequencesThatArriveInPiecesAreIgnored) {
  EXPECT_EQ(Type("echo a\x1B"), "");
  EXPECT_EQ(Type("["), "");
  EXPECT_EQ(Type("1;5"), "");
  EXPECT_EQ(Type("C"), "");
  EXPECT_EQ(Type("b\n"), "ab\r\n> ");
}

TEST_F(TargetTest, ControlKeyBreaksAnEscapeSequenceOff) {
  EXPECT_EQ(Type("\x1B[1\x03"), "^C\r\n> ");
  EXPECT_EQ(Type("\x1B\n"), "> ");
  EXPECT_EQ(Type("echo a\n"), "a\r\n> ");
}

TEST_F(TargetTest, OverlongLineIsCut) {
  static_assert(Target::kLineLimit == 120);
  EXPECT_EQ(Type("echo " + std::string(115, 'x') + "\n"), std::string(115, 'x') + "\r\n> ");
  EXPECT_EQ(Type("echo " + std::string(114, 'x') + "yz and more\n"),
            std::string(114, 'x') + "y\r\n> ");
}

TEST_F(TargetTest, LineArrivesByteByByte) {
  std::string printed;
  for (const char byte : std::string("echo slow\n")) printed += Type({&byte, 1});
  EXPECT_EQ(printed, "slow\r\n> ");
}

// ---- The echo ----

TEST_F(TargetTest, KeyEchoIsSwitchedOnAndOff) {
  EXPECT_EQ(Type("keyecho on\n"), "Key echo is on.\r\n> ");
  EXPECT_EQ(Type("temp"), "temp");
  EXPECT_EQ(Type("\x03keyecho off\n"), "^C\r\n> keyecho off\r\nKey echo is off.\r\n> ");
  EXPECT_EQ(Type("temp"), "");
}

class EchoingTargetTest : public TargetTest {
 protected:
  EchoingTargetTest() {
    target_ = Target(kBoot, true);
    target_.Attach();
  }
};

TEST_F(EchoingTargetTest, TextAndLineEndAreEchoed) {
  EXPECT_EQ(Type("echo gr\xC3\xBC\xC3\x9F\n"),
            "echo gr\xC3\xBC\xC3\x9F\r\ngr\xC3\xBC\xC3\x9F\r\n> ");
  EXPECT_EQ(Type("\n"), "\r\n> ");
  EXPECT_EQ(Type("\r\n"), "\r\n> ");
}

TEST_F(EchoingTargetTest, TabIsEchoedAsABlank) { EXPECT_EQ(Type("a\tb"), "a b"); }

TEST_F(EchoingTargetTest, EscapeSequencesAndZeroBytesAreNotEchoed) {
  EXPECT_EQ(Type(std::string_view("a\x1B[D\0b", 6)), "ab");
}

TEST_F(EchoingTargetTest, BackspaceAndDeleteBothMoveTheCursor) {
  EXPECT_EQ(Type("ab\b\x7F"), "ab\b \b\b \b");
  EXPECT_EQ(Type("\b\x7F"), "");
}

TEST_F(EchoingTargetTest, ControlUWipesWhatWasEchoed) { EXPECT_EQ(Type("ab\x15"), "ab\b \b\b \b"); }

TEST_F(EchoingTargetTest, WhatALineHasNoRoomForIsNotEchoed) {
  EXPECT_EQ(Type(std::string(125, 'x')), std::string(120, 'x'));
}

TEST_F(EchoingTargetTest, DebugLogStandsBelowTheEchoedLine) {
  Type("log debug\n");
  EXPECT_EQ(Type("\n"), "\r\n[    0.000] debug: line of 0 bytes, ended by LF\r\n> ");
}

TEST_F(EchoingTargetTest, EchoOutlivesAReboot) {
  EXPECT_EQ(Type("reboot\n"), "reboot\r\nRebooting ...\r\n");
  target_.Attach();
  EXPECT_EQ(Type("temp"), "temp");
}

// ---- One terminal after another ----

TEST_F(TargetTest, NewTerminalDoesNotInheritAHalfTypedLine) {
  Type("echo a");
  EXPECT_EQ(target_.Attach(), "> ");
  EXPECT_EQ(Type("echo b\n"), "b\r\n> ");
}

TEST_F(TargetTest, NewTerminalDoesNotInheritHalfALineEnd) {
  Type("\r");
  target_.Attach();
  EXPECT_EQ(Type("\n"), "> ");
}

TEST_F(TargetTest, NewTerminalDoesNotInheritHalfAnEscapeSequence) {
  Type("\x1B[");
  target_.Attach();
  EXPECT_EQ(Type("temp\n"), "Temperature: 23.0 C\r\n> ");
}

TEST_F(TargetTest, UptimeAndLogOutliveTheTerminal) {
  Type("log on\n");
  target_.Attach();
  EXPECT_EQ(Poll(1'000), "\r\n[    1.000] temp 23.1 C, led off\r\n> ");
  EXPECT_EQ(Type("uptime\n", 2'000), "Up for 0:00:02.000\r\n> ");
}

}  // namespace
