#include "sys/sockets.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/loopback.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/private_network.h"
#include "tests/support/repeated_signal.h"

// ---- What the tests put between the sockets and what is below them ----

namespace {

// While one of these is set it answers in place of the clock.
std::function<uint32_t()> scripted_tick_count;
std::function<uint64_t()> scripted_tick_count_us;
std::function<void(uint32_t)> scripted_sleep;

// While it is not 0 every recv fails with it.
int recv_error = 0;

}  // namespace

extern "C" {

uint32_t __real_SYS_GetTickCount(void);
uint64_t __real_SYS_GetTickCountUs(void);
void __real_SYS_Sleep(uint32_t milliseconds);
ssize_t __real_recv(int descriptor, void* buffer, size_t capacity, int flags);

uint32_t __wrap_SYS_GetTickCount(void);
uint64_t __wrap_SYS_GetTickCountUs(void);
void __wrap_SYS_Sleep(uint32_t milliseconds);
ssize_t __wrap_recv(int descriptor, void* buffer, size_t capacity, int flags);

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

ssize_t __wrap_recv(int descriptor, void* buffer, size_t capacity, int flags) {
  if (recv_error == 0) return __real_recv(descriptor, buffer, capacity, flags);
  errno = recv_error;
  return -1;
}

}  // extern "C"

namespace {

using support::Family;
using support::FullListener;
using support::GuardedBuffer;
using support::kLoopbackAddress;
using support::kPatience;
using support::Listener;
using support::OpenDescriptors;
using support::Peer;
using support::PeerPair;
using support::SilentPort;
using support::Stopwatch;
using testing::ElementsAre;
using testing::Ge;
using testing::Le;

constexpr int32_t kLongTime_ms = static_cast<int32_t>(kPatience.count());
constexpr SYS_SOCKET_IP6_ADDR kLoopback6{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};
constexpr SYS_SOCKET_IP6_ADDR kMappedLoopback{
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 127, 0, 0, 1}};

// A handle of the functions under test, closed with the object.
class Handle {
 public:
  explicit Handle(int32_t handle) : handle_(handle) {}
  ~Handle() {
    if (handle_ >= 0) close(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  int32_t get() const { return handle_; }

 private:
  int32_t handle_;
};

int Option(int32_t handle, int level, int name) {
  int value = -1;
  socklen_t length = sizeof value;
  EXPECT_EQ(getsockopt(handle, level, name, &value, &length), 0);
  return value;
}

bool IsNonBlocking(int32_t handle) { return (fcntl(handle, F_GETFL) & O_NONBLOCK) != 0; }

void MakeNonBlocking(int32_t handle) {
  ASSERT_EQ(fcntl(handle, F_SETFL, fcntl(handle, F_GETFL) | O_NONBLOCK), 0);
}

void LimitWait(int32_t handle, int option, int milliseconds) {
  const timeval time{.tv_sec = 0, .tv_usec = milliseconds * 1000};
  ASSERT_EQ(setsockopt(handle, SOL_SOCKET, option, &time, sizeof time), 0);
}

uint16_t LocalPort(int descriptor) {
  sockaddr_in record{};
  socklen_t length = sizeof record;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&record), &length) != 0) return 0;
  return ntohs(record.sin_port);
}

// A number that is no open descriptor.
int ClosedDescriptor() {
  const int descriptor = dup(0);
  close(descriptor);
  return descriptor;
}

// While it lives this process can open no descriptor more.
class NoMoreDescriptors {
 public:
  NoMoreDescriptors() {
    getrlimit(RLIMIT_NOFILE, &previous_);
    rlimit limit = previous_;
    limit.rlim_cur = 0;
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  }
  ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &previous_); }
  NoMoreDescriptors(const NoMoreDescriptors&) = delete;
  NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

 private:
  rlimit previous_{};
};

// Bytes that tell a shift, a loss and a repetition apart.
std::string Pattern(size_t size) {
  std::string bytes(size, '\0');
  uint32_t state = 12345;
  for (char& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  return bytes;
}

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

#define SKIP_WITHOUT_IPV6() \
  if (!support::HasIpv6Loopback()) GTEST_SKIP() << "this machine has no IPv6 loopback address"

// ---- Creation ----

TEST(SysSocketCreate, GivesABlockingIpv4StreamThatDoesNotCollectSmallPieces) {
  const Handle socket(SYS_SOCKET_Create());
  ASSERT_GE(socket.get(), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_TYPE), SOCK_STREAM);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_DOMAIN), AF_INET);
  EXPECT_EQ(Option(socket.get(), IPPROTO_TCP, TCP_NODELAY), 1);
  EXPECT_FALSE(IsNonBlocking(socket.get()));
}

