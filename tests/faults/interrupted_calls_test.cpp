// SPDX-License-Identifier: MIT

// Signals that arrive while an operation waits: it ends as its header says and never hangs. What the
// other suites interrupt (receiving, the serial read, console output, the timed connect) is not here.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "sys/sys.h"
#include "tests/support/child_process.h"
#include "tests/support/loopback.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/repeated_signal.h"
#include "tests/support/replaced_descriptor.h"
#include "tests/support/temporary_home.h"

namespace {

constexpr int kLongTime_ms = 20'000;

// The operation fails with -1 and EINTR before its own time is up.
template <typename Operation>
void ExpectInterrupted(Operation operation) {
  const support::Stopwatch watch;
  const support::RepeatedSignal signals(20);
  errno = 0;
  EXPECT_EQ(operation(), -1);
  EXPECT_EQ(SYS_GetLastError(), EINTR);
  EXPECT_LT(watch.milliseconds(), kLongTime_ms / 2);
}

// Fills what the descriptor leads to, so that the next write has to wait.
void Fill(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
  const std::string block(4096, 'f');
  while (write(descriptor, block.data(), block.size()) > 0 || write(descriptor, "f", 1) == 1) {
  }
  fcntl(descriptor, F_SETFL, flags);
}

TEST(FaultsInterrupted, AcceptGivesMinusOne) {
  const support::Listener listener;
  ExpectInterrupted([&] { return SYS_SOCKET_Accept(listener.descriptor()); });
}

TEST(FaultsInterrupted, AcceptTimeoutGivesMinusOne) {
  const support::Listener listener;
  ExpectInterrupted([&] { return SYS_SOCKET_AcceptTimeout(listener.descriptor(), kLongTime_ms); });
}

TEST(FaultsInterrupted, ConnectGivesMinusOne) {
  const support::FullListener listener;
  const int32_t handle = SYS_SOCKET_Create();
  ExpectInterrupted(
      [&] { return SYS_SOCKET_Connect(handle, support::kLoopbackAddress, listener.port()); });
  SYS_SOCKET_Close(handle);
}

TEST(FaultsInterrupted, SendGivesMinusOne) {
  const support::PeerPair pair = support::Connect();
  Fill(pair.client.descriptor());
  ExpectInterrupted([&] { return SYS_SOCKET_Send(pair.client.descriptor(), "data", 4); });
}

TEST(FaultsInterrupted, SendThatHasSentAPartTellsThePart) {
  const support::PeerPair pair = support::Connect();
  const std::string much(64 << 20, 'm');
  const support::RepeatedSignal signals(20);
  const int32_t sent =
      SYS_SOCKET_Send(pair.client.descriptor(), much.data(), static_cast<uint32_t>(much.size()));
  EXPECT_GT(sent, 0);
  EXPECT_LT(sent, 64 << 20);
}

TEST(FaultsInterrupted, IsWritableGivesMinusOne) {
  const support::PeerPair pair = support::Connect();
  Fill(pair.client.descriptor());
  ExpectInterrupted([&] { return SYS_SOCKET_IsWritable(pair.client.descriptor(), kLongTime_ms); });
}

TEST(FaultsInterrupted, OpenOfANamedPipeGivesMinusOne) {
  const support::TemporaryHome home;
  const std::string path = home.At("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ExpectInterrupted([&] { return SYS_FILE_Open(path.c_str(), SYS_FILE_FLAG_READ); });
  ExpectInterrupted([&] { return SYS_FILE_Exists(path.c_str()) == 0 ? -1 : 0; });
}

TEST(FaultsInterrupted, ReadLineGivesMinusOne) {
  const support::Pipe pipe = support::MakePipe();
  char line[16];
  ExpectInterrupted([&] { return SYS_FILE_ReadLine(pipe.reading, line, sizeof line); });
  close(pipe.reading);
  close(pipe.writing);
}

TEST(FaultsInterrupted, ReadLeavesTheBufferAlone) {
  const support::Pipe pipe = support::MakePipe();
  char buffer[] = "untouched";
  ExpectInterrupted([&] {
    SYS_FILE_Read(pipe.reading, buffer, 4);
    return -1;
  });
  EXPECT_STREQ(buffer, "untouched");
  close(pipe.reading);
  close(pipe.writing);
}

TEST(FaultsInterrupted, WriteGivesMinusOne) {
  const support::Pipe pipe = support::MakePipe();
  Fill(pipe.writing);
  ExpectInterrupted([&] { return SYS_FILE_Write(pipe.writing, "data", 4); });
  close(pipe.reading);
  close(pipe.writing);
}

TEST(FaultsInterrupted, SerialWriteGivesMinusOne) {
  const support::PseudoTerminal device;
  SYS_COM_PORT* const port =
      SYS_COM_Open(device.device_path().substr(strlen("/dev/")).c_str(), 115200);
  ASSERT_NE(port, nullptr);
  Fill(port->descriptor);
  ExpectInterrupted([&] { return SYS_COM_Write(port, "data", 4); });
  SYS_COM_Close(port);
}

TEST(FaultsInterrupted, ConsoleGetCharGivesMinusOne) {
  const support::Pipe pipe = support::MakePipe();
  const support::ReplacedDescriptor input(STDIN_FILENO, pipe.reading);
  ExpectInterrupted([] { return SYS_ConsoleGetChar(); });
  close(pipe.reading);
  close(pipe.writing);
}

// One signal ends the sleep; nobody is told.
TEST(FaultsInterrupted, SleepEndsEarly) {
  ExpectInterrupted([] {
    SYS_Sleep(kLongTime_ms);
    return -1;
  });
}

}  // namespace
