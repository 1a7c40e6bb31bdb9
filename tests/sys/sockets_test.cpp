// SPDX-License-Identifier: MIT

#include "sys/sockets.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/loopback.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/private_network.h"
#include "tests/support/repeated_signal.h"
#include "tests/support/socket_state.h"

// ---- What the tests put between the sockets and the system ----

namespace {

// While it is not 0 every recv fails with it.
int recv_error = 0;

}  // namespace

extern "C" {

ssize_t __real_recv(int descriptor, void* buffer, size_t capacity, int flags);
ssize_t __wrap_recv(int descriptor, void* buffer, size_t capacity, int flags);

ssize_t __wrap_recv(int descriptor, void* buffer, size_t capacity, int flags) {
  if (recv_error == 0) return __real_recv(descriptor, buffer, capacity, flags);
  errno = recv_error;
  return -1;
}

}  // extern "C"

namespace {

using support::ClosedDescriptor;
using support::Family;
using support::FamilyOf;
using support::FullListener;
using support::GuardedBuffer;
using support::Handle;
using support::IsNonBlocking;
using support::kLongTime_ms;
using support::kLoopbackAddress;
using support::kLoopbackAddress6;
using support::Listener;
using support::MakeNonBlocking;
using support::OpenDescriptors;
using support::Option;
using support::Peer;
using support::PeerPair;
using support::SilentPort;
using support::Stopwatch;

constexpr SYS_SOCKET_IP6_ADDR kMappedLoopback{
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 127, 0, 0, 1}};

void LimitWait(int32_t handle, int option, int milliseconds) {
  const timeval time{.tv_sec = 0, .tv_usec = milliseconds * 1000};
  ASSERT_EQ(setsockopt(handle, SOL_SOCKET, option, &time, sizeof time), 0);
}

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

// ---- Creation ----

TEST(SysSocketCreate, GivesABlockingIpv4StreamThatDoesNotCollectSmallPieces) {
  const Handle socket(SYS_SOCKET_Create());
  ASSERT_GE(socket.get(), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_TYPE), SOCK_STREAM);
  EXPECT_EQ(FamilyOf(socket.get()), AF_INET);
  EXPECT_EQ(Option(socket.get(), IPPROTO_TCP, TCP_NODELAY), 1);
  EXPECT_FALSE(IsNonBlocking(socket.get()));
}

TEST(SysSocketCreate, GivesAnIpv6StreamThatDoesNotCollectSmallPieces) {
  SKIP_WITHOUT_IPV6();
  for (const uint8_t dual_stack : {uint8_t{0}, uint8_t{1}}) {
    const Handle socket(SYS_SOCKET_Create6(dual_stack));
    ASSERT_GE(socket.get(), 0);
    EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_TYPE), SOCK_STREAM);
    EXPECT_EQ(FamilyOf(socket.get()), AF_INET6);
    EXPECT_EQ(Option(socket.get(), IPPROTO_TCP, TCP_NODELAY), 1);
  }
}

TEST(SysSocketCreate, GivesAnIpv4DatagramSocket) {
  const Handle socket(SYS_SOCKET_CreateUDP());
  ASSERT_GE(socket.get(), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_TYPE), SOCK_DGRAM);
  EXPECT_EQ(FamilyOf(socket.get()), AF_INET);
}

TEST(SysSocketCreate, GivesAnIpv6DatagramSocket) {
  SKIP_WITHOUT_IPV6();
  const Handle socket(SYS_SOCKET_CreateUDP6(0));
  ASSERT_GE(socket.get(), 0);
  EXPECT_EQ(Option(socket.get(), SOL_SOCKET, SO_TYPE), SOCK_DGRAM);
  EXPECT_EQ(FamilyOf(socket.get()), AF_INET6);
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
  const support::NoMoreDescriptors limit;
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
  EXPECT_EQ(SYS_SOCKET_Connect6(-1, kLoopbackAddress6, listener.port()), -1);
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
  ASSERT_EQ(SYS_SOCKET_Connect6(socket.get(), kLoopbackAddress6, listener.port()), 0);
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
  EXPECT_EQ(SYS_SOCKET_Connect6(socket.get(), kLoopbackAddress6, port.port()), -1);
}

TEST(SysSocketConnect6, ReachesAnIpv4ListenerFromADualStackSocket) {
  SKIP_WITHOUT_IPV6();
  const Listener listener;
  const Handle socket(SYS_SOCKET_Create6(1));
  EXPECT_EQ(SYS_SOCKET_Connect6(socket.get(), kMappedLoopback, listener.port()), 0);
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
  for (const int32_t length : {-1, -8, INT32_MIN}) {
    EXPECT_EQ(SYS_SOCKET_ReceiveAll(pair.client.descriptor(), buffer.data(), length), -1);
  }
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
