// SPDX-License-Identifier: MIT

// What the client makes of servers and networks that misbehave. The long ones take the length that
// CLIENT_SOAK gives, "full" or nothing.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "tests/client/client_run.h"
#include "tests/support/private_network.h"
#include "tests/support/program_run.h"

namespace client_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr char kConnected[] = "\r\n###VQX Client: Connected.\r\n\r\n";
constexpr char kLost[] = "\r\n###VQX Client: Connection lost. Going to reconnect.\r\n";

bool IsFullLength() {
  const char* const length = std::getenv("CLIENT_SOAK");
  return length != nullptr && std::string(length) == "full";
}

std::string ConnectingLine(uint16_t port) {
  return "###VQX Client: Connecting to M-Bolt VQX Server via localhost:" + std::to_string(port) +
         " ...";
}

std::vector<std::string> ArgumentsWithoutEcho(const ScriptedServer& server) {
  std::vector<std::string> arguments = PortArguments(server);
  arguments.insert(arguments.end(), {"-LocalEcho", "Off"});
  return arguments;
}

// What was printed from the first connecting line on.
std::string Session(const ClientRun& client, uint16_t port) {
  const std::string output = client.Output();
  return output.substr(output.find(ConnectingLine(port)));
}

// ---- Before and during the welcome ----

TEST(ClientConnectionFaults, FullBacklogIsWaitedFor) {
  support::FullListener server;
  ClientRun client({"-VQXTelnetPort", std::to_string(server.port())});
  ASSERT_TRUE(client.output().WaitFor(ConnectingLine(server.port()) + ".."));
  server.MakeRoom();
  const support::Peer connection = server.Accept();
  ASSERT_GE(connection.descriptor(), 0);
  ASSERT_TRUE(connection.Send("Welcome\r\n"));
  EXPECT_TRUE(client.output().WaitFor(std::string(kConnected) + "Welcome\n"));
}

class ClientWelcomeReset : public testing::TestWithParam<size_t> {};

TEST_P(ClientWelcomeReset, WhatCameBeforeItCounts) {
  const std::string welcome = std::string("Welcome\r\n").substr(0, GetParam());
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server));
  ASSERT_TRUE(server.Accept());
  std::this_thread::sleep_for(milliseconds(10));  // a reset any earlier is a refused attempt
  ASSERT_TRUE(server.Send(welcome));
  server.Reset();
  if (welcome.size() < 5) {
    ASSERT_TRUE(client.output().WaitFor("Shutting down...\r\n"));
    EXPECT_EQ(Session(client, server.port()),
              ConnectingLine(server.port()) +
                  "\n###VQX Client ERROR: Unexpected welcome string from M-Bolt DLL."
                  "\r\n###VQX Client: Shutting down...\r\n");
    return;
  }
  const std::string shown = welcome == "Welcome\r\n" ? "Welcome\n" : welcome;
  Welcome(server, client, welcome == "Welcome\r\n" ? 2 : 1);
  EXPECT_EQ(Session(client, server.port()), ConnectingLine(server.port()) + kConnected + shown +
                                                kLost + ConnectingLine(server.port()) + kConnected +
                                                "Welcome\n");
}

INSTANTIATE_TEST_SUITE_P(AtEveryByte, ClientWelcomeReset, testing::Range(size_t{0}, size_t{10}));

// ---- The end of a connection ----

TEST(ClientConnectionFaults, HalfCloseIsALostConnectionAndClosesTheOtherHalf) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server));
  Welcome(server, client);
  ASSERT_TRUE(client.Type("k"));
  ASSERT_EQ(server.Receive(1), "k");
  ASSERT_TRUE(server.Send("last words"));
  server.ShutDownSending();
  EXPECT_EQ(server.Receive(1), "");  // the client has closed as well
  Welcome(server, client, 2);
  EXPECT_EQ(Session(client, server.port()),
            ConnectingLine(server.port()) + kConnected + "Welcome\nk" + "last words" + kLost +
                ConnectingLine(server.port()) + kConnected + "Welcome\n");
}

