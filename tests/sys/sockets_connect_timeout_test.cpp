// SPDX-License-Identifier: MIT

// The timed connect of sys/sockets.cpp.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "sys/sockets.h"
#include "tests/support/loopback.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/private_network.h"
#include "tests/support/repeated_signal.h"
#include "tests/support/socket_state.h"

// ---- What the tests put between the connect and the clock ----

namespace {

// While one of these is set it answers in place of the clock.
std::function<uint32_t()> scripted_tick_count;
std::function<uint64_t()> scripted_tick_count_us;
std::function<void(uint32_t)> scripted_sleep;

}  // namespace

extern "C" {

uint32_t __real_SYS_GetTickCount(void);
uint64_t __real_SYS_GetTickCountUs(void);
void __real_SYS_Sleep(uint32_t milliseconds);

uint32_t __wrap_SYS_GetTickCount(void);
uint64_t __wrap_SYS_GetTickCountUs(void);
void __wrap_SYS_Sleep(uint32_t milliseconds);

uint32_t __wrap_SYS_GetTickCount(void) {
  return scripted_tick_count ? scripted_tick_count() : __real_SYS_GetTickCount();
}

uint64_t __wrap_SYS_GetTickCountUs(void) {
  return scripted_tick_count_us ? scripted_tick_count_us() : __real_SYS_GetTickCountUs();
}

void __wrap_SYS_Sleep(uint32_t milliseconds) {
  if (scripted_sleep) {
    scripted_sleep(milliseconds);
  } else {
    __real_SYS_Sleep(milliseconds);
  }
}

}  // extern "C"

namespace {

using support::FullListener;
using support::Handle;
using support::IsNonBlocking;
using support::kLongTime_ms;
using support::kLoopbackAddress;
using support::Listener;
using support::LocalPort;
using support::NoMoreDescriptors;
using support::OpenDescriptors;
using support::Option;
using support::Peer;
using support::SilentPort;
using support::Stopwatch;
using testing::ElementsAre;
using testing::Ge;
using testing::Le;

// What the callback of a timed connect does, in one place because it takes no argument.
struct Callback {
  int calls = 0;
  std::function<int32_t()> action = [] { return 0; };
};
Callback callback;

int32_t CallBack() {
  ++callback.calls;
  return callback.action();
}

class SysSocketConnectTimeout : public testing::Test {
 protected:
  ~SysSocketConnectTimeout() override {
    callback = {};
    scripted_tick_count = nullptr;
    scripted_tick_count_us = nullptr;
    scripted_sleep = nullptr;
  }

  static int32_t Connect(uint16_t port, int32_t timeout_ms) {
    return SYS_SOCKET_ConnectTimeout(kLoopbackAddress, port, timeout_ms, CallBack);
  }

  // The descriptors that the test did not have when it began.
  std::vector<int> NewDescriptors() const {
    std::vector<int> added;
    std::ranges::set_difference(OpenDescriptors(), before_, std::back_inserter(added));
    return added;
  }
  void RememberDescriptors() { before_ = OpenDescriptors(); }

 private:
  std::vector<int> before_;
};

TEST_F(SysSocketConnectTimeout, GivesAConnectionToTheListener) {
  const Listener listener;
  const Handle socket(
      SYS_SOCKET_ConnectTimeout(kLoopbackAddress, listener.port(), kLongTime_ms, nullptr));
  ASSERT_GE(socket.get(), 0);
  const Peer peer = listener.Accept();
  ASSERT_TRUE(peer.Send("welcome"));
  char text[7];
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(socket.get(), text, 7), 7);
  EXPECT_EQ(std::string(text, 7), "welcome");
  EXPECT_EQ(SYS_SOCKET_Send(socket.get(), "key", 3), 3);
  EXPECT_EQ(peer.Receive(3), "key");
}

TEST_F(SysSocketConnectTimeout, GivesABlockingHandleThatDoesNotCollectSmallPieces) {
  const Listener listener;
  const Handle socket(Connect(listener.port(), kLongTime_ms));
  ASSERT_GE(socket.get(), 0);
  EXPECT_FALSE(IsNonBlocking(socket.get()));
  EXPECT_EQ(Option(socket.get(), IPPROTO_TCP, TCP_NODELAY), 1);
}

TEST_F(SysSocketConnectTimeout, TheTestOfTheConnectionSendsNothing) {
  const Listener listener;
  const int32_t socket = Connect(listener.port(), kLongTime_ms);
  const Peer peer = listener.Accept();
  SYS_SOCKET_Close(socket);
  EXPECT_EQ(peer.ReceiveToEnd(), "");
}

