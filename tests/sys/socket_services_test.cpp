// SPDX-License-Identifier: MIT

#include "sys/socket_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "sys/sockets.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/loopback.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/repeated_signal.h"
#include "tests/support/socket_state.h"

// ---- What the tests put between the sockets and the system ----

namespace {

// While it is not 0 every recvfrom fails with it.
int recvfrom_error = 0;

}  // namespace

extern "C" {

ssize_t __real_recvfrom(int descriptor, void* buffer, size_t capacity, int flags, sockaddr* from,
                        socklen_t* from_length);
ssize_t __wrap_recvfrom(int descriptor, void* buffer, size_t capacity, int flags, sockaddr* from,
                        socklen_t* from_length);

ssize_t __wrap_recvfrom(int descriptor, void* buffer, size_t capacity, int flags, sockaddr* from,
                        socklen_t* from_length) {
  if (recvfrom_error == 0) {
    return __real_recvfrom(descriptor, buffer, capacity, flags, from, from_length);
  }
  errno = recvfrom_error;
  return -1;
}

}  // extern "C"

namespace {

using support::ClosedDescriptor;
using support::DatagramPeer;
using support::Family;
using support::GuardedBuffer;
using support::Handle;
using support::IsNonBlocking;
using support::kLongTime_ms;
using support::kLoopbackAddress;
using support::kLoopbackAddress6;
using support::Listener;
using support::LocalPort;
using support::OpenDescriptors;
using support::Option;
using support::Peer;
using support::PeerPair;
using support::Stopwatch;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;

const auto kIp6LoopbackBytes = ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1);

linger LingerOf(int32_t handle) {
  linger setting{};
  socklen_t length = sizeof setting;
  EXPECT_EQ(getsockopt(handle, SOL_SOCKET, SO_LINGER, &setting, &length), 0);
  return setting;
}

// In milliseconds.
int64_t TimeLimit(int32_t handle, int name) {
  timeval time{};
  socklen_t length = sizeof time;
  EXPECT_EQ(getsockopt(handle, SOL_SOCKET, name, &time, &length), 0);
  return int64_t{time.tv_sec} * 1000 + time.tv_usec / 1000;
}

// ---- Listening ----

TEST(SysSocketListen, LetsClientsInAtTheAddressAndPort) {
  const Handle socket(SYS_SOCKET_Create());
  ASSERT_EQ(SYS_SOCKET_Listen(socket.get(), kLoopbackAddress, 0, 4), 0);
  const uint16_t port = LocalPort(socket.get());
  EXPECT_GE(support::ConnectTo(port).descriptor(), 0);
}

TEST(SysSocketListen, BindsToTheGivenAddressAlone) {
  const Handle socket(SYS_SOCKET_Create());
  ASSERT_EQ(SYS_SOCKET_Listen(socket.get(), 0x7F000002, 0, 4), 0);
  EXPECT_EQ(support::ConnectTo(LocalPort(socket.get())).descriptor(), -1);  // at 127.0.0.1
}

TEST(SysSocketListen, LetsAsManyClientsWaitAsTheBacklogSays) {
  const Handle socket(SYS_SOCKET_Create());
  ASSERT_EQ(SYS_SOCKET_Listen(socket.get(), kLoopbackAddress, 0, 8), 0);
  std::vector<Peer> clients;
  for (int i = 0; i < 8; ++i) {
    clients.push_back(support::ConnectTo(LocalPort(socket.get())));
    EXPECT_GE(clients.back().descriptor(), 0);
  }
}

TEST(SysSocketListen, TakesTheGivenPortAlsoWhileItsOldConnectionsWindDown) {
  Handle first(SYS_SOCKET_Create());
  ASSERT_EQ(SYS_SOCKET_Listen(first.get(), kLoopbackAddress, 0, 4), 0);
  EXPECT_EQ(Option(first.get(), SOL_SOCKET, SO_REUSEADDR), 1);
  const uint16_t port = LocalPort(first.get());
  Peer client = support::ConnectTo(port);
  Handle connection(SYS_SOCKET_Accept(first.get()));
  // The side that closes first keeps the port in use for a while.
  connection.Close();
  EXPECT_EQ(client.ReceiveToEnd(), "");
  client.Close();
  first.Close();
  const Handle second(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_Listen(second.get(), kLoopbackAddress, port, 4), 0);
  EXPECT_EQ(LocalPort(second.get()), port);
}

TEST(SysSocketListen, GivesMinusOneWhenThePortIsTaken) {
  const Listener listener;
  const Handle socket(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_Listen(socket.get(), kLoopbackAddress, listener.port(), 4), -1);
}

