// SPDX-License-Identifier: MIT

// The terminal server as a whole: its command line, its sockets and its end. What the target behind
// it prints is target_test.cpp's.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/tools/server_run.h"

namespace server_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::HasSubstr;

// To the first client; later ones get less.
constexpr char kWelcomeAndPrompt[] =
    "M-Bolt demo target, terminal channel 0\r\n"
    "[    0.000] reset: power on\r\n"
    "[    0.001] clock: 120 MHz, memory: 192 KB\r\n"
    "[    0.002] sensor: 23.0 C\r\n"
    "[    0.002] warn: watchdog is off\r\n"
    "[    0.003] monitor: ready on channel 0\r\n"
    "Start 1, connection 1.\r\n"
    "Type \"help\" for the commands.\r\n> ";
constexpr char kEndOfWelcomeAndPrompt[] = "Type \"help\" for the commands.\r\n> ";

// Whoever is served next gets the welcome and is answered.
void ExpectServes(uint16_t port) {
  Connection client(port);
  EXPECT_TRUE(client.reader().WaitFor(kEndOfWelcomeAndPrompt));
  EXPECT_TRUE(client.Send("echo served\n"));
  EXPECT_TRUE(client.reader().WaitFor("> served\r\n> "));
}

// The milliseconds in an answer "Up for 0:00:01.234".
int UptimeMs(Connection& client, size_t nth) {
  EXPECT_TRUE(client.Send("uptime\n"));
  EXPECT_TRUE(client.reader().WaitFor("Up for ", nth));
  EXPECT_TRUE(client.reader().WaitFor("> ", nth + 1));
  const std::string& text = client.reader().text();
  int hours = 0, minutes = 0, seconds = 0, thousandths = 0;
  EXPECT_EQ(sscanf(text.c_str() + text.rfind("Up for "), "Up for %d:%d:%d.%d", &hours, &minutes,
                   &seconds, &thousandths),
            4);
  return ((hours * 60 + minutes) * 60 + seconds) * 1000 + thousandths;
}

// ---- Listening ----

TEST(TerminalServer, SaysWhereItListensOnALineOfItsOwn) {
  ServerRun server({"--port", "0"});
  const uint16_t port = server.Port();
  ASSERT_NE(port, 0);
  EXPECT_EQ(server.output().text(), "Listening on 127.0.0.1:" + std::to_string(port) + "\n");
  ExpectServes(port);
}

TEST(TerminalServer, PortZeroPicksAnotherPortEachTime) {
  ServerRun first({"--port", "0"});
  ServerRun second({"--port", "0"});
  ASSERT_NE(first.Port(), 0);
  ASSERT_NE(second.Port(), 0);
  EXPECT_NE(first.Port(), second.Port());
}

// Somebody else on this machine may have the port; both answers name it.
TEST(TerminalServer, PortIs19021ByDefault) {
  ServerRun server({});
  if (server.Port() == 0) {
    EXPECT_TRUE(server.error().WaitFor("127.0.0.1:19021"));
  } else {
    EXPECT_EQ(server.Port(), 19021);
  }
}

TEST(TerminalServer, StartsAgainAtOnceOnThePortItHadBefore) {
  uint16_t port = 0;
  {
    ServerRun server({"--port", "0"});
    port = server.Port();
    ASSERT_NE(port, 0);
    // The server closes first, so that its side of the connection still lingers.
    Connection client(port);
    ASSERT_TRUE(client.Send("reboot\n"));
    ASSERT_TRUE(client.reader().WaitForEnd());
    server.process().Signal(SIGTERM);
    ASSERT_EQ(server.process().WaitForExit(), 0);
  }
  ServerRun again({"--port", std::to_string(port)});
  EXPECT_EQ(again.Port(), port);
  ExpectServes(port);
}

TEST(TerminalServer, ListensOn127001Alone) {
  ServerRun server({"--port", "0"});
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(server.Port());
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
  const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), -1);
  close(descriptor);
}

TEST(TerminalServer, BusyPortEndsItWithStatusOneAndAMessage) {
  ServerRun first({"--port", "0"});
  const std::string port = std::to_string(first.Port());
  ServerRun second({"--port", port});
  EXPECT_EQ(second.process().WaitForExit(), 1);
  ASSERT_TRUE(second.error().WaitForEnd());
  EXPECT_EQ(second.error().text(), "vqx-terminal-server: cannot listen on 127.0.0.1:" + port +
                                       "; is the port in use? --port 0 picks a free one\n");
  ASSERT_TRUE(second.output().WaitForEnd());
  EXPECT_EQ(second.output().text(), "");
  ExpectServes(first.Port());
}