TEST_F(SysSocketConnectTimeout, OpensNothingButTheHandle) {
  const Listener listener;
  RememberDescriptors();
  const Handle socket(Connect(listener.port(), kLongTime_ms));
  EXPECT_THAT(NewDescriptors(), ElementsAre(socket.get()));
}

TEST_F(SysSocketConnectTimeout, RefusedGivesUpWithMinusTwoAndLeavesNoDescriptorOpen) {
  const SilentPort port;
  RememberDescriptors();
  const Stopwatch watch;
  EXPECT_EQ(SYS_SOCKET_ConnectTimeout(kLoopbackAddress, port.port(), 500, nullptr), -2);
  EXPECT_GE(watch.milliseconds(), 500);
  EXPECT_THAT(NewDescriptors(), ElementsAre());
}

TEST_F(SysSocketConnectTimeout, UnansweredGivesUpWithMinusTwoAndLeavesNoDescriptorOpen) {
  const FullListener listener;
  RememberDescriptors();
  const Stopwatch watch;
  EXPECT_EQ(SYS_SOCKET_ConnectTimeout(kLoopbackAddress, listener.port(), 200, nullptr), -2);
  EXPECT_GE(watch.milliseconds(), 200);
  EXPECT_THAT(NewDescriptors(), ElementsAre());
}

// A pass takes at least 8 ms, so 500 ms have room for 63; a slow machine makes fewer.
TEST_F(SysSocketConnectTimeout, ARefusedAttemptIsRepeatedAboutEveryTenMilliseconds) {
  const SilentPort port;
  EXPECT_EQ(Connect(port.port(), 500), -2);
  EXPECT_GE(callback.calls, 5);
  EXPECT_LE(callback.calls, 63);
}

TEST_F(SysSocketConnectTimeout, ARefusedAttemptIsClosedBeforeTheNextOne) {
  const SilentPort port;
  RememberDescriptors();
  callback.action = [this] {
    EXPECT_THAT(NewDescriptors(), ElementsAre());
    return callback.calls == 3 ? 1 : 0;
  };
  EXPECT_EQ(Connect(port.port(), kLongTime_ms), -3);
}

TEST_F(SysSocketConnectTimeout, AnUnansweredAttemptGoesOnWithTheSameSocket) {
  const FullListener listener;
  RememberDescriptors();
  std::vector<uint16_t> ports;
  callback.action = [&] {
    const std::vector<int> added = NewDescriptors();
    EXPECT_EQ(added.size(), 1U);
    if (!added.empty()) ports.push_back(LocalPort(added.front()));
    return callback.calls == 3 ? 1 : 0;
  };
  EXPECT_EQ(Connect(listener.port(), kLongTime_ms), -3);
  ASSERT_EQ(ports.size(), 3U);
  EXPECT_NE(ports[0], 0);
  EXPECT_EQ(ports[1], ports[0]);
  EXPECT_EQ(ports[2], ports[0]);
}

TEST_F(SysSocketConnectTimeout, AnUnansweredPassLastsTenMilliseconds) {
  const FullListener listener;
  callback.action = [] { return callback.calls == 10 ? 1 : 0; };
  const Stopwatch watch;
  EXPECT_EQ(Connect(listener.port(), kLongTime_ms), -3);
  EXPECT_GE(watch.milliseconds(), 100);
}

// An interrupted wait is no answer: the attempt stands and goes on.
TEST_F(SysSocketConnectTimeout, AnInterruptedWaitKeepsTheSocket) {
  const FullListener listener;
  RememberDescriptors();
  std::vector<uint16_t> ports;
  callback.action = [&] {
    for (const int added : NewDescriptors()) ports.push_back(LocalPort(added));
    return 0;
  };
  const support::RepeatedSignal signals(3);
  const Stopwatch watch;
  EXPECT_EQ(Connect(listener.port(), 100), -2);
  EXPECT_GE(watch.milliseconds(), 100);
  ASSERT_FALSE(ports.empty());
  EXPECT_THAT(ports, testing::Each(ports.front()));
}

TEST_F(SysSocketConnectTimeout, FindsAListenerThatStartsLate) {
  const SilentPort port;
  callback.action = [&port] {
    if (callback.calls == 3) port.StartListening();
    return 0;
  };
  const Handle socket(Connect(port.port(), kLongTime_ms));
  ASSERT_GE(socket.get(), 0);
  EXPECT_EQ(callback.calls, 3);  // the next pass finds it
  EXPECT_EQ(SYS_SOCKET_Send(socket.get(), "x", 1), 1);
  EXPECT_EQ(port.Accept().Receive(1), "x");
}