TEST(SysSocketListen, GivesMinusOneWhenTheOptionIsRefused) {
  EXPECT_EQ(SYS_SOCKET_Listen(-1, kLoopbackAddress, 0, 4), -1);
  EXPECT_EQ(SYS_SOCKET_Listen(ClosedDescriptor(), kLoopbackAddress, 0, 4), -1);
}

TEST(SysSocketListen, GivesMinusOneWhenTheSocketCannotListen) {
  const Handle datagrams(SYS_SOCKET_CreateUDP());
  EXPECT_EQ(SYS_SOCKET_Listen(datagrams.get(), kLoopbackAddress, 0, 4), -1);
  EXPECT_NE(LocalPort(datagrams.get()), 0);  // it was bound before
}

TEST(SysSocketListen6, LetsClientsInAtTheAddressAndPort) {
  SKIP_WITHOUT_IPV6();
  const Handle socket(SYS_SOCKET_Create6(0));
  ASSERT_EQ(SYS_SOCKET_Listen6(socket.get(), kLoopbackAddress6, 0, 4), 0);
  EXPECT_GE(support::ConnectTo(LocalPort(socket.get()), Family::kIpv6).descriptor(), 0);
}

TEST(SysSocketListen6, DoesNotAskForReuse) {
  SKIP_WITHOUT_IPV6();
  const Handle socket(SYS_SOCKET_Create6(0));
  ASSERT_EQ(SYS_SOCKET_Listen6(socket.get(), kLoopbackAddress6, 0, 4), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_REUSEADDR), 0);
}

TEST(SysSocketListen6, GivesMinusOneWhenThePortIsTaken) {
  SKIP_WITHOUT_IPV6();
  const Listener listener(0, Family::kIpv6);
  const Handle socket(SYS_SOCKET_Create6(0));
  EXPECT_EQ(SYS_SOCKET_Listen6(socket.get(), kLoopbackAddress6, listener.port(), 4), -1);
}

TEST(SysSocketListen6, GivesMinusOneWhenTheSocketCannotListen) {
  SKIP_WITHOUT_IPV6();
  const Handle datagrams(SYS_SOCKET_CreateUDP6(0));
  EXPECT_EQ(SYS_SOCKET_Listen6(datagrams.get(), kLoopbackAddress6, 0, 4), -1);
  EXPECT_EQ(SYS_SOCKET_Listen6(-1, kLoopbackAddress6, 0, 4), -1);
}

// ---- Accepting ----

TEST(SysSocketAccept, GivesABlockingConnectionThatDoesNotCollectSmallPieces) {
  const Listener listener;
  const Peer client = support::ConnectTo(listener.port());
  const Handle connection(SYS_SOCKET_Accept(listener.descriptor()));
  ASSERT_GE(connection.get(), 0);
  EXPECT_EQ(Option(connection.get(), IPPROTO_TCP, TCP_NODELAY), 1);
  EXPECT_FALSE(IsNonBlocking(connection.get()));
  EXPECT_EQ(SYS_SOCKET_Send(connection.get(), "welcome", 7), 7);
  EXPECT_EQ(client.Receive(7), "welcome");
}

TEST(SysSocketAccept, WaitsForAClient) {
  const Listener listener;
  std::thread client([port = listener.port()] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_GE(support::ConnectTo(port).descriptor(), 0);
  });
  const Handle connection(SYS_SOCKET_Accept(listener.descriptor()));
  EXPECT_GE(connection.get(), 0);
  client.join();
}

TEST(SysSocketAccept, GivesAConnectionThatRaisesNoSignalWhenItBreaks) {
  signal(SIGPIPE, SIG_DFL);  // it would end this program
  const Listener listener;
  Peer client = support::ConnectTo(listener.port());
  const Handle connection(SYS_SOCKET_Accept(listener.descriptor()));
  client.Reset();
  EXPECT_EQ(SYS_SOCKET_IsReadable(connection.get(), kLongTime_ms), 1);
  EXPECT_EQ(SYS_SOCKET_Send(connection.get(), "x", 1), -1);
  EXPECT_EQ(SYS_SOCKET_Send(connection.get(), "x", 1), -1);
}

TEST(SysSocketAccept, GivesMinusOneOnAFailure) {
  const Listener listener;
  ASSERT_EQ(SYS_SOCKET_SetNonBlocking(listener.descriptor()), 0);
  EXPECT_EQ(SYS_SOCKET_Accept(listener.descriptor()), -1);  // nobody there
  const Handle not_listening(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_Accept(not_listening.get()), -1);
  EXPECT_EQ(SYS_SOCKET_Accept(-1), -1);
}