// ---- Options ----

TEST(TerminalServer, BadOptionsEndItWithStatusTwoAndAMessage) {
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } cases[] = {
      {{"--bogus"}, "unknown option \"--bogus\""},
      {{"19021"}, "unknown option \"19021\""},
      {{"--help", "--bogus"}, "unknown option \"--bogus\""},
      {{"--port=80"}, "unknown option \"--port=80\""},
      {{"--port"}, "--port takes a number from 0 to 65535"},
      {{"--port", ""}, "--port takes a number from 0 to 65535"},
      {{"--port", "x"}, "--port takes a number from 0 to 65535"},
      {{"--port", "80x"}, "--port takes a number from 0 to 65535"},
      {{"--port", " 80"}, "--port takes a number from 0 to 65535"},
      {{"--port", "-1"}, "--port takes a number from 0 to 65535"},
      {{"--port", "65536"}, "--port takes a number from 0 to 65535"},
      {{"--welcome"}, "--welcome takes a text with the escapes \\r \\n \\t \\\\ \\xNN"},
      {{"--welcome", "a\\"}, "--welcome takes a text with the escapes \\r \\n \\t \\\\ \\xNN"},
      {{"--welcome", "\\q"}, "--welcome takes a text with the escapes \\r \\n \\t \\\\ \\xNN"},
      {{"--welcome", "\\x4"}, "--welcome takes a text with the escapes \\r \\n \\t \\\\ \\xNN"},
      {{"--welcome", "\\x4G"}, "--welcome takes a text with the escapes \\r \\n \\t \\\\ \\xNN"},
      {{"--welcome-delay"}, "--welcome-delay takes a number of milliseconds"},
      {{"--welcome-delay", "soon"}, "--welcome-delay takes a number of milliseconds"},
      {{"--refuse"}, "--refuse takes a reason"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.arguments));
    ServerRun server(c.arguments);
    EXPECT_EQ(server.process().WaitForExit(), 2);
    ASSERT_TRUE(server.error().WaitForEnd());
    EXPECT_EQ(server.error().text(),
              std::string("vqx-terminal-server: ") + c.message + "\n(--help shows the options)\n");
    ASSERT_TRUE(server.output().WaitForEnd());
    EXPECT_EQ(server.output().text(), "");
  }
}

TEST(TerminalServer, HelpNamesEveryOptionOnStandardOutput) {
  ServerRun server({"--help"});
  EXPECT_EQ(server.process().WaitForExit(), 0);
  ASSERT_TRUE(server.output().WaitForEnd());
  for (const char* option : {"--port N", "--echo", "--welcome TEXT", "--welcome-delay MS",
                             "--refuse REASON", "--help", "19021", "\\r \\n \\t \\\\ and \\xNN"}) {
    EXPECT_THAT(server.output().text(), HasSubstr(option));
  }
  ASSERT_TRUE(server.error().WaitForEnd());
  EXPECT_EQ(server.error().text(), "");
}

TEST(TerminalServer, WelcomeAndPromptArriveTogether) {
  ServerRun server({"--port", "0"});
  Connection client(server.Port());
  EXPECT_EQ(client.ReceiveOnce(), kWelcomeAndPrompt);
}

TEST(TerminalServer, WelcomeOptionExpandsEscapes) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"Plain text", "Plain text> "},
      {"a\\r\\nb\\tc", "a\r\nb\tc> "},
      {"a\\\\nb", "a\\nb> "},
      {"\\x1b[1m\\xC3\\xA4\\x41B", "\x1B[1m\xC3\xA4\x41\x42> "},
      {"", "> "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ServerRun server({"--port", "0", "--welcome", c.text});
    Connection client(server.Port());
    EXPECT_EQ(client.ReceiveOnce(), c.expected);
  }
}

TEST(TerminalServer, WelcomeOptionSendsZeroBytesToo) {
  ServerRun server({"--port", "0", "--welcome", "a\\x00b"});
  Connection client(server.Port());
  EXPECT_EQ(client.ReceiveOnce(), std::string("a\0b> ", 5));
}

TEST(TerminalServer, WelcomeDelayHoldsTheWelcomeBack) {
  ServerRun server({"--port", "0", "--welcome-delay", "300"});
  const uint16_t port = server.Port();
  const auto start = steady_clock::now();
  Connection client(port);
  EXPECT_EQ(client.ReceiveOnce(), kWelcomeAndPrompt);
  EXPECT_GE(steady_clock::now() - start, milliseconds(300));
}