TEST_F(SysSocketConnectTimeout, GetsInWhenTheListenerMakesRoom) {
  FullListener listener;
  callback.action = [&listener] {
    if (callback.calls == 3) listener.MakeRoom();
    return 0;
  };
  const Handle socket(Connect(listener.port(), kLongTime_ms));
  ASSERT_GE(socket.get(), 0);
  EXPECT_FALSE(IsNonBlocking(socket.get()));
  EXPECT_EQ(SYS_SOCKET_Send(socket.get(), "x", 1), 1);
  EXPECT_EQ(listener.Accept().Receive(1), "x");
}

TEST_F(SysSocketConnectTimeout, AbortAfterTheFirstPassGivesMinusThreeAndLeavesNoDescriptorOpen) {
  const SilentPort port;
  const FullListener listener;
  RememberDescriptors();
  callback.action = [] { return 1; };
  EXPECT_EQ(Connect(port.port(), kLongTime_ms), -3);
  EXPECT_EQ(callback.calls, 1);
  const Stopwatch watch;
  EXPECT_EQ(Connect(listener.port(), kLongTime_ms), -3);
  EXPECT_EQ(callback.calls, 2);
  EXPECT_GE(watch.milliseconds(), 10);
  EXPECT_THAT(NewDescriptors(), ElementsAre());
}

TEST_F(SysSocketConnectTimeout, AnyNonZeroAnswerAborts) {
  const SilentPort port;
  callback.action = [] { return INT32_MIN; };
  EXPECT_EQ(Connect(port.port(), kLongTime_ms), -3);
}

TEST_F(SysSocketConnectTimeout, AnAbortInTheLastPassCountsBeforeTheTime) {
  const SilentPort port;
  callback.action = [] { return 1; };
  EXPECT_EQ(Connect(port.port(), -1), -3);
}

TEST_F(SysSocketConnectTimeout, AConnectionOfTheFirstPassAsksNobody) {
  const Listener listener;
  callback.action = [] { return 1; };
  const Handle socket(Connect(listener.port(), kLongTime_ms));
  EXPECT_GE(socket.get(), 0);
  EXPECT_EQ(callback.calls, 0);
}

TEST_F(SysSocketConnectTimeout, ZeroAndNegativeTimesMakeOnePass) {
  const SilentPort port;
  const FullListener listener;
  for (const int32_t timeout_ms : {0, -1, -500, INT32_MIN}) {
    SCOPED_TRACE(timeout_ms);
    callback = {};
    EXPECT_EQ(Connect(port.port(), timeout_ms), -2);
    EXPECT_EQ(callback.calls, 1);
    EXPECT_EQ(Connect(listener.port(), timeout_ms), -2);
    EXPECT_EQ(callback.calls, 2);
  }
}

TEST_F(SysSocketConnectTimeout, ZeroAndNegativeTimesStillFindAListener) {
  const Listener listener;
  for (const int32_t timeout_ms : {0, -1, INT32_MIN}) {
    SCOPED_TRACE(timeout_ms);
    const Handle socket(Connect(listener.port(), timeout_ms));
    EXPECT_GE(socket.get(), 0);
  }
}

TEST_F(SysSocketConnectTimeout, TheTimeHasPassedOnlyBeyondTheLimit) {
  const SilentPort port;
  const struct {
    int32_t timeout_ms;
    std::vector<uint32_t> ticks;                    // the start, then the end of each pass
  } cases[] = {{500, {0, 499, 500, 501}},           // equal is not beyond
               {0, {0, 0, 1}},                      //
               {-1, {0, 0}},                        // 0 is beyond -1
               {500, {4294967290U, 494, 495}},      // the count wraps: 500, then 501
               {500, {0, 0x80000000U, 501}},        // signed: the second one counts as negative
               {INT32_MIN, {0, 0x80000000U, 0}},    // and is not beyond the smallest limit
               {INT32_MAX - 1, {0, 0x7FFFFFFFU}}};  //
  scripted_sleep = [](uint32_t) {};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.timeout_ms);
    callback = {};
    size_t next = 0;
    scripted_tick_count = [&] { return next < c.ticks.size() ? c.ticks[next++] : 0x7FFFFFFFU; };
    EXPECT_EQ(Connect(port.port(), c.timeout_ms), -2);
    EXPECT_EQ(next, c.ticks.size());
    EXPECT_EQ(callback.calls, static_cast<int>(c.ticks.size()) - 1);
  }
}