TEST(SysSocketAcceptTimeout, GivesAConnectionThatDoesNotCollectSmallPieces) {
  const Listener listener;
  const Peer client = support::ConnectTo(listener.port());
  const Handle connection(SYS_SOCKET_AcceptTimeout(listener.descriptor(), kLongTime_ms));
  ASSERT_GE(connection.get(), 0);
  EXPECT_EQ(Option(connection.get(), IPPROTO_TCP, TCP_NODELAY), 1);
  ASSERT_TRUE(client.Send("x"));
  EXPECT_EQ(SYS_SOCKET_IsReadable(connection.get(), kLongTime_ms), 1);
}

TEST(SysSocketAcceptTimeout, WaitsForAClient) {
  const Listener listener;
  std::thread client([port = listener.port()] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_GE(support::ConnectTo(port).descriptor(), 0);
  });
  const Handle connection(SYS_SOCKET_AcceptTimeout(listener.descriptor(), kLongTime_ms));
  EXPECT_GE(connection.get(), 0);
  client.join();
}

TEST(SysSocketAcceptTimeout, GivesMinusTwoWhenTheTimePassesAndOpensNothing) {
  const Listener listener;
  const std::vector<int> before = OpenDescriptors();
  for (const int32_t timeout_ms : {0, 50, 1100}) {
    SCOPED_TRACE(timeout_ms);
    const Stopwatch watch;
    EXPECT_EQ(SYS_SOCKET_AcceptTimeout(listener.descriptor(), timeout_ms), -2);
    EXPECT_GE(watch.milliseconds(), timeout_ms);
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST(SysSocketAcceptTimeout, GivesMinusOneWhenTheWaitFails) {
  const Listener listener;
  EXPECT_EQ(SYS_SOCKET_AcceptTimeout(-1, 0), -1);
  EXPECT_EQ(SYS_SOCKET_AcceptTimeout(ClosedDescriptor(), 0), -1);
  EXPECT_EQ(SYS_SOCKET_AcceptTimeout(listener.descriptor(), -1), -1);
}

TEST(SysSocketAcceptTimeout, GivesMinusOneWhenTheAcceptFails) {
  const PeerPair pair = support::Connect();
  ASSERT_TRUE(pair.server.Send("x"));
  EXPECT_EQ(SYS_SOCKET_AcceptTimeout(pair.client.descriptor(), kLongTime_ms), -1);
}

TEST(SysSocketAcceptTimeout, TakesDescriptorsBeyondTheSystemsSet) {
  const Listener listener;
  const Handle large(support::DuplicateAtOrAbove(listener.descriptor(), 2000));
  if (large.get() < 0) GTEST_SKIP() << "this system does not allow 2000 descriptors";
  EXPECT_EQ(SYS_SOCKET_AcceptTimeout(large.get(), 10), -2);
  const Peer client = support::ConnectTo(listener.port());
  const Handle connection(SYS_SOCKET_AcceptTimeout(large.get(), kLongTime_ms));
  EXPECT_GE(connection.get(), 0);
}

// ---- Options ----

TEST(SysSocketEnableBroadcast, SetsTheOption) {
  const Handle socket(SYS_SOCKET_CreateUDP());
  ASSERT_EQ(Option(socket.get(), SOL_SOCKET, SO_BROADCAST), 0);
  EXPECT_EQ(SYS_SOCKET_EnableBroadcast(socket.get()), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_BROADCAST), 1);
  EXPECT_EQ(SYS_SOCKET_EnableBroadcast(-1), -1);
}

// Linux doubles the size for its own bookkeeping.
TEST(SysSocketSetRxBufferSize, SetsTheSize) {
  const Handle socket(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_SetRxBufferSize(socket.get(), 20'000), 0);
  EXPECT_THAT(Option(socket.get(), SOL_SOCKET, SO_RCVBUF), AnyOf(20'000, 40'000));
  EXPECT_EQ(SYS_SOCKET_SetRxBufferSize(socket.get(), 50'000), 0);
  EXPECT_THAT(Option(socket.get(), SOL_SOCKET, SO_RCVBUF), AnyOf(50'000, 100'000));
  EXPECT_EQ(SYS_SOCKET_SetRxBufferSize(-1, 20'000), -1);
}

TEST(SysSocketSetLinger, TurnsMillisecondsIntoWholeSeconds) {
  const struct {
    int32_t time_ms;
    int expected_s;
  } cases[] = {
      {0, 0},
      {1, 1},
      {499, 1},  // not rounded to 0, which would be an abortive close
      {999, 1},
      {-1, 1},
      {-60'000, 1},
      {INT32_MIN, 1},
      {1000, 1},
      {1499, 1},
      {1500, 2},
      {2499, 2},
      {300'000, 300},
      {65'535'499, 65'535},
      {65'535'500, 0},      // 65536 s, of which 16 bits are kept
      {65'536'500, 1},      // 65537 s
      {INT32_MAX, 50'332},  // 2147484 s = 32 * 65536 + 50332
  };
  const Handle socket(SYS_SOCKET_Create());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.time_ms);
    SYS_SOCKET_ClearLinger(socket.get());
    EXPECT_EQ(SYS_SOCKET_SetLinger(socket.get(), c.time_ms), 0);
    EXPECT_EQ(LingerOf(socket.get()).l_onoff, 1);
    EXPECT_EQ(LingerOf(socket.get()).l_linger, c.expected_s);
  }
}

TEST(SysSocketSetLinger, ZeroMakesTheCloseAbortive) {
  PeerPair pair = support::Connect();
  EXPECT_EQ(SYS_SOCKET_SetLinger(pair.client.descriptor(), 0), 0);
  pair.client.Close();
  EXPECT_TRUE(pair.server.WaitForReset());
}

TEST(SysSocketSetLinger, OtherTimesLeaveTheCloseOrderly) {
  PeerPair pair = support::Connect();
  EXPECT_EQ(SYS_SOCKET_SetLinger(pair.client.descriptor(), 1), 0);
  ASSERT_TRUE(pair.client.Send("last"));
  pair.client.Close();
  EXPECT_EQ(pair.server.Receive(4), "last");
  EXPECT_FALSE(pair.server.WaitForReset());
}

TEST(SysSocketClearLinger, TakesTheLingeringBack) {
  PeerPair pair = support::Connect();
  SYS_SOCKET_SetLinger(pair.client.descriptor(), 0);
  EXPECT_EQ(SYS_SOCKET_ClearLinger(pair.client.descriptor()), 0);
  EXPECT_EQ(LingerOf(pair.client.descriptor()).l_onoff, 0);
  pair.client.Close();
  EXPECT_FALSE(pair.server.WaitForReset());
}

TEST(SysSocketClearLinger, LikeSetLingerGivesZeroWhateverTheSystemSays) {
  EXPECT_EQ(SYS_SOCKET_SetLinger(-1, 1000), 0);
  EXPECT_EQ(SYS_SOCKET_ClearLinger(-1), 0);
}

// The system counts in ticks of its own, of 1, 4 or 10 ms: the times are multiples of those.
TEST(SysSocketSetTimeouts, SetsBothTimes) {
  const Handle socket(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_SetTimeouts(socket.get(), 1500, 2740), 0);
  EXPECT_EQ(TimeLimit(socket.get(), SO_SNDTIMEO), 1500);
  EXPECT_EQ(TimeLimit(socket.get(), SO_RCVTIMEO), 2740);
  EXPECT_EQ(SYS_SOCKET_SetTimeouts(socket.get(), 0, 0), 0);
  EXPECT_EQ(TimeLimit(socket.get(), SO_SNDTIMEO), 0);
  EXPECT_EQ(TimeLimit(socket.get(), SO_RCVTIMEO), 0);
}

TEST(SysSocketSetTimeouts, GivesTheResultOfTheReceiveTime) {
  const Handle socket(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_SetTimeouts(socket.get(), -1, 300), 0);
  EXPECT_EQ(TimeLimit(socket.get(), SO_RCVTIMEO), 300);
  EXPECT_EQ(SYS_SOCKET_SetTimeouts(socket.get(), 500, -1), -1);
  EXPECT_EQ(TimeLimit(socket.get(), SO_SNDTIMEO), 500);
  EXPECT_EQ(SYS_SOCKET_SetTimeouts(-1, 500, 500), -1);
}

TEST(SysSocketSetTimeouts, AReceiveWhoseTimePassesGivesMinusTwo) {
  const PeerPair pair = support::Connect();
  ASSERT_EQ(SYS_SOCKET_SetTimeouts(pair.client.descriptor(), 0, 40), 0);
  char buffer[4];
  EXPECT_EQ(SYS_SOCKET_Receive(pair.client.descriptor(), buffer, 4), -2);
}

TEST(SysSocketEnableKeepAlive, SetsTheOption) {
  const Handle socket(SYS_SOCKET_Create());
  ASSERT_EQ(Option(socket.get(), SOL_SOCKET, SO_KEEPALIVE), 0);
  EXPECT_EQ(SYS_SOCKET_EnableKeepAlive(socket.get()), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_KEEPALIVE), 1);
  EXPECT_EQ(SYS_SOCKET_EnableKeepAlive(-1), -1);
}

// ---- Modes ----

TEST(SysSocketSetBlocking, AndSetNonBlockingSwitchTheMode) {
  const Handle socket(SYS_SOCKET_Create());
  EXPECT_EQ(SYS_SOCKET_SetNonBlocking(socket.get()), 0);
  EXPECT_TRUE(IsNonBlocking(socket.get()));
  EXPECT_EQ(SYS_SOCKET_SetNonBlocking(socket.get()), 0);
  EXPECT_TRUE(IsNonBlocking(socket.get()));
  EXPECT_EQ(SYS_SOCKET_SetBlocking(socket.get()), 0);
  EXPECT_FALSE(IsNonBlocking(socket.get()));
  EXPECT_EQ(SYS_SOCKET_SetNonBlocking(-1), -1);
  EXPECT_EQ(SYS_SOCKET_SetBlocking(-1), -1);
}

TEST(SysSocketHasRxData, IsAFlagAndNoCount) {
  const PeerPair pair = support::Connect();
  EXPECT_EQ(SYS_SOCKET_HasRxData(pair.client.descriptor()), 0);
  ASSERT_TRUE(pair.server.Send("x"));
  ASSERT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), 1);
  EXPECT_EQ(SYS_SOCKET_HasRxData(pair.client.descriptor()), 1);
  ASSERT_TRUE(pair.server.Send(std::string(499, 'x')));
  EXPECT_EQ(SYS_SOCKET_HasRxData(pair.client.descriptor()), 1);
  EXPECT_EQ(pair.client.Receive(500).size(), 500U);
  EXPECT_EQ(SYS_SOCKET_HasRxData(pair.client.descriptor()), 0);
}

TEST(SysSocketHasRxData, TheEndOfTheStreamIsNoByte) {
  PeerPair pair = support::Connect();
  pair.server.Close();
  ASSERT_EQ(SYS_SOCKET_IsReadable(pair.client.descriptor(), kLongTime_ms), 1);
  EXPECT_EQ(SYS_SOCKET_HasRxData(pair.client.descriptor()), 0);
}

TEST(SysSocketHasRxData, IsZeroOnAnError) {
  EXPECT_EQ(SYS_SOCKET_HasRxData(-1), 0);
  EXPECT_EQ(SYS_SOCKET_HasRxData(ClosedDescriptor()), 0);
}

void FillUp(const Peer& peer) {
  ASSERT_EQ(SYS_SOCKET_SetNonBlocking(peer.descriptor()), 0);
  const std::string bytes(1 << 20, 'f');
  while (SYS_SOCKET_Send(peer.descriptor(), bytes.data(), 1 << 20) > 0) {
  }
}

TEST(SysSocketIsWritable, TellsOneWhenASendWouldNotBlock) {
  const PeerPair pair = support::Connect();
  EXPECT_EQ(SYS_SOCKET_IsWritable(pair.client.descriptor(), 0), 1);
}

TEST(SysSocketIsWritable, TellsZeroWhenTheTimePassesAndNotBefore) {
  const PeerPair pair = support::Connect();
  FillUp(pair.client);
  for (const int32_t timeout_ms : {0, 50, 1100}) {
    SCOPED_TRACE(timeout_ms);
    const Stopwatch watch;
    EXPECT_EQ(SYS_SOCKET_IsWritable(pair.client.descriptor(), timeout_ms), 0);
    EXPECT_GE(watch.milliseconds(), timeout_ms);
  }
}

TEST(SysSocketIsWritable, TellsOneWhenAConnectionInProgressIsDecided) {
  const Listener listener;
  const Handle socket(SYS_SOCKET_Create());
  ASSERT_EQ(SYS_SOCKET_SetNonBlocking(socket.get()), 0);
  SYS_SOCKET_Connect(socket.get(), kLoopbackAddress, listener.port());
  EXPECT_EQ(SYS_SOCKET_IsWritable(socket.get(), kLongTime_ms), 1);
  EXPECT_EQ(SYS_SOCKET_Send(socket.get(), "x", 1), 1);
}

TEST(SysSocketIsWritable, TellsMinusOneOnAnError) {
  const PeerPair pair = support::Connect();
  EXPECT_EQ(SYS_SOCKET_IsWritable(-1, 0), -1);
  EXPECT_EQ(SYS_SOCKET_IsWritable(ClosedDescriptor(), 0), -1);
  EXPECT_EQ(SYS_SOCKET_IsWritable(pair.client.descriptor(), -1), -1);
}

TEST(SysSocketIsWritable, TakesDescriptorsBeyondTheSystemsSet) {
  const PeerPair pair = support::Connect();
  const Handle large(support::DuplicateAtOrAbove(pair.client.descriptor(), 2000));
  if (large.get() < 0) GTEST_SKIP() << "this system does not allow 2000 descriptors";
  EXPECT_EQ(SYS_SOCKET_IsWritable(large.get(), 0), 1);
  FillUp(pair.client);
  EXPECT_EQ(SYS_SOCKET_IsWritable(large.get(), 10), 0);
}

// ---- Peers and ports ----

TEST(SysSocketGetPeerAddr, StoresAddressAndPortInHostOrder) {
  const PeerPair pair = support::Connect();
  uint32_t address = 1;
  uint16_t port = 1;
  SYS_SOCKET_GetPeerAddr(pair.client.descriptor(), &address, &port);
  EXPECT_EQ(address, 0x7F000001U);
  EXPECT_EQ(port, LocalPort(pair.server.descriptor()));
}

TEST(SysSocketGetPeerAddr, ThePortMayBeLeftOut) {
  const PeerPair pair = support::Connect();
  uint32_t address = 1;
  SYS_SOCKET_GetPeerAddr(pair.client.descriptor(), &address, nullptr);
  EXPECT_EQ(address, 0x7F000001U);
}

TEST(SysSocketGetPeerAddr, StoresZerosWhenThereIsNoPeer) {
  const Handle unconnected(SYS_SOCKET_Create());
  for (const int32_t handle : {unconnected.get(), -1}) {
    uint32_t address = 1;
    uint16_t port = 1;
    SYS_SOCKET_GetPeerAddr(handle, &address, &port);
    EXPECT_EQ(address, 0U);
    EXPECT_EQ(port, 0);
  }
}

TEST(SysSocketGetPeerAddr6, StoresAddressAndPort) {
  SKIP_WITHOUT_IPV6();
  const PeerPair pair = support::Connect(Family::kIpv6);
  SYS_SOCKET_IP6_ADDR address{};
  uint16_t port = 1;
  SYS_SOCKET_GetPeerAddr6(pair.client.descriptor(), &address, &port);
  EXPECT_THAT(address.bytes, kIp6LoopbackBytes);
  EXPECT_EQ(port, LocalPort(pair.server.descriptor()));
  address = {};
  SYS_SOCKET_GetPeerAddr6(pair.client.descriptor(), &address, nullptr);
  EXPECT_THAT(address.bytes, kIp6LoopbackBytes);
}

TEST(SysSocketGetPeerAddr6, StoresZerosWhenThereIsNoPeer) {
  SYS_SOCKET_IP6_ADDR address = kLoopbackAddress6;
  uint16_t port = 1;
  SYS_SOCKET_GetPeerAddr6(-1, &address, &port);
  EXPECT_THAT(address.bytes, Each(0));
  EXPECT_EQ(port, 0);
}

TEST(SysSocketGetLocalPort, StoresThePortInHostOrder) {
  const Listener listener;
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_GetLocalPort(listener.descriptor(), &port), 0);
  EXPECT_EQ(port, listener.port());
}

TEST(SysSocketGetLocalPort, StoresThePortOfAnIpv6Socket) {
  SKIP_WITHOUT_IPV6();
  const Listener listener(0, Family::kIpv6);
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_GetLocalPort(listener.descriptor(), &port), 0);
  EXPECT_EQ(port, listener.port());
}

TEST(SysSocketGetLocalPort, StoresZeroBeforeTheSocketIsBound) {
  const Handle socket(SYS_SOCKET_Create());
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_GetLocalPort(socket.get(), &port), 0);
  EXPECT_EQ(port, 0);
}

TEST(SysSocketGetLocalPort, GivesMinusOneWithoutASocket) {
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_GetLocalPort(-1, &port), -1);
  EXPECT_EQ(SYS_SOCKET_GetLocalPort(ClosedDescriptor(), &port), -1);
  EXPECT_EQ(port, 1);
}

// ---- Datagrams ----

TEST(SysSocketBind, TakesThePort) {
  const Handle socket(SYS_SOCKET_CreateUDP());
  ASSERT_EQ(SYS_SOCKET_Bind(socket.get(), kLoopbackAddress, 0), 0);
  const DatagramPeer peer;
  ASSERT_TRUE(peer.SendTo(LocalPort(socket.get()), "here"));
  EXPECT_EQ(SYS_SOCKET_IsReadable(socket.get(), kLongTime_ms), 1);
}

TEST(SysSocketBind, GivesMinusOneOnAFailure) {
  const DatagramPeer peer;
  const Handle socket(SYS_SOCKET_CreateUDP());
  EXPECT_EQ(SYS_SOCKET_Bind(socket.get(), kLoopbackAddress, peer.port()), -1);  // taken
  EXPECT_EQ(SYS_SOCKET_Bind(socket.get(), 0xC0000221, 0), -1);  // 192.0.2.33 is not ours
  EXPECT_EQ(SYS_SOCKET_Bind(-1, kLoopbackAddress, 0), -1);
}

TEST(SysSocketSendTo, SendsOneDatagramAndGivesItsLength) {
  const DatagramPeer peer;
  const Handle socket(SYS_SOCKET_CreateUDP());
  EXPECT_EQ(SYS_SOCKET_SendTo(socket.get(), "datagram!", 8, kLoopbackAddress, peer.port()), 8);
  const DatagramPeer::Datagram datagram = peer.Receive();
  EXPECT_EQ(datagram.bytes, "datagram");
  EXPECT_EQ(datagram.sender_port, LocalPort(socket.get()));
  EXPECT_EQ(SYS_SOCKET_SendTo(socket.get(), "", 0, kLoopbackAddress, peer.port()), 0);
  EXPECT_EQ(peer.Receive().bytes, "");
}

TEST(SysSocketSendTo, GivesMinusOneOnAFailure) {
  const DatagramPeer peer;
  const Handle socket(SYS_SOCKET_CreateUDP());
  const std::string too_long(70'000, 'x');
  EXPECT_EQ(SYS_SOCKET_SendTo(socket.get(), too_long.data(), 70'000, kLoopbackAddress, peer.port()),
            -1);
  EXPECT_EQ(SYS_SOCKET_SendTo(-1, "x", 1, kLoopbackAddress, peer.port()), -1);
}

TEST(SysSocketSendTo, ABrokenStreamGivesMinusOneAndNoSignal) {
  signal(SIGPIPE, SIG_DFL);
  const PeerPair pair = support::Connect();
  SYS_SOCKET_Shutdown(pair.client.descriptor(), 1);
  EXPECT_EQ(SYS_SOCKET_SendTo(pair.client.descriptor(), "x", 1, kLoopbackAddress, 1), -1);
}

TEST(SysSocketSendTo6, SendsOneDatagramAndGivesItsLength) {
  SKIP_WITHOUT_IPV6();
  const DatagramPeer peer(Family::kIpv6);
  const Handle socket(SYS_SOCKET_CreateUDP6(0));
  EXPECT_EQ(SYS_SOCKET_SendTo6(socket.get(), "datagram!", 8, kLoopbackAddress6, peer.port()), 8);
  const DatagramPeer::Datagram datagram = peer.Receive();
  EXPECT_EQ(datagram.bytes, "datagram");
  EXPECT_EQ(datagram.sender_port, LocalPort(socket.get()));
  EXPECT_EQ(SYS_SOCKET_SendTo6(-1, "x", 1, kLoopbackAddress6, peer.port()), -1);
}

TEST(SysSocketReceiveFrom, GivesTheDatagramAndItsSender) {
  const DatagramPeer peer;
  const DatagramPeer receiver;
  ASSERT_TRUE(peer.SendTo(receiver.port(), "datagram"));
  GuardedBuffer buffer(16);
  uint32_t address = 1;
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer.data(), 16, &address, &port), 8);
  EXPECT_EQ(std::string(buffer.data(), 8), "datagram");
  EXPECT_TRUE(buffer.IsUntouched(8, 16));
  EXPECT_EQ(address, 0x7F000001U);
  EXPECT_EQ(port, peer.port());
}

TEST(SysSocketReceiveFrom, EitherSenderOutputMayBeLeftOut) {
  const DatagramPeer peer;
  const DatagramPeer receiver;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(peer.SendTo(receiver.port(), "x"));
  char buffer[4];
  uint32_t address = 1;
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer, 4, nullptr, nullptr), 1);
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer, 4, &address, nullptr), 1);
  EXPECT_EQ(address, 0x7F000001U);
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer, 4, nullptr, &port), 1);
  EXPECT_EQ(port, peer.port());
}