TEST(TerminalServer, KeysTypedDuringTheDelayAreAnsweredAfterTheWelcome) {
  ServerRun server({"--port", "0", "--welcome-delay", "100", "--welcome", "Hello\r\n"});
  Connection client(server.Port());
  ASSERT_TRUE(client.Send("echo early\n"));
  EXPECT_TRUE(client.reader().WaitFor("Hello\r\n> early\r\n> "));
}

TEST(TerminalServer, RefusesEveryClientWithTheReason) {
  ServerRun server({"--port", "0", "--refuse", "Another client is connected."});
  for (int i = 0; i < 3; ++i) {
    Connection client(server.Port());
    ASSERT_TRUE(client.reader().WaitForEnd());
    EXPECT_EQ(client.reader().text(), "ERROR: Another client is connected.");
  }
}

TEST(TerminalServer, RefusedClientThatHasTypedAlreadyStillGetsTheReasonAndAnOrderlyEnd) {
  ServerRun server({"--port", "0", "--welcome-delay", "100", "--refuse", "Busy"});
  Connection client(server.Port());
  ASSERT_TRUE(client.Send("typed too early"));
  EXPECT_EQ(client.ReceiveOnce(), "ERROR: Busy");
  EXPECT_TRUE(client.IsAtItsEnd());
}

TEST(TerminalServer, LaterOptionsWin) {
  ServerRun server({"--port", "1", "--welcome", "a", "--port", "0", "--welcome", "b"});
  Connection client(server.Port());
  EXPECT_EQ(client.ReceiveOnce(), "b> ");
}

// ---- One session ----

TEST(TerminalServer, AnswersLineByLine) {
  ServerRun server({"--port", "0", "--welcome", "Hi\r\n"});
  Connection client(server.Port());
  ASSERT_TRUE(client.reader().WaitFor("> "));
  ASSERT_TRUE(client.Send("led on\n"));
  ASSERT_TRUE(client.reader().WaitFor("> ", 2));
  ASSERT_TRUE(client.Send("ec"));
  ASSERT_TRUE(client.Send("ho done\r"));
  ASSERT_TRUE(client.reader().WaitFor("> ", 3));
  EXPECT_EQ(client.reader().text(), "Hi\r\n> LED is on.\r\n> done\r\n> ");
}

TEST(TerminalServer, LogLinesComeByThemselvesAndNotEarly) {
  ServerRun server({"--port", "0"});
  Connection client(server.Port());
  const auto start = steady_clock::now();
  ASSERT_TRUE(client.Send("log on\n"));
  ASSERT_TRUE(client.reader().WaitFor(", led off\r\n> ", 2));
  EXPECT_GE(steady_clock::now() - start, milliseconds(1900));
}

TEST(TerminalServer, UptimeRunsWithTheClock) {
  ServerRun server({"--port", "0"});
  Connection client(server.Port());
  const int first_ms = UptimeMs(client, 1);
  std::this_thread::sleep_for(milliseconds(150));
  EXPECT_GE(UptimeMs(client, 2) - first_ms, 149);
}

TEST(TerminalServer, RebootDropsTheConnectionInOrder) {
  ServerRun server({"--port", "0", "--welcome", "Hi\r\n"});
  Connection client(server.Port());
  ASSERT_TRUE(client.reader().WaitFor("> "));
  ASSERT_TRUE(client.Send("reboot\necho too late\n"));
  ASSERT_TRUE(client.reader().WaitFor("Rebooting ...\r\n"));
  EXPECT_TRUE(client.IsAtItsEnd());
  EXPECT_EQ(client.reader().text(), "Hi\r\n> Rebooting ...\r\n");
}

TEST(TerminalServer, UptimeStartsAnewAfterAReboot) {
  ServerRun server({"--port", "0"});
  const uint16_t port = server.Port();
  std::this_thread::sleep_for(milliseconds(200));
  const auto reboot_sent = steady_clock::now();
  {
    Connection client(port);
    ASSERT_TRUE(client.Send("reboot\n"));
    ASSERT_TRUE(client.reader().WaitForEnd());
  }
  Connection client(port);
  ASSERT_TRUE(client.reader().WaitFor("> "));
  const int uptime_ms = UptimeMs(client, 1);
  EXPECT_LE(milliseconds(uptime_ms), steady_clock::now() - reboot_sent + milliseconds(1));
}