TEST(SysSocketCreate, GivesAnIpv6StreamThatDoesNotCollectSmallPieces) {
  SKIP_WITHOUT_IPV6();
  for (const uint8_t dual_stack : {uint8_t{0}, uint8_t{1}}) {
    const Handle socket(SYS_SOCKET_Create6(dual_stack));
    ASSERT_GE(socket.get(), 0);
    EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_TYPE), SOCK_STREAM);
    EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_DOMAIN), AF_INET6);
    EXPECT_EQ(Option(socket.get(), IPPROTO_TCP, TCP_NODELAY), 1);
  }
}

TEST(SysSocketCreate, GivesAnIpv4DatagramSocket) {
  const Handle socket(SYS_SOCKET_CreateUDP());
  ASSERT_GE(socket.get(), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_TYPE), SOCK_DGRAM);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_DOMAIN), AF_INET);
}

TEST(SysSocketCreate, GivesAnIpv6DatagramSocket) {
  SKIP_WITHOUT_IPV6();
  const Handle socket(SYS_SOCKET_CreateUDP6(0));
  ASSERT_GE(socket.get(), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_TYPE), SOCK_DGRAM);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_DOMAIN), AF_INET6);
}

// The system's default, which the flag has to overrule, is the other one in the private network.
TEST(SysSocketCreate, DualStackFlagAdmitsIpv4PeersAndNoFlagLeavesTheDefault) {
  SKIP_WITHOUT_IPV6();
  const bool has_run = support::RunInPrivateNetwork([] {
    ASSERT_TRUE(support::WriteNetworkSetting("ipv6/bindv6only", "1"));
    const struct {
      int32_t (*create)(uint8_t);
      uint8_t dual_stack;
      int expected_v6_only;
    } cases[] = {
        {SYS_SOCKET_Create6, 0, 1},    {SYS_SOCKET_Create6, 1, 0},    {SYS_SOCKET_Create6, 0xFF, 0},
        {SYS_SOCKET_CreateUDP6, 0, 1}, {SYS_SOCKET_CreateUDP6, 1, 0},
    };
    for (const auto& c : cases) {
      const Handle socket(c.create(c.dual_stack));
      EXPECT_EQ(Option(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY), c.expected_v6_only);
    }
  });
  if (!has_run) GTEST_SKIP() << "a private network is not allowed here";
}

TEST(SysSocketCreate, GivesMinusOneWhenNoDescriptorIsLeft) {
  const NoMoreDescriptors limit;
  EXPECT_EQ(SYS_SOCKET_Create(), -1);
  EXPECT_EQ(SYS_SOCKET_Create6(1), -1);
  EXPECT_EQ(SYS_SOCKET_CreateUDP(), -1);
  EXPECT_EQ(SYS_SOCKET_CreateUDP6(1), -1);
}

// ---- Plain connect ----

TEST(SysSocketConnect, ReachesAListenerByAddressAndPortInHostOrder) {
  const Listener listener;
  const Handle socket(SYS_SOCKET_Create());
  ASSERT_EQ(SYS_SOCKET_Connect(socket.get(), 0x7F000001, listener.port()), 0);
  const Peer peer = listener.Accept();
  ASSERT_TRUE(peer.Send("hello"));
  char text[5];
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(socket.get(), text, 5), 5);
  EXPECT_EQ(std::string(text, 5), "hello");
}

TEST(SysSocketConnect, GivesMinusOneWhenRefused) {
  const SilentPort port;
  const Handle socket(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_Connect(socket.get(), kLoopbackAddress, port.port()), -1);
}

TEST(SysSocketConnect, GivesMinusOneWithoutASocket) {
  const Listener listener;
  EXPECT_EQ(SYS_SOCKET_Connect(-1, kLoopbackAddress, listener.port()), -1);
  EXPECT_EQ(SYS_SOCKET_Connect6(-1, kLoopback6, listener.port()), -1);
}

TEST(SysSocketConnect, GivesMinusOneWhileInProgress) {
  const FullListener listener;
  const Handle socket(SYS_SOCKET_Create());
  MakeNonBlocking(socket.get());
  EXPECT_EQ(SYS_SOCKET_Connect(socket.get(), kLoopbackAddress, listener.port()), -1);
}