TEST(SysSocketReceiveFrom, CutsALongDatagramToTheCapacity) {
  const DatagramPeer peer;
  const DatagramPeer receiver;
  ASSERT_TRUE(peer.SendTo(receiver.port(), "datagram"));
  ASSERT_TRUE(peer.SendTo(receiver.port(), "next"));
  GuardedBuffer buffer(4);
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer.data(), 4, nullptr, nullptr), 4);
  EXPECT_EQ(std::string(buffer.data(), 4), "data");
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer.data(), 4, nullptr, nullptr), 4);
  EXPECT_EQ(std::string(buffer.data(), 4), "next");  // the rest of the first one is lost
}

TEST(SysSocketReceiveFrom, AnEmptyDatagramHasASenderToo) {
  const DatagramPeer peer;
  const DatagramPeer receiver;
  ASSERT_TRUE(peer.SendTo(receiver.port(), ""));
  char buffer[4];
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer, 4, nullptr, &port), 0);
  EXPECT_EQ(port, peer.port());
}

TEST(SysSocketReceiveFrom, GivesMinusTwoAndZerosWhenNothingIsThere) {
  const DatagramPeer receiver;
  ASSERT_EQ(SYS_SOCKET_SetNonBlocking(receiver.descriptor()), 0);
  char buffer[4];
  uint32_t address = 1;
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer, 4, &address, &port), -2);
  EXPECT_EQ(address, 0U);
  EXPECT_EQ(port, 0);
}