TEST_F(SysSocketConnectTimeout, ARefusedPassSleepsForTheRestOfItsTenMilliseconds) {
  const SilentPort port;
  const struct {
    uint64_t elapsed_us;
    std::optional<uint32_t> expected_sleep_ms;
  } cases[] = {
      {0, 9},     {1, 9},       {2, 8},
      {1001, 8},  {1002, 7},    {8001, 1},
      {8002, 0},  // (9001 - 8002) / 1000 is 0
      {9000, 0},  // sleeps, but for nothing
      {9001, {}}, {50'000, {}}, {UINT64_C(1) << 40, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.elapsed_us);
    uint64_t now_us = 1'000'000;
    scripted_tick_count_us = [&] { return std::exchange(now_us, now_us + c.elapsed_us); };
    std::vector<uint32_t> sleeps;
    scripted_sleep = [&](uint32_t milliseconds) { sleeps.push_back(milliseconds); };
    EXPECT_EQ(Connect(port.port(), -1), -2);
    if (c.expected_sleep_ms) {
      EXPECT_THAT(sleeps, ElementsAre(*c.expected_sleep_ms));
    } else {
      EXPECT_THAT(sleeps, ElementsAre());
    }
  }
}

TEST_F(SysSocketConnectTimeout, AnUnansweredPassDoesNotSleep) {
  const FullListener listener;
  int sleeps = 0;
  scripted_sleep = [&sleeps](uint32_t) { ++sleeps; };
  EXPECT_EQ(Connect(listener.port(), 30), -2);
  EXPECT_EQ(sleeps, 0);
}

TEST_F(SysSocketConnectTimeout, GivesMinusOneWhenNoSocketCanBeCreated) {
  const Listener listener;
  const NoMoreDescriptors limit;
  EXPECT_EQ(Connect(listener.port(), kLongTime_ms), -1);
  EXPECT_EQ(callback.calls, 0);
}

TEST_F(SysSocketConnectTimeout, GivesMinusOneWhenNoSocketCanBeCreatedForALaterAttempt) {
  const SilentPort port;
  std::optional<NoMoreDescriptors> limit;
  callback.action = [&limit] {
    if (callback.calls == 2) limit.emplace();
    return 0;
  };
  EXPECT_EQ(Connect(port.port(), kLongTime_ms), -1);
  EXPECT_EQ(callback.calls, 2);
}

// With one port for all clients the system has to pick the one that is connected to, at once.
constexpr uint16_t kOnlyPort = 40'000;
constexpr char kNarrowRange[] = "40000 40000";

TEST_F(SysSocketConnectTimeout, NeverGivesASocketThatIsConnectedToItself) {
  const bool has_run = support::RunInPrivateNetwork([this] {
    ASSERT_TRUE(support::WriteNetworkSetting("ipv4/ip_local_port_range", kNarrowRange));
    Peer itself = support::ConnectTo(kOnlyPort);
    ASSERT_GE(itself.descriptor(), 0);  // it does happen here
    itself.Reset();  // an orderly end would keep the port from being picked again
    RememberDescriptors();
    EXPECT_EQ(Connect(kOnlyPort, 100), -2);
    EXPECT_THAT(callback.calls, testing::AllOf(Ge(1), Le(13)));  // as often as a refused attempt
    EXPECT_THAT(NewDescriptors(), ElementsAre());
  });
  if (!has_run) GTEST_SKIP() << "a private network is not allowed here";
}

TEST_F(SysSocketConnectTimeout, ASocketThatWasConnectedToItselfLeavesThePortFree) {
  const bool has_run = support::RunInPrivateNetwork([] {
    ASSERT_TRUE(support::WriteNetworkSetting("ipv4/ip_local_port_range", kNarrowRange));
    EXPECT_EQ(Connect(kOnlyPort, 0), -2);
    const Handle late_listener(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kOnlyPort);
    EXPECT_EQ(bind(late_listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  });
  if (!has_run) GTEST_SKIP() << "a private network is not allowed here";
}

TEST_F(SysSocketConnectTimeout, ManyThreadsMayConnectAtOnce) {
  const Listener listener;
  std::vector<int32_t> handles(4, -1);
  std::vector<std::thread> threads;
  for (int32_t& handle : handles) {
    threads.emplace_back([&handle, port = listener.port()] {
      handle = SYS_SOCKET_ConnectTimeout(kLoopbackAddress, port, kLongTime_ms, nullptr);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const int32_t handle : handles) {
    EXPECT_GE(handle, 0);
    SYS_SOCKET_Close(handle);
  }
}

}  // namespace
