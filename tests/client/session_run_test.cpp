// SPDX-License-Identifier: MIT

// What the client does over time and to its surroundings; transcript_test.cpp has what it prints.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>

#include "tests/client/client_run.h"

namespace client_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr char kShutDown[] = "\r\n###VQX Client: Shutting down...\r\n";

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

TEST(ClientConnect, UsesTheDefaultPortWithoutOneAndWithPortZero) {
  const std::vector<std::vector<std::string>> lines = {{}, {"-VQXTelnetPort", "0"}};
  for (const auto& arguments : lines) {
    ClientRun client(arguments);
    EXPECT_TRUE(client.output().WaitFor("via localhost:19021 ..."));
  }
}

TEST(ClientConnect, AbsentServerAddsADotEveryHalfSecondUntilItIsThere) {
  ScriptedServer server;
  ClientRun client(PortArguments(server));
  const std::string line = "via localhost:" + std::to_string(server.port()) + " ...";
  ASSERT_TRUE(client.output().WaitFor(line));
  const auto start = steady_clock::now();
  ASSERT_TRUE(client.output().WaitFor(line + "..."));
  // The first of the three may have begun a little before the line was seen.
  EXPECT_GE(steady_clock::now() - start, milliseconds(1400));
  server.Listen();
  Welcome(server, client);
  const std::string output = client.Output();
  const size_t behind_line = output.find(line) + line.size();
  const size_t behind_dots = output.find_first_not_of('.', behind_line);
  EXPECT_EQ(output.substr(behind_dots), "\r\n###VQX Client: Connected.\r\n\r\nWelcome\n");
}

TEST(ClientConnect, FailureToCreateASocketEndsTheClient) {
  ScriptedServer server;
  ClientRun client(PortArguments(server));
  ASSERT_TRUE(client.output().WaitFor("...."));
  rlimit limit{};
  ASSERT_EQ(prlimit(client.process().pid(), RLIMIT_NOFILE, nullptr, &limit), 0);
  const rlimit no_more{.rlim_cur = 3, .rlim_max = limit.rlim_max};
  ASSERT_EQ(prlimit(client.process().pid(), RLIMIT_NOFILE, &no_more, nullptr), 0);
  ASSERT_TRUE(client.output().WaitFor(kShutDown));
  // Sanitizers open files at the end.
  ASSERT_EQ(prlimit(client.process().pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
  EXPECT_EQ(client.process().WaitForExit(), 0);
  EXPECT_TRUE(EndsWith(client.Output(),
                       ".\r\n\n###VQX Client ERROR: Failed to connect to session. "
                       "VQX Client will be closed.\r\n" +
                           std::string(kShutDown)))
      << client.Output();
}

TEST(ClientConnect, LostConnectionsLeaveNoDescriptorAndNoMemoryBehind) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server));
  Welcome(server, client);
  auto reconnect_until = [&, connections = size_t{1}](size_t count) mutable {
    while (connections < count) {
      server.Close();
      Welcome(server, client, ++connections);
    }
    return HoldingsOf(client.process().pid());
  };
  const Holdings before = reconnect_until(20);
  const Holdings after = reconnect_until(150);
  EXPECT_EQ(after.descriptors, before.descriptors);
  ASSERT_GT(before.resident_kib, 0u);
  // A sanitizer keeps freed blocks for a while: some bytes a connection, not a receive buffer.
  EXPECT_LT(after.resident_kib, before.resident_kib + 1024);
}

// The program ends: nobody closes the connection that did not become a session.
TEST(ClientShutDown, FailedWelcomeLeavesTheConnectionOpenToTheEnd) {
  for (const std::string welcome : {"", "Hi", "ERROR: no"}) {
    SCOPED_TRACE(welcome);
    ScriptedServer server;
    server.Listen();
    ClientRun client(PortArguments(server));
    ASSERT_TRUE(server.Accept());
    ASSERT_TRUE(server.Send(welcome));
    ASSERT_TRUE(client.output().WaitFor(kShutDown));
    char byte;
    EXPECT_EQ(recv(server.connection(), &byte, 1, MSG_DONTWAIT), -1);  // not at its end
    EXPECT_EQ(client.process().WaitForExit(), 0);
    EXPECT_EQ(recv(server.connection(), &byte, 1, 0), 0);
  }
}