TEST(SysSocketConnect, SetsThePeerOfADatagramSocket) {
  const support::DatagramPeer peer;
  const Handle socket(SYS_SOCKET_CreateUDP());
  ASSERT_EQ(SYS_SOCKET_Connect(socket.get(), kLoopbackAddress, peer.port()), 0);
  EXPECT_EQ(SYS_SOCKET_Send(socket.get(), "datagram", 8), 8);
  EXPECT_EQ(peer.Receive().bytes, "datagram");
}

TEST(SysSocketConnect6, ReachesAListenerByAddressAndPort) {
  SKIP_WITHOUT_IPV6();
  const Listener listener(0, Family::kIpv6);
  const Handle socket(SYS_SOCKET_Create6(0));
  ASSERT_EQ(SYS_SOCKET_Connect6(socket.get(), kLoopback6, listener.port()), 0);
  const Peer peer = listener.Accept();
  ASSERT_TRUE(peer.Send("hello"));
  char text[5];
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(socket.get(), text, 5), 5);
  EXPECT_EQ(std::string(text, 5), "hello");
}

TEST(SysSocketConnect6, GivesMinusOneWhenRefused) {
  SKIP_WITHOUT_IPV6();
  const SilentPort port(Family::kIpv6);
  const Handle socket(SYS_SOCKET_Create6(0));
  EXPECT_EQ(SYS_SOCKET_Connect6(socket.get(), kLoopback6, port.port()), -1);
}

TEST(SysSocketConnect6, ReachesAnIpv4ListenerFromADualStackSocket) {
  SKIP_WITHOUT_IPV6();
  const Listener listener;
  const Handle socket(SYS_SOCKET_Create6(1));
  EXPECT_EQ(SYS_SOCKET_Connect6(socket.get(), kMappedLoopback, listener.port()), 0);
}

// ---- Timed connect ----

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
    ASSERT_GE(support::ConnectTo(kOnlyPort).descriptor(), 0);  // it does happen here
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

// ---- Waiting until readable ----

TEST(SysSocketIsReadable, TellsOneWhenBytesWait) {
  const PeerPair pair = support::Connect();
  ASSERT_TRUE(pair.server.Send("x"));
  EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), 1);
}

TEST(SysSocketIsReadable, TellsOneWhenBytesArriveDuringTheWait) {
  const PeerPair pair = support::Connect();
  std::thread sender([&pair] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(pair.server.Send("x"));
  });
  EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), 1);
  sender.join();
}

TEST(SysSocketIsReadable, TellsZeroWhenTheTimePassesAndNotBefore) {
  const PeerPair pair = support::Connect();
  for (const int32_t timeout_ms : {0, 10, 50, 1100}) {  // the last one has a second and a rest
    SCOPED_TRACE(timeout_ms);
    const Stopwatch watch;
    EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), timeout_ms), 0);
    EXPECT_GE(watch.milliseconds(), timeout_ms);
  }
}

TEST(SysSocketIsReadable, TellsOneAtTheEndOfTheStream) {
  PeerPair pair = support::Connect();
  pair.server.Close();
  EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), 1);
}

TEST(SysSocketIsReadable, TellsOneAfterAReset) {
  PeerPair pair = support::Connect();
  pair.server.Reset();
  EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), 1);
}

TEST(SysSocketIsReadable, TellsMinusOneOnAnError) {
  const PeerPair pair = support::Connect();
  EXPECT_EQ(SYS_SOCKET_IsReadable(-1, 0), -1);
  EXPECT_EQ(SYS_SOCKET_IsReadable(ClosedDescriptor(), 0), -1);
  EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), -1), -1);
  EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), -2000), -1);
}

TEST(SysSocketIsReadable, TellsMinusOneWhenInterrupted) {
  const PeerPair pair = support::Connect();
  const support::RepeatedSignal signals(20);
  EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), -1);
}

TEST(SysSocketIsReadable, TakesDescriptorsBeyondTheSystemsSet) {
  const PeerPair pair = support::Connect();
  const Handle large(support::DuplicateAtOrAbove(pair.client.descriptor(), 2000));
  if (large.get() < 0) GTEST_SKIP() << "this system does not allow 2000 descriptors";
  EXPECT_EQ(SYS_SOCKET_IsReadable(large.get(), 10), 0);
  ASSERT_TRUE(pair.server.Send("x"));
  EXPECT_EQ(SYS_SOCKET_IsReadable(large.get(), kLongTime_ms), 1);
}