// ---- One client after another ----

TEST(TerminalServer, ServesOneClientAfterAnother) {
  ServerRun server({"--port", "0"});
  for (int i = 0; i < 3; ++i) ExpectServes(server.Port());
}

TEST(TerminalServer, NextClientWaitsUntilTheFirstIsGone) {
  ServerRun server({"--port", "0"});
  auto first = std::make_unique<Connection>(server.Port());
  ASSERT_TRUE(first->reader().WaitFor("> "));
  Connection second(server.Port());
  second.reader().ReadFor(milliseconds(200));
  EXPECT_EQ(second.reader().text(), "");
  first.reset();
  EXPECT_TRUE(second.reader().WaitFor(kEndOfWelcomeAndPrompt));
}

TEST(TerminalServer, TargetKeepsItsStateBetweenClients) {
  ServerRun server({"--port", "0"});
  {
    Connection client(server.Port());
    ASSERT_TRUE(client.Send("led on\nlog on\n"));
    ASSERT_TRUE(client.reader().WaitFor("Log is on.\r\n> "));
  }
  Connection client(server.Port());
  EXPECT_TRUE(client.reader().WaitFor(", led on\r\n> "));
}

TEST(TerminalServer, GreetingCountsTheConnectionsUntilAReboot) {
  ServerRun server({"--port", "0"});
  const struct {
    const char* counts;
    const char* end;
  } cases[] = {
      {"0\r\nStart 1, connection 2.\r\n", "drop\n"},
      {"0\r\nStart 1, connection 3.\r\n", "reboot\n"},
      {"] reset: reboot command\r\n", "drop\n"},
      {"0\r\nStart 2, connection 2.\r\n", "drop\n"},
  };
  ExpectServes(server.Port());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.counts);
    Connection client(server.Port());
    EXPECT_THAT(client.ReceiveOnce(), HasSubstr(c.counts));
    ASSERT_TRUE(client.Send(c.end));
    ASSERT_TRUE(client.reader().WaitForEnd());
  }
}

TEST(TerminalServer, DropEndsTheConnectionInOrder) {
  ServerRun server({"--port", "0", "--welcome", "Hi\r\n"});
  Connection client(server.Port());
  ASSERT_TRUE(client.Send("drop\n"));
  ASSERT_TRUE(client.reader().WaitFor("Dropping the connection ...\r\n"));
  EXPECT_TRUE(client.IsAtItsEnd());
}

TEST(TerminalServer, EchoOptionLetsTheTargetEcho) {
  ServerRun server({"--port", "0", "--welcome", "Hi\r\n", "--echo"});
  Connection client(server.Port());
  ASSERT_TRUE(client.reader().WaitFor("> "));
  ASSERT_TRUE(client.Send("led"));
  ASSERT_TRUE(client.reader().WaitFor("> led"));
  ASSERT_TRUE(client.Send(" on\n"));
  ASSERT_TRUE(client.reader().WaitFor("> ", 2));
  EXPECT_EQ(client.reader().text(), "Hi\r\n> led on\r\nLED is on.\r\n> ");
}

TEST(TerminalServer, OutlivesAClientThatResetsMidway) {
  ServerRun server({"--port", "0"});
  for (int i = 0; i < 3; ++i) {
    Connection client(server.Port());
    ASSERT_TRUE(client.reader().WaitFor("> "));
    ASSERT_TRUE(client.Send("echo unfin"));
    client.Reset();
  }
  ExpectServes(server.Port());
}

TEST(TerminalServer, OutlivesClientsThatResetBeforeTheyAreAccepted) {
  ServerRun server({"--port", "0"});
  {
    Connection first(server.Port());
    ASSERT_TRUE(first.reader().WaitFor("> "));
    for (int i = 0; i < 3; ++i) Connection(server.Port()).Reset();
  }
  ExpectServes(server.Port());
}

TEST(TerminalServer, AnswersAClientThatHasEndedSendingAndThenCloses) {
  ServerRun server({"--port", "0", "--welcome", "Hi\r\n"});
  Connection client(server.Port());
  ASSERT_TRUE(client.Send("echo last words\n"));
  client.EndSending();
  ASSERT_TRUE(client.reader().WaitForEnd());
  EXPECT_EQ(client.reader().text(), "Hi\r\n> last words\r\n> ");
  EXPECT_TRUE(server.process().IsRunning());
}

