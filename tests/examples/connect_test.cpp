// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tests/examples/example_run.h"
#include "tests/support/loopback.h"

namespace {

using example_test::Result;
using example_test::RunExample;

TEST(ExampleConnect, SendsTheLineAndShowsTheAnswer) {
  const support::Listener listener;
  std::string received;
  std::thread server([&] {
    const support::Peer peer = listener.Accept();
    received = peer.ReceiveToEnd();
    peer.Send("welcome\n");
  });
  const Result result = RunExample({"localhost", std::to_string(listener.port()), "hello there"});
  server.join();
  EXPECT_EQ(received, "hello there\r\n");
  EXPECT_EQ(result, (Result{"localhost is 127.0.0.1.\nwelcome\n", 0}));
}

TEST(ExampleConnect, LongAnswersComeWhole) {
  const support::Listener listener;
  const std::string answer(100'000, 'a');
  std::thread server([&] {
    const support::Peer peer = listener.Accept();
    peer.Receive(4);
    peer.Send(answer);
  });
  const Result result = RunExample({"127.0.0.1", std::to_string(listener.port()), "hi"});
  server.join();
  EXPECT_TRUE(result == (Result{"127.0.0.1 is 127.0.0.1.\n" + answer, 0}))
      << result.output.size() << " bytes, status " << result.exit_status;
}

TEST(ExampleConnect, SaysWhenNobodyListens) {
  const support::SilentPort port;
  EXPECT_EQ(RunExample({"127.0.0.1", std::to_string(port.port()), "hello"}),
            (Result{"127.0.0.1 is 127.0.0.1.\nNobody listens there.\n", 1}));
}

TEST(ExampleConnect, SaysWhenANameHasNoAddress) {
  EXPECT_EQ(RunExample({"not a name", "1", "hello"}), (Result{"not a name has no address.\n", 1}));
}

TEST(ExampleConnect, OtherArgumentsMakeItTellItsUse) {
  const Result usage{"usage: connect HOST PORT LINE\n", 2};
  EXPECT_EQ(RunExample(), usage);
  EXPECT_EQ(RunExample({"localhost", "port", "hello"}), usage);
  EXPECT_EQ(RunExample({"localhost", "65536", "hello"}), usage);
}

}  // namespace