TEST(ClientConnectionFaults, ThousandsOfReconnectsPrintEachLineOnceAndKeepNothing) {
  const size_t count = IsFullLength() ? 10'000 : 300;
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server));
  std::string expected = ConnectingLine(server.port()) + kConnected + "Welcome\n";
  const std::string again = kLost + expected;
  Welcome(server, client);
  Holdings before{};
  for (size_t connection = 2; connection <= count; ++connection) {
    server.Close();
    Welcome(server, client, connection);
    ASSERT_FALSE(HasFatalFailure()) << "at connection " << connection;
    if (connection == count / 10) before = HoldingsOf(client.process().pid());
    expected += again;
  }
  const Holdings after = HoldingsOf(client.process().pid());
  EXPECT_TRUE(Session(client, server.port()) == expected);
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_LT(after.resident_kib, before.resident_kib + 1024);
}

// ---- Floods, drops and silence ----

// A text of whose pieces no two are alike, to be sent over and over.
const std::string& LongText() {
  static const std::string text = [] {
    std::string lines;
    for (int line = 0; lines.size() < 1'000'000; ++line) {
      lines += "line " + std::to_string(line) + '\n';
    }
    return lines;
  }();
  return text;
}

// Reads from the client's output; false at the first byte that is not the long text's, which comes
// so many times.
bool ShowsLongText(int output, size_t times) {
  const std::string& text = LongText();
  for (size_t position = 0; position < times * text.size();) {
    const size_t offset = position % text.size();
    char block[65536];
    const ssize_t length = read(output, block, std::min(text.size() - offset, sizeof block));
    if (length <= 0) return false;
    if (text.compare(offset, static_cast<size_t>(length), block, static_cast<size_t>(length)) !=
        0) {
      return false;
    }
    position += static_cast<size_t>(length);
  }
  return true;
}

TEST(ClientConnectionFaults, FloodIsShownWholeWhileKeysPass) {
  // The client's pauses let some 15 MB a second pass.
  const size_t times = IsFullLength() ? 60 * 15 : 30;
  ScriptedServer server;
  server.Listen();
  // A sanitizer keeps freed blocks for a while: some of them only.
  support::ChildOptions options;
  options.environment = {"ASAN_OPTIONS=quarantine_size_mb=1"};
  ClientRun client(ArgumentsWithoutEcho(server), Input::kTerminal, options);
  Welcome(server, client);
  const Holdings before = HoldingsOf(client.process().pid());
  std::thread sender([&] {
    for (size_t time = 0; time < times; ++time) ASSERT_TRUE(server.Send(LongText()));
  });
  std::thread typist([&] {
    for (char key = 'A'; key <= 'Z'; ++key) {
      EXPECT_TRUE(client.Type(std::string(1, key)));
      std::this_thread::sleep_for(milliseconds(20));
    }
  });
  EXPECT_TRUE(ShowsLongText(client.output_pipe(), times));
  EXPECT_EQ(server.Receive(26), "ABCDEFGHIJKLMNOPQRSTUVWXYZ");
  sender.join();
  typist.join();
  const Holdings after = HoldingsOf(client.process().pid());
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_LT(after.resident_kib, before.resident_kib + 4096);
}

TEST(ClientConnectionFaults, OneByteAPacketIsShownAsItComes) {
  ScriptedServer server;
  server.Listen();
  ClientRun client(PortArguments(server));
  Welcome(server, client);
  const size_t before = client.output().text().size();
  std::string text;
  for (int line = 0; line < 100; ++line) text += "line " + std::to_string(line) + "\r\n";
  for (size_t shown = 1; shown <= text.size(); ++shown) {
    ASSERT_TRUE(server.Send(text.substr(shown - 1, 1)));
    ASSERT_TRUE(client.output().WaitForSize(before + shown));
  }
  // A CR at the end of what was received has no LF behind it and stays.
  EXPECT_EQ(client.output().text().substr(before), text);
}