TEST(ClientShutDown, TakesASecondAfterItsLastLine) {
  ScriptedServer server;
  ClientRun client({"nonsense"});
  const auto start = steady_clock::now();
  EXPECT_EQ(client.process().WaitForExit(), 0);
  EXPECT_GE(steady_clock::now() - start, milliseconds(990));
}

TEST(ClientKeys, AKeyTypedWhileTheServerIsSilentArrivesAlone) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server));
  Welcome(server, client);
  ASSERT_TRUE(client.Type("a"));
  EXPECT_EQ(server.Receive(1), "a");
  ASSERT_TRUE(client.output().WaitFor("Welcome\na"));
  ASSERT_TRUE(client.Type("b"));
  EXPECT_EQ(server.Receive(1), "b");
}

TEST(ClientKeys, KeysThatWaitWhenTheConnectionIsLostAreSentToTheNextOne) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server), Input::kPipe);
  Welcome(server, client);
  server.Close();
  ASSERT_TRUE(client.output().WaitFor("Going to reconnect."));
  ASSERT_TRUE(client.Type("later"));  // not read before the next relay: still in the console
  Welcome(server, client, 2);
  EXPECT_EQ(server.Receive(5), "later");
}

// Holds the client in the middle of a pass: a chunk larger than its output pipe makes it wait in
// the printing of received text until somebody reads.
TEST(ClientKeys, FailedSendShutsDownAfterOneMoreReceiveStep) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server), Input::kPipe);
  Welcome(server, client);
  const int capacity = fcntl(client.output_pipe(), F_SETPIPE_SZ, 4096);
  ASSERT_GE(capacity, 4096);
  const std::string chunk(static_cast<size_t>(capacity) + 4096, 'x');
  ASSERT_TRUE(server.Send(chunk));
  const auto deadline = steady_clock::now() + support::kPatience;
  int printed = 0;
  while (printed < capacity && steady_clock::now() < deadline) {
    ioctl(client.output_pipe(), FIONREAD, &printed);
    std::this_thread::sleep_for(milliseconds(1));
  }
  ASSERT_EQ(printed, capacity);
  ASSERT_TRUE(client.Type("k"));
  server.Reset();
  ASSERT_TRUE(client.output().WaitForEnd());
  EXPECT_EQ(client.process().WaitForExit(), 0);
  EXPECT_TRUE(
      EndsWith(client.Output(), "Welcome\n" + chunk +
                                    "k\n###VQX Client ERROR: Socket error while sending. "
                                    "VQX Client will be closed.\r\n"
                                    "\r\n###VQX Client: Connection lost. Going to reconnect.\r\n" +
                                    kShutDown))
      << client.Output();
}

// CR LF becomes LF in each chunk, so a pair that two chunks share stays a pair; taking those out on
// both sides leaves the same bytes.
std::string WithoutCrBeforeLf(const std::string& text) {
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') result += text[i];
  }
  return result;
}

TEST(ClientOutput, EightMebibytesArriveWholeThroughASlowReader) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server));
  Welcome(server, client);
  const size_t before = client.output().text().size();

  std::mt19937 random(20260101);
  std::string text;
  while (text.size() < 8 * 1024 * 1024) {
    text.append(random() % 120, static_cast<char>('!' + random() % 90));
    text += "\r\n";
  }
  text += "END.";
  std::thread sender([&] { EXPECT_TRUE(server.Send(text)); });
  for (int i = 0; i < 20; ++i) {
    client.output().ReadFor(milliseconds(1));
    std::this_thread::sleep_for(milliseconds(5));
  }
  EXPECT_TRUE(client.output().WaitFor("END."));
  sender.join();
  const std::string printed = client.output().text().substr(before);
  EXPECT_EQ(std::hash<std::string>{}(WithoutCrBeforeLf(printed)),
            std::hash<std::string>{}(WithoutCrBeforeLf(text)));
}