TEST(SysSocketReceiveFrom, GivesMinusTwoWhenTheReceiveTimePasses) {
  const DatagramPeer receiver;
  ASSERT_EQ(SYS_SOCKET_SetTimeouts(receiver.descriptor(), 0, 40), 0);
  char buffer[4];
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer, 4, nullptr, nullptr), -2);
}

TEST(SysSocketReceiveFrom, GivesMinusOneWhenInterrupted) {
  const DatagramPeer receiver;
  const support::RepeatedSignal signals(20);
  char buffer[4];
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer, 4, nullptr, nullptr), -1);
}

// Also: the outputs are zero after each of them.
TEST(SysSocketReceiveFrom, TurnsErrorsIntoCodes) {
  const struct {
    int error;
    int32_t expected;
  } cases[] = {
      {EAGAIN, -2},     {ETIMEDOUT, -3},
      {ENETRESET, -4},  {EINTR, -1},  // no code of its own, unlike for a stream
      {ECONNRESET, -1}, {ECONNREFUSED, -1},
      {EBADF, -1},      {ENOMEM, -1},
  };
  const DatagramPeer receiver;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    recvfrom_error = c.error;
    char buffer[4];
    uint32_t address = 1;
    uint16_t port = 1;
    EXPECT_EQ(SYS_SOCKET_ReceiveFrom(receiver.descriptor(), buffer, 4, &address, &port),
              c.expected);
    EXPECT_EQ(address, 0U);
    EXPECT_EQ(port, 0);
    SYS_SOCKET_IP6_ADDR address6 = kLoopbackAddress6;
    port = 1;
    EXPECT_EQ(SYS_SOCKET_ReceiveFrom6(receiver.descriptor(), buffer, 4, &address6, &port),
              c.expected);
    EXPECT_THAT(address6.bytes, Each(0));
    EXPECT_EQ(port, 0);
    recvfrom_error = 0;
  }
}