// Keys are sent 64 a pass, so the buffers have to be small to fill up.
TEST(ClientConnectionFaults, KeysWaitForAServerThatStopsReading) {
  const auto silence = IsFullLength() ? seconds(10) : seconds(1);
  const bool has_run = support::RunInPrivateNetwork([silence] {
    ASSERT_TRUE(support::WriteNetworkSetting("ipv4/tcp_wmem", "4096 4096 4096"));
    ScriptedServer server;
    server.Listen(2048);
    ClientRun client(PortArguments(server), Input::kPipe);
    Welcome(server, client);
    const size_t before = client.output().text().size();
    const std::string keys = LongText().substr(0, 30'000);  // a pipe holds more
    ASSERT_TRUE(client.Type(keys));
    // What the client takes it echoes, so it stands when no more echo comes.
    size_t echoed;
    do {
      echoed = client.output().text().size() - before;
      client.output().ReadFor(milliseconds(500));
    } while (client.output().text().size() - before > echoed);
    ASSERT_LT(echoed, keys.size());
    std::this_thread::sleep_for(silence);
    EXPECT_EQ(server.Receive(keys.size()), keys);
    EXPECT_TRUE(client.output().WaitForSize(before + keys.size()));
    EXPECT_EQ(client.output().text().substr(before), keys);
  });
  if (!has_run) GTEST_SKIP() << "a private network is not allowed here";
}

// Of the packets in both directions every fifth or so is dropped, by nft's random numbers.
bool DropPackets() {
  const support::Result added =
      support::Run({"nft",
                    "add table ip loss;"
                    "add chain ip loss input { type filter hook input priority 0; };"
                    "add rule ip loss input meta l4proto tcp numgen random mod 100 < 20 drop"});
  return added.exit_status == 0;
}

TEST(ClientConnectionFaults, LostPacketsLoseNothing) {
  const size_t times = IsFullLength() ? 20 : 1;
  const bool has_run = support::RunInPrivateNetwork([&] {
    ScriptedServer server;
    server.Listen();
    ClientRun client(ArgumentsWithoutEcho(server));
    Welcome(server, client);
    ASSERT_TRUE(DropPackets()) << "install nftables";
    std::thread sender([&] {
      for (size_t time = 0; time < times; ++time) ASSERT_TRUE(server.Send(LongText()));
    });
    std::thread typist([&] { EXPECT_TRUE(client.Type("all these keys")); });
    EXPECT_TRUE(ShowsLongText(client.output_pipe(), times));
    EXPECT_EQ(server.Receive(14), "all these keys");
    sender.join();
    typist.join();
  });
  if (!has_run) GTEST_SKIP() << "a private network is not allowed here";
}

// ---- The client's own port ----

// The only port that the system has for a client is the one the client connects to, so every
// attempt would meet itself: more often in two seconds than in a day with the usual ports.
TEST(ClientConnectionFaults, WaitingClientNeverConnectsToItself) {
  const bool has_run = support::RunInPrivateNetwork([] {
    ASSERT_TRUE(support::WriteNetworkSetting("ipv4/ip_local_port_range", "40000 40000"));
    ClientRun client({"-VQXTelnetPort", "40000"});
    ASSERT_TRUE(client.output().WaitFor(ConnectingLine(40000) + "...."));
    EXPECT_EQ(client.output().text().find("Connected."), std::string::npos);
    // The port is free for the server all the time, and is noticed when clients have ports again.
    const support::Listener server(40000);
    ASSERT_TRUE(support::WriteNetworkSetting("ipv4/ip_local_port_range", "41000 49999"));
    const support::Peer connection = server.Accept();
    ASSERT_GE(connection.descriptor(), 0);
    ASSERT_TRUE(connection.Send("Welcome\r\n"));
    EXPECT_TRUE(client.output().WaitFor(std::string(kConnected) + "Welcome\n"));
  });
  if (!has_run) GTEST_SKIP() << "a private network is not allowed here";
}

}  // namespace
}  // namespace client_test