// ---- Sending ----

TEST(SysSocketSend, GivesTheNumberOfBytesTaken) {
  const PeerPair pair = support::Connect();
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "hello, world", 5), 5);
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "!", 0), 0);
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), ".", 1), 1);
  EXPECT_EQ(pair.server.Receive(6), "hello.");
}

TEST(SysSocketSend, ABlockingSocketTakesSeveralMegabytesWhileThePeerReads) {
  PeerPair pair = support::Connect();
  const std::string bytes = Pattern(8 * 1024 * 1024);
  std::string received;
  std::thread reader([&] { received = pair.server.Receive(bytes.size()); });
  size_t sent = 0;
  while (sent < bytes.size()) {
    const int32_t result = SYS_SOCKET_Send(pair.client.descriptor(), &bytes[sent],
                                           static_cast<uint32_t>(bytes.size() - sent));
    if (result < 0) break;
    sent += static_cast<size_t>(result);
  }
  pair.client.ShutDownSending();
  reader.join();
  EXPECT_EQ(sent, bytes.size());
  EXPECT_TRUE(received == bytes);
}

// Fills the way to the peer and returns how much it took.
size_t FillUp(int32_t handle) {
  const std::string bytes(1 << 20, 'f');
  size_t taken = 0;
  for (;;) {
    const int32_t result = SYS_SOCKET_Send(handle, bytes.data(), 1 << 20);
    if (result < 0) {
      EXPECT_EQ(result, -2);
      return taken;
    }
    taken += static_cast<size_t>(result);
  }
}

TEST(SysSocketSend, ANonBlockingSocketTakesAPartAndThenGivesMinusTwo) {
  PeerPair pair = support::Connect();
  MakeNonBlocking(pair.client.descriptor());
  const size_t taken = FillUp(pair.client.descriptor());
  EXPECT_GT(taken, 0U);
  EXPECT_NE(taken % (1 << 20), 0U);  // the last send that took anything took a part
  std::string received;
  std::thread reader([&] { received = pair.server.ReceiveToEnd(); });
  pair.client.Close();
  reader.join();
  EXPECT_EQ(received.size(), taken);
}

TEST(SysSocketSend, GivesMinusTwoWhenTheSendTimePasses) {
  const PeerPair pair = support::Connect();
  LimitWait(pair.client.descriptor(), SO_SNDTIMEO, 50);
  FillUp(pair.client.descriptor());
  const Stopwatch watch;
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "x", 1), -2);
  EXPECT_GE(watch.milliseconds(), 49);  // the system counts in its own ticks
}

TEST(SysSocketSend, ABrokenConnectionGivesMinusOneAndNoSignal) {
  signal(SIGPIPE, SIG_DFL);  // it would end this program
  PeerPair pair = support::Connect();
  pair.server.Reset();
  EXPECT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), 1);
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "x", 1), -1);  // the reset itself
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "x", 1), -1);  // would be the signal
}

TEST(SysSocketSend, ATimedConnectionThatBreaksRaisesNoSignal) {
  signal(SIGPIPE, SIG_DFL);
  const Listener listener;
  const Handle socket(
      SYS_SOCKET_ConnectTimeout(kLoopbackAddress, listener.port(), kLongTime_ms, nullptr));
  listener.Accept().Reset();
  EXPECT_EQ(SYS_SOCKET_IsReadable(socket.get(), kLongTime_ms), 1);
  EXPECT_EQ(SYS_SOCKET_Send(socket.get(), "x", 1), -1);
  EXPECT_EQ(SYS_SOCKET_Send(socket.get(), "x", 1), -1);
}

TEST(SysSocketSend, GivesMinusOneAfterTheOwnSideWasShutDown) {
  signal(SIGPIPE, SIG_DFL);
  const PeerPair pair = support::Connect();
  SYS_SOCKET_Shutdown(pair.client.descriptor(), 1);
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "x", 1), -1);
}

TEST(SysSocketSend, GivesMinusOneWithoutAConnection) {
  signal(SIGPIPE, SIG_DFL);
  const Handle unconnected(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_Send(unconnected.get(), "x", 1), -1);
  EXPECT_EQ(SYS_SOCKET_Send(-1, "x", 1), -1);
  EXPECT_EQ(SYS_SOCKET_Send(ClosedDescriptor(), "x", 1), -1);
}