TEST(ClientTerminal, IsSwitchedOnTheFirstPollAndNeverBack) {
  ScriptedServer server;
  ClientRun client(PortArguments(server));
  const termios before = client.terminal().Modes();
  ASSERT_TRUE(client.output().WaitFor("...."));
  EXPECT_EQ(client.terminal().Modes().c_lflag, before.c_lflag);  // not while it connects

  server.Listen();
  Welcome(server, client);
  ASSERT_TRUE(client.Type("x\n"));
  ASSERT_EQ(server.Receive(2), "x\n");
  const termios during = client.terminal().Modes();
  EXPECT_EQ(during.c_lflag, before.c_lflag & ~static_cast<tcflag_t>(ECHO | ICANON));
  EXPECT_EQ(during.c_iflag, before.c_iflag);
  EXPECT_EQ(during.c_oflag, before.c_oflag);
  EXPECT_EQ(during.c_cflag, before.c_cflag);
  EXPECT_EQ(during.c_cc[VMIN], before.c_cc[VMIN]);

  server.Close();
  ASSERT_TRUE(server.Accept());
  ASSERT_TRUE(server.Send("ERROR: no"));
  EXPECT_EQ(client.process().WaitForExit(), 0);
  EXPECT_EQ(client.terminal().Modes().c_lflag, during.c_lflag);
}

TEST(ClientTerminal, IsSwitchedOnceInTheProcess) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server));
  const termios before = client.terminal().Modes();
  Welcome(server, client);
  ASSERT_TRUE(client.Type("x\n"));
  ASSERT_EQ(server.Receive(2), "x\n");
  client.terminal().SetModes(before);  // somebody else sets it back; the client leaves it so
  server.Close();
  Welcome(server, client, 2);
  ASSERT_TRUE(client.Type("y\n"));
  ASSERT_EQ(server.Receive(2), "y\n");
  EXPECT_EQ(client.terminal().Modes().c_lflag, before.c_lflag);
}

TEST(ClientTerminal, EndedInputIsNoKeyAndNoEnd) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server), Input::kPipe);
  Welcome(server, client);
  ASSERT_TRUE(client.Type("last"));
  EXPECT_EQ(server.Receive(4), "last");
  client.CloseInput();
  ASSERT_TRUE(server.Send("still here\r\n"));
  EXPECT_TRUE(client.output().WaitFor("still here\n"));
  EXPECT_TRUE(client.process().IsRunning());
}

// Without a descriptor 0 the connection would get that number, and its bytes would pass for keys:
// those that wait behind a full receive buffer, to begin with.
TEST(ClientStandardStreams, ClosedInputIsNeverMistakenForTheConnection) {
  ScriptedServer server;
  server.Listen();
  std::vector<std::string> arguments = PortArguments(server);
  arguments.insert(arguments.end(), {"-LocalEcho", "Off"});
  ClientRun client(arguments, Input::kClosed);
  Welcome(server, client);
  const std::string text(100'000, 't');
  ASSERT_TRUE(server.Send(text + "END."));
  ASSERT_TRUE(client.output().WaitFor("END."));
  EXPECT_NE(client.output().text().find("Welcome\n" + text + "END."), std::string::npos);
}

TEST(ClientStandardStreams, ClosedOutputIsNeverMistakenForTheConnection) {
  ScriptedServer server;
  server.Listen();
  std::vector<std::string> words = PortArguments(server);
  words.insert(words.begin(), VQXCLIENT_PATH);
  support::ChildOptions options;
  options.streams.output = -1;
  support::ChildProcess client(words, options);
  for (int connection = 0; connection < 2; ++connection) {
    ASSERT_TRUE(server.Accept());
    ASSERT_TRUE(server.Send("Welcome\r\n"));
    std::this_thread::sleep_for(milliseconds(100));
    char byte;
    EXPECT_EQ(recv(server.connection(), &byte, 1, MSG_DONTWAIT), -1);
    server.Close();
  }
  EXPECT_TRUE(client.IsRunning());
}

}  // namespace
}  // namespace client_test
