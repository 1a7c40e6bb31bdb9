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
            "  help          lists the commands\r\n"
            "  led on|off    switches the LED\r\n"
            "  temp          shows the temperature\r\n"
            "  uptime        shows the time since the start\r\n"
            "  echo TEXT     shows the text\r\n"
            "  log on|off    switches a log line every second\r\n"
            "  reboot        starts the target again and drops the connection\r\n"
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

TEST_F(TargetTest, LogWithABadArgumentPrintsTheUsageAndStaysOff) {
  EXPECT_EQ(Type("log maybe\n"), "Usage: log on|off\r\n> ");
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
      {"help me\n", "Usage: help\r\n> "},
      {"temp now\n", "Usage: temp\r\n> "},
      {"uptime -s\n", "Usage: uptime\r\n> "},
      {"reboot now\n", "Usage: reboot\r\n> "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Type(c.line), c.expected);
    EXPECT_FALSE(target_.link_is_down());
  }
}

TEST_F(TargetTest, CommandsWithASwitchNeedOneWord) {
  EXPECT_EQ(Type("led\n"), "Usage: led on|off\r\n> ");
  EXPECT_EQ(Type("log on off\n"), "Usage: log on|off\r\n> ");
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