// ---- Receiving ----

TEST(SysSocketReceive, GivesWhatIsThereUpToTheCapacity) {
  const PeerPair pair = support::Connect();
  ASSERT_TRUE(pair.server.Send("hello"));
  GuardedBuffer first(3);
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), first.data(), 3), 3);
  EXPECT_EQ(std::string(first.data(), 3), "hel");
  GuardedBuffer second(16);
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), second.data(), 16), 2);
  EXPECT_EQ(std::string(second.data(), 2), "lo");
  EXPECT_TRUE(second.IsUntouched(2, 16));
}

TEST(SysSocketReceive, GivesZeroWhenThePeerHasClosed) {
  PeerPair pair = support::Connect();
  ASSERT_TRUE(pair.server.Send("bye"));
  pair.server.Close();
  char buffer[16];
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 16), 3);
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 16), 0);
}

TEST(SysSocketReceive, GivesZeroAtAHalfCloseWhileSendingStillWorks) {
  const PeerPair pair = support::Connect();
  pair.server.ShutDownSending();
  char buffer[16];
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 16), 0);
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "still", 5), 5);
  EXPECT_EQ(pair.server.Receive(5), "still");
}

TEST(SysSocketReceive, GivesMinusTwoOnANonBlockingSocketWithoutData) {
  const PeerPair pair = support::Connect();
  MakeNonBlocking(pair.client.descriptor());
  char buffer[16];
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 16), -2);
}

TEST(SysSocketReceive, GivesMinusTwoWhenTheReceiveTimePasses) {
  const PeerPair pair = support::Connect();
  LimitWait(pair.client.descriptor(), SO_RCVTIMEO, 50);
  char buffer[16];
  const Stopwatch watch;
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 16), -2);
  EXPECT_GE(watch.milliseconds(), 49);
}

TEST(SysSocketReceive, GivesMinusFiveWhenInterrupted) {
  const PeerPair pair = support::Connect();
  const support::RepeatedSignal signals(20);
  char buffer[16];
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 16), -5);
}

TEST(SysSocketReceive, GivesMinusOneAndNotMinusFourAfterAReset) {
  PeerPair pair = support::Connect();
  pair.server.Reset();
  char buffer[16];
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 16), -1);
}

TEST(SysSocketReceive, GivesMinusOneWithoutAConnection) {
  const Handle unconnected(SYS_SOCKET_Create());
  char buffer[16];
  EXPECT_EQ(SYS_SOCKET_Receive(unconnected.get(), buffer, 16), -1);
  EXPECT_EQ(SYS_SOCKET_Receive(-1, buffer, 16), -1);
  EXPECT_EQ(SYS_SOCKET_Receive(ClosedDescriptor(), buffer, 16), -1);
}

TEST(SysSocketReceive, TurnsErrorsIntoCodes) {
  const struct {
    int error;
    int32_t expected;
  } cases[] = {
      {ETIMEDOUT, -3},    {ENETRESET, -4},    {EINTR, -5},
      {EAGAIN, -2},       {ECONNRESET, -1},  // not -4, on purpose
      {ECONNABORTED, -1}, {ECONNREFUSED, -1}, {ENOTCONN, -1},
      {EBADF, -1},        {ENOMEM, -1},
  };
  const PeerPair pair = support::Connect();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    recv_error = c.error;
    char buffer[16];
    EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 16), c.expected);
    recv_error = 0;
  }
}

TEST(SysSocketReceiveAll, GivesTheLengthOnceEverythingArrivedInPieces) {
  const PeerPair pair = support::Connect();
  const std::string bytes = Pattern(100'000);
  std::thread sender([&] {
    ASSERT_TRUE(pair.server.Send(bytes.substr(0, 1)));
    ASSERT_TRUE(pair.server.Send(bytes.substr(1, 49'999)));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_TRUE(pair.server.Send(bytes.substr(50'000) + "next"));
  });
  GuardedBuffer buffer(100'000);
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), buffer.data(), 100'000), 100'000);
  sender.join();
  EXPECT_TRUE(std::string(buffer.data(), 100'000) == bytes);
  EXPECT_EQ(pair.client.Receive(4), "next");  // what follows stays
}

TEST(SysSocketReceiveAll, GivesZeroAtOnceForALengthOfZero) {
  const PeerPair pair = support::Connect();
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), nullptr, 0), 0);
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(-1, nullptr, 0), 0);
}