TEST(TerminalServer, OutlivesAFloodOfBytes) {
  ServerRun server({"--port", "0"});
  {
    std::string every_byte;
    for (int byte = 0; byte < 256; ++byte) every_byte += static_cast<char>(byte);
    Connection client(server.Port());
    for (int i = 0; i < 400; ++i) {
      ASSERT_TRUE(client.Send(every_byte));
      client.reader().ReadFor(milliseconds(0));
    }
    ASSERT_TRUE(client.Send("\necho through\n"));
    ASSERT_TRUE(client.reader().WaitFor("> through\r\n"));
  }
  ExpectServes(server.Port());
}

TEST(TerminalServer, DropsAClientThatNeverReads) {
  ServerRun server({"--port", "0"});
  Connection flood(server.Port(), 4096);
  Connection next(server.Port());
  std::string commands;
  for (int i = 0; i < 1000; ++i) commands += "help\n";
  const auto deadline = steady_clock::now() + support::kPatience;
  while (next.reader().text().empty() && steady_clock::now() < deadline) {
    flood.SendSome(commands);
    next.reader().ReadFor(milliseconds(10));
  }
  EXPECT_TRUE(next.reader().WaitFor(kEndOfWelcomeAndPrompt));
}

// The answers are more than the system keeps for a client that does not read, about 3 MB.
TEST(TerminalServer, KeepsAClientThatReadsLate) {
  ServerRun server({"--port", "0"});
  Connection client(server.Port());
  ASSERT_TRUE(client.reader().WaitFor("> "));
  std::string commands;
  for (int i = 0; i < 15'000; ++i) commands += "help\n";
  ASSERT_TRUE(client.Send(commands));
  std::this_thread::sleep_for(milliseconds(500));
  ASSERT_TRUE(client.Send("echo still here\n"));
  std::string end;
  size_t received = 0;
  while (end.find("> still here\r\n> ") == std::string::npos) {
    const std::string chunk = client.ReceiveOnce();
    ASSERT_NE(chunk, "") << "after " << received << " bytes";
    received += chunk.size();
    end = (end + chunk).substr(end.size() < 100 ? 0 : end.size() - 100);
  }
  EXPECT_GT(received, 4'000'000U);
}

TEST(TerminalServer, LeavesNoDescriptorOpenBehindAClient) {
  support::ChildOptions options;
  options.prepare = [] {
    const rlimit few{.rlim_cur = 10, .rlim_max = 10};
    setrlimit(RLIMIT_NOFILE, &few);
  };
  ServerRun server({"--port", "0"}, options);
  for (int i = 0; i < 12; ++i) ExpectServes(server.Port());
}

// ---- The end ----

class TerminalServerEnd : public testing::TestWithParam<int> {};

TEST_P(TerminalServerEnd, IsCleanWhileItWaitsForAClient) {
  ServerRun server({"--port", "0"});
  ASSERT_NE(server.Port(), 0);
  server.process().Signal(GetParam());
  EXPECT_EQ(server.process().WaitForExit(), 0);
  ASSERT_TRUE(server.error().WaitForEnd());
  EXPECT_EQ(server.error().text(), "");
}

TEST_P(TerminalServerEnd, IsCleanDuringASessionAndClosesItInOrder) {
  ServerRun server({"--port", "0"});
  Connection client(server.Port());
  ASSERT_TRUE(client.reader().WaitFor(kWelcomeAndPrompt));
  server.process().Signal(GetParam());
  EXPECT_EQ(server.process().WaitForExit(), 0);
  EXPECT_TRUE(client.IsAtItsEnd());
}

TEST_P(TerminalServerEnd, DoesNotWaitForALongWelcomeDelay) {
  ServerRun server({"--port", "0", "--welcome-delay", "3600000"});
  Connection client(server.Port());
  client.reader().ReadFor(milliseconds(100));
  server.process().Signal(GetParam());
  EXPECT_EQ(server.process().WaitForExit(), 0);
  EXPECT_EQ(client.reader().text(), "");
}

TEST_P(TerminalServerEnd, DoesNotComeFromASignalThatIsIgnoredAtTheStart) {
  const int signal_number = GetParam();
  ServerRun server({"--port", "0"}, {.prepare = [=] { signal(signal_number, SIG_IGN); }});
  ASSERT_NE(server.Port(), 0);
  server.process().Signal(signal_number);
  ExpectServes(server.Port());
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminalServerEnd, testing::Values(SIGINT, SIGTERM),
                         [](const auto& signal) {
                           return std::string(signal.param == SIGINT ? "Int" : "Term");
                         });

}  // namespace
}  // namespace server_test