TEST(SysSocketReceiveFrom, GivesMinusOneWithoutASocket) {
  char buffer[4];
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom(-1, buffer, 4, nullptr, nullptr), -1);
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom6(-1, buffer, 4, nullptr, nullptr), -1);
}

TEST(SysSocketReceiveFrom6, GivesTheDatagramAndItsSender) {
  SKIP_WITHOUT_IPV6();
  const DatagramPeer peer(Family::kIpv6);
  const DatagramPeer receiver(Family::kIpv6);
  ASSERT_TRUE(peer.SendTo(receiver.port(), "datagram"));
  GuardedBuffer buffer(4);
  SYS_SOCKET_IP6_ADDR address{};
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom6(receiver.descriptor(), buffer.data(), 4, &address, &port), 4);
  EXPECT_EQ(std::string(buffer.data(), 4), "data");
  EXPECT_THAT(address.bytes, kIp6LoopbackBytes);
  EXPECT_EQ(port, peer.port());
}

TEST(SysSocketReceiveFrom6, ADualStackSocketSeesIpv4SendersMapped) {
  SKIP_WITHOUT_IPV6();
  const Handle receiver(SYS_SOCKET_CreateUDP6(1));
  constexpr SYS_SOCKET_IP6_ADDR kAny{};
  sockaddr_in6 local{};
  local.sin6_family = AF_INET6;
  memcpy(&local.sin6_addr, kAny.bytes, 16);
  ASSERT_EQ(bind(receiver.get(), reinterpret_cast<sockaddr*>(&local), sizeof local), 0);
  const DatagramPeer peer;
  ASSERT_TRUE(peer.SendTo(LocalPort(receiver.get()), "x"));
  char buffer[4];
  SYS_SOCKET_IP6_ADDR address{};
  uint16_t port = 1;
  EXPECT_EQ(SYS_SOCKET_ReceiveFrom6(receiver.get(), buffer, 4, &address, &port), 1);
  EXPECT_THAT(address.bytes, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 127, 0, 0, 1));
  EXPECT_EQ(port, peer.port());
}

}  // namespace