TEST(SysSocketReceiveAll, GivesMinusOneAndKeepsTheFirstHalfWhenThePeerCloses) {
  PeerPair pair = support::Connect();
  ASSERT_TRUE(pair.server.Send("half"));
  pair.server.Close();
  GuardedBuffer buffer(8);
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), buffer.data(), 8), -1);
  EXPECT_EQ(std::string(buffer.data(), 4), "half");
  EXPECT_TRUE(buffer.IsUntouched(4, 8));
}

TEST(SysSocketReceiveAll, GivesMinusOneWhenAReceiveFailsFirst) {
  const PeerPair pair = support::Connect();
  MakeNonBlocking(pair.client.descriptor());
  ASSERT_TRUE(pair.server.Send("half"));
  ASSERT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), 1);
  GuardedBuffer buffer(8);
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), buffer.data(), 8), -1);
  EXPECT_EQ(std::string(buffer.data(), 4), "half");
}

TEST(SysSocketReceiveAll, GivesMinusOneWhenInterrupted) {
  const PeerPair pair = support::Connect();
  const support::RepeatedSignal signals(20);
  char buffer[8];
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), buffer, 8), -1);
}

TEST(SysSocketReceiveAll, GivesMinusOneForANegativeLength) {
  const PeerPair pair = support::Connect();
  ASSERT_TRUE(pair.server.Send("x"));
  GuardedBuffer buffer(8);
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), buffer.data(), -1), -1);
  EXPECT_TRUE(buffer.IsUntouched(0, 8));
}

// ---- Shutting down and closing ----

TEST(SysSocketShutdown, ZeroEndsReceivingAlone) {
  const PeerPair pair = support::Connect();
  SYS_SOCKET_Shutdown(pair.client.descriptor(), 0);
  char buffer[4];
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 4), 0);
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "out", 3), 3);
  EXPECT_EQ(pair.server.Receive(3), "out");
}

TEST(SysSocketShutdown, OneEndsSendingAlone) {
  const PeerPair pair = support::Connect();
  ASSERT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "last", 4), 4);
  SYS_SOCKET_Shutdown(pair.client.descriptor(), 1);
  EXPECT_EQ(pair.server.ReceiveToEnd(), "last");
  ASSERT_TRUE(pair.server.Send("in"));
  char buffer[2];
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), buffer, 2), 2);
}

TEST(SysSocketShutdown, TwoEndsBoth) {
  const PeerPair pair = support::Connect();
  SYS_SOCKET_Shutdown(pair.client.descriptor(), 2);
  char buffer[4];
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 4), 0);
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "x", 1), -1);
  EXPECT_EQ(pair.server.ReceiveToEnd(), "");
}

TEST(SysSocketShutdown, OtherDirectionsDoNothing) {
  const PeerPair pair = support::Connect();
  for (const int32_t direction : {3, -1, 4, INT32_MAX, INT32_MIN}) {
    SCOPED_TRACE(direction);
    errno = 0;
    SYS_SOCKET_Shutdown(pair.client.descriptor(), direction);
    EXPECT_EQ(errno, 0);  // the system was not even asked
  }
  EXPECT_EQ(SYS_SOCKET_Send(pair.client.descriptor(), "out", 3), 3);
  EXPECT_EQ(pair.server.Receive(3), "out");
  ASSERT_TRUE(pair.server.Send("in"));
  char buffer[2];
  EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), buffer, 2), 2);
}

TEST(SysSocketClose, ReleasesTheDescriptorAndEndsTheConnection) {
  const Listener listener;
  const std::vector<int> before = OpenDescriptors();
  const int32_t socket = SYS_SOCKET_Create();
  ASSERT_EQ(SYS_SOCKET_Connect(socket, kLoopbackAddress, listener.port()), 0);
  SYS_SOCKET_Close(socket);
  EXPECT_EQ(OpenDescriptors(), before);
  EXPECT_EQ(listener.Accept().ReceiveToEnd(), "");
}

TEST(SysSocketClose, IgnoresWhatIsNoSocket) {
  const std::vector<int> before = OpenDescriptors();
  SYS_SOCKET_Close(-1);
  SYS_SOCKET_Close(ClosedDescriptor());
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
