// SPDX-License-Identifier: MIT

// Serial ports over real terminals: the device side of a pseudo-terminal is the port, its
// controller side what is connected to the port. macOS has its speed request answered by serial
// drivers alone, so there these ports do not open.
#include "sys/serial.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "tests/support/child_process.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/line_speed.h"
#include "tests/support/loopback.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/repeated_signal.h"
#include "tests/support/stream_reader.h"

namespace {

using support::FailingAllocation;
using support::GuardedBuffer;
using support::LineSpeed;
using support::LineSpeedOf;
using support::OpenDescriptors;
using support::PseudoTerminal;
using support::Stopwatch;
using support::StreamReader;

using Port = std::unique_ptr<SYS_COM_PORT, decltype(&SYS_COM_Close)>;

Port Open(const std::string& name, uint32_t speed = 115200) {
  support::GuardedString guarded(name);
  return {SYS_COM_Open(guarded.text(), speed), SYS_COM_Close};
}

std::string NameOf(const PseudoTerminal& terminal) {
  return terminal.device_path().substr(std::string("/dev/").size());
}

dev_t DeviceOf(int descriptor) {
  struct stat status {};
  EXPECT_EQ(fstat(descriptor, &status), 0);
  return status.st_rdev;
}

// Waits until something typed has come through to the device side.
void WaitForTyped(int descriptor) {
  pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
  EXPECT_EQ(poll(&waiting, 1, static_cast<int>(support::kPatience.count())), 1);
}

// ---- Opening ----

TEST(SysComOpen, OpensTheDeviceOfThatName) {
  const PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(DeviceOf(port->descriptor), DeviceOf(terminal.device()));
  EXPECT_NE(port->descriptor, terminal.device());
}

TEST(SysComOpen, ReadsAndWritesAndBlocksAndStaysBehindWhenAProgramStarts) {
  const PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  const int flags = fcntl(port->descriptor, F_GETFL);
  EXPECT_EQ(flags & O_ACCMODE, O_RDWR);
  EXPECT_EQ(flags & O_NONBLOCK, 0);
  EXPECT_EQ(fcntl(port->descriptor, F_GETFD), FD_CLOEXEC);
}

TEST(SysComOpen, DoesNotBecomeTheControllingTerminal) {
  const PseudoTerminal terminal;
  const int status = support::RunInChild([&] {
    setsid();
    const Port port = Open(NameOf(terminal));
    if (port == nullptr) return 1;
    return open("/dev/tty", O_RDWR | O_CLOEXEC) == -1 && errno == ENXIO ? 0 : 2;
  });
  EXPECT_EQ(status, 0);
}

TEST(SysComOpen, NameThatDoesNotExistGivesNullAndPrintsNothing) {
  const auto before = OpenDescriptors();
  for (const char* const name : {"cu.usb-nobody-has-this", "no/such/folder", ""}) {
    SCOPED_TRACE(name);
    testing::internal::CaptureStdout();
    const Port port = Open(name);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(port, nullptr);
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

// The whole path has 127 characters; what would come behind them is not looked at.
TEST(SysComOpen, NameIsCutTo122Characters) {
  const PseudoTerminal terminal;
  const std::string name = NameOf(terminal);
  const std::string longest = std::string(122 - name.size(), '/') + name;
  for (const std::string& given : {longest, longest + "x", longest + "-and-more"}) {
    SCOPED_TRACE(given);
    const Port port = Open(given);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(DeviceOf(port->descriptor), DeviceOf(terminal.device()));
  }
}

TEST(SysComOpen, DeviceWithoutASpeedGivesNullAndOneLine) {
  const auto before = OpenDescriptors();
  testing::internal::CaptureStdout();
  const Port port = Open("null");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR while writing port settings.\n");
  EXPECT_EQ(port, nullptr);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST(SysComOpen, GoodPortPrintsNothing) {
  const PseudoTerminal terminal;
  testing::internal::CaptureStdout();
  const Port port = Open(NameOf(terminal));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_NE(port, nullptr);
}

TEST(SysComOpen, NoMemoryGivesNullAndLeavesNoDescriptorOpen) {
  const PseudoTerminal terminal;
  const std::string name = NameOf(terminal);
  const auto before = OpenDescriptors();
  testing::internal::CaptureStdout();
  SYS_COM_PORT* port = nullptr;
  {
    const FailingAllocation failing(1);
    port = SYS_COM_Open(name.c_str(), 9600);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(port, nullptr);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST(SysComOpen, ThrowsAwayWhatWaitedInTheDevice) {
  PseudoTerminal terminal;
  terminal.Type("typed before\n");
  WaitForTyped(terminal.device());
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  GuardedBuffer buffer(16);
  EXPECT_EQ(SYS_COM_Read(port.get(), buffer.data(), 16, 0), 0);
  terminal.Type("new");
  WaitForTyped(port->descriptor);
  EXPECT_EQ(SYS_COM_Read(port.get(), buffer.data(), 16, 1000), 3);
  EXPECT_EQ(std::string(buffer.data(), 3), "new");
}

// ---- The claim ----

constexpr int kCannotDropRights = 77;

// Runs a function in a process without the superuser's rights, whom the system always lets through.
// (A pseudo-terminal keeps a claim until its controller side closes too, so how a claim ends cannot
// be seen here.)
template <typename Function>
int RunAsOrdinaryUser(Function function) {
  return support::RunInChild([&] {
    if (geteuid() == 0 && setuid(65534) != 0) return kCannotDropRights;
    return function();
  });
}

TEST(SysComOpen, SecondOpenIsRefused) {
  const PseudoTerminal terminal;
  ASSERT_EQ(fchmod(terminal.device(), 0666), 0);
  const auto before = OpenDescriptors();
  const int status = RunAsOrdinaryUser([&] {
    const Port first = Open(NameOf(terminal));
    if (first == nullptr) return 1;
    return Open(NameOf(terminal)) == nullptr && OpenDescriptors().size() == before.size() + 1 ? 0
                                                                                              : 2;
  });
  if (status == kCannotDropRights) GTEST_SKIP() << "the superuser's rights cannot be dropped here";
  EXPECT_EQ(status, 0);
}

TEST(SysComOpen, OtherProcessesAreRefusedToo) {
  const PseudoTerminal terminal;
  ASSERT_EQ(fchmod(terminal.device(), 0666), 0);
  const auto open_elsewhere = [&] {
    return RunAsOrdinaryUser(
        [&] { return open(terminal.device_path().c_str(), O_RDWR | O_NOCTTY) >= 0 ? 0 : errno; });
  };
  const int before = open_elsewhere();
  if (before == kCannotDropRights) {
    GTEST_SKIP() << "the superuser's rights cannot be dropped here";
  }
  EXPECT_EQ(before, 0);
  const Port port = Open(NameOf(terminal));
  EXPECT_EQ(open_elsewhere(), EBUSY);
}

// ---- Raw mode ----

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
  return bytes;
}

// Reads until that many bytes have come, as a caller does.
std::string ReadAll(const Port& port, size_t size) {
  std::string bytes;
  while (bytes.size() < size) {
    char part[64];
    const int32_t count = SYS_COM_Read(port.get(), part, sizeof part, 20'000);
    if (count <= 0) break;
    bytes.append(part, static_cast<size_t>(count));
  }
  return bytes;
}

TEST(SysComOpen, EveryByteComesInAsItIsAndWithoutAnEcho) {
  PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  terminal.Type(AllBytes());
  EXPECT_EQ(ReadAll(port, 256), AllBytes());
  StreamReader echo(terminal.controller());
  echo.ReadFor(std::chrono::milliseconds(50));
  EXPECT_EQ(echo.text(), "");
}

TEST(SysComOpen, EveryByteGoesOutAsItIs) {
  const PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(SYS_COM_Write(port.get(), AllBytes().data(), 256), 256);
  StreamReader sent(terminal.controller());
  EXPECT_TRUE(sent.WaitForSize(256));
  EXPECT_EQ(sent.text(), AllBytes());
}

TEST(SysComOpen, DeviceHasTheRawModes) {
  PseudoTerminal terminal;
  termios modes = terminal.Modes();
  modes.c_iflag |= BRKINT | IXANY | ISTRIP | IXOFF;
  modes.c_cflag |= CSTOPB | HUPCL;
  modes.c_cc[VMIN] = 9;
  modes.c_cc[VTIME] = 9;
  terminal.SetModes(modes);
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  modes = terminal.Modes();
  EXPECT_EQ(modes.c_iflag & (BRKINT | IXANY | ISTRIP | IXOFF | IGNBRK | ICRNL | IXON),
            tcflag_t{BRKINT | IXANY | IGNBRK});
  EXPECT_EQ(modes.c_oflag & (OPOST | ONLCR), tcflag_t{OPOST});
  EXPECT_EQ(modes.c_cflag & (CSIZE | CSTOPB | PARENB | CREAD | CLOCAL | HUPCL),
            tcflag_t{CS8 | CREAD | CLOCAL | HUPCL});
  EXPECT_EQ(modes.c_lflag & (ECHO | ECHOE | ECHOK | ECHOCTL | ECHOKE | ISIG | ICANON | IEXTEN), 0U);
  EXPECT_EQ(modes.c_cc[VMIN], 0);
  EXPECT_EQ(modes.c_cc[VTIME], 1);
}

TEST(SysComOpen, PlainReadEndsAfterATenthOfASecondWithoutData) {
  const PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  const Stopwatch stopwatch;
  char byte = 0;
  EXPECT_EQ(read(port->descriptor, &byte, 1), 0);
  EXPECT_GE(stopwatch.milliseconds(), 90);  // the system counts in ticks
}

// ---- Speeds ----

constexpr uint32_t kSpeeds[] = {1, 50, 9600, 12'345, 31'250, 250'000, 1'843'200, 12'000'000};

TEST(SysComOpen, SetsAnySpeedInBothDirections) {
  const PseudoTerminal terminal;
  for (const uint32_t speed : kSpeeds) {
    SCOPED_TRACE(speed);
    const Port port = Open(NameOf(terminal), speed);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(LineSpeedOf(terminal.device()), (LineSpeed{.input = speed, .output = speed}));
  }
}

TEST(SysComSetSpeed, SetsAnySpeedInBothDirections) {
  const PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  for (const uint32_t speed : kSpeeds) {
    SCOPED_TRACE(speed);
    EXPECT_EQ(SYS_COM_SetSpeed(port->descriptor, speed), 0);
    EXPECT_EQ(LineSpeedOf(terminal.device()), (LineSpeed{.input = speed, .output = speed}));
  }
}

TEST(SysComSetSpeed, TakesTheInputSpeedAlongWhereItHadOneOfItsOwn) {
  const PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  const LineSpeed apart{.input = 300, .output = 1200};
  support::SetLineSpeed(terminal.device(), apart);
  ASSERT_EQ(LineSpeedOf(terminal.device()), apart);
  EXPECT_EQ(SYS_COM_SetSpeed(port->descriptor, 5000), 0);
  EXPECT_EQ(LineSpeedOf(terminal.device()), (LineSpeed{.input = 5000, .output = 5000}));
}

TEST(SysComSetSpeed, ChangesNothingElse) {
  const PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal), 9600);
  ASSERT_NE(port, nullptr);
  const termios before = terminal.Modes();
  EXPECT_EQ(SYS_COM_SetSpeed(port->descriptor, 31'250), 0);
  const termios after = terminal.Modes();
  EXPECT_EQ(after.c_iflag, before.c_iflag);
  EXPECT_EQ(after.c_oflag, before.c_oflag);
  EXPECT_EQ(after.c_cflag, before.c_cflag);  // a speed that is not one of the usual ones, again
  EXPECT_EQ(after.c_lflag, before.c_lflag);
  EXPECT_TRUE(std::equal(std::begin(after.c_cc), std::end(after.c_cc), before.c_cc));
}

TEST(SysComSetSpeed, KeepsWhatWaitsInTheDevice) {
  PseudoTerminal terminal;
  const Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  terminal.Type("abc");
  WaitForTyped(port->descriptor);
  EXPECT_EQ(SYS_COM_SetSpeed(port->descriptor, 300), 0);
  EXPECT_EQ(ReadAll(port, 3), "abc");
}

TEST(SysComSetSpeed, GivesMinusOneForWhatHasNoSpeed) {
  const int null_device = open("/dev/null", O_RDWR | O_CLOEXEC);
  testing::internal::CaptureStdout();
  const int32_t result = SYS_COM_SetSpeed(null_device, 9600);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(result, -1);
  close(null_device);
  EXPECT_EQ(SYS_COM_SetSpeed(null_device, 9600), -1);
  EXPECT_EQ(SYS_COM_SetSpeed(-1, 9600), -1);
}

// ---- Reading ----

class SysComRead : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(port_, nullptr); }

  int32_t Read(uint32_t capacity, uint32_t timeout_ms) {
    return SYS_COM_Read(port_.get(), buffer_.data(), capacity, timeout_ms);
  }
  void TypeAndWait(std::string_view keys) {
    terminal_.Type(keys);
    WaitForTyped(port_->descriptor);
  }
  std::string Stored(size_t length) { return {buffer_.data(), length}; }

  PseudoTerminal terminal_;
  Port port_ = Open(NameOf(terminal_));
  GuardedBuffer buffer_{8};
};

TEST_F(SysComRead, GivesWhatHasArrived) {
  TypeAndWait("abc");
  EXPECT_EQ(Read(8, 0), 3);
  EXPECT_EQ(Stored(3), "abc");
  EXPECT_TRUE(buffer_.IsUntouched(3, 8));
}

TEST_F(SysComRead, NoMoreThanTheCapacityLeavingTheRest) {
  TypeAndWait("abcdefghijk");
  EXPECT_EQ(Read(8, 1000), 8);
  EXPECT_EQ(Stored(8), "abcdefgh");
  EXPECT_EQ(Read(2, 1000), 2);
  EXPECT_EQ(Stored(2), "ij");
  EXPECT_EQ(Read(8, 1000), 1);
  EXPECT_EQ(Stored(1), "k");
}

TEST_F(SysComRead, CapacityZeroGivesZeroAndKeepsTheData) {
  TypeAndWait("a");
  EXPECT_EQ(Read(0, 0), 0);
  EXPECT_EQ(Read(8, 0), 1);
}

TEST_F(SysComRead, WithoutDataAndWithoutTimeGivesZeroAtOnce) {
  int64_t shortest_ms = INT64_MAX;
  for (int i = 0; i < 10; ++i) {
    const Stopwatch stopwatch;
    EXPECT_EQ(Read(8, 0), 0);
    shortest_ms = std::min(shortest_ms, stopwatch.milliseconds());
  }
  EXPECT_LT(shortest_ms, 50);  // a plain read would wait a tenth of a second
  EXPECT_TRUE(buffer_.IsUntouched(0, 8));
}

TEST_F(SysComRead, FifteenHundredMillisecondsAreOneAndAHalfSeconds) {
  const Stopwatch stopwatch;
  EXPECT_EQ(Read(8, 1500), 0);
  EXPECT_GE(stopwatch.milliseconds(), 1500);
  EXPECT_LT(stopwatch.milliseconds(), 15'000);
}

TEST_F(SysComRead, WaitsLessThanATenthOfASecondWhenAskedTo) {
  int64_t shortest_ms = INT64_MAX;
  for (int i = 0; i < 10; ++i) {
    const Stopwatch stopwatch;
    EXPECT_EQ(Read(8, 20), 0);
    EXPECT_GE(stopwatch.milliseconds(), 20);
    shortest_ms = std::min(shortest_ms, stopwatch.milliseconds());
  }
  EXPECT_LT(shortest_ms, 90);
}

TEST_F(SysComRead, EndsWithTheFirstByteThatArrives) {
  std::thread typist([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    terminal_.Type("a");
  });
  const Stopwatch stopwatch;
  EXPECT_EQ(Read(8, 20'000), 1);
  EXPECT_LT(stopwatch.milliseconds(), 20'000);
  typist.join();
  EXPECT_EQ(Stored(1), "a");
}

// As signed numbers these times would be negative, which the system refuses.
TEST_F(SysComRead, LongestTimesAreTimesLikeAnyOther) {
  for (const uint32_t timeout_ms : {0x7FFF'FFFFU, 0x8000'0000U, 0xFFFF'FFFFU}) {
    SCOPED_TRACE(timeout_ms);
    TypeAndWait("a");
    EXPECT_EQ(Read(8, timeout_ms), 1);
  }
}

TEST_F(SysComRead, HungUpDeviceGivesZero) {
  terminal_.CloseController();
  EXPECT_EQ(Read(8, 20'000), 0);
}

TEST_F(SysComRead, SignalDuringTheWaitGivesMinusOne) {
  const support::RepeatedSignal signal(20);
  EXPECT_EQ(Read(8, 20'000), -1);
}

TEST_F(SysComRead, DescriptorsBehindASystemSetWork) {
  const SYS_COM_PORT large{support::DuplicateAtOrAbove(port_->descriptor, 2000)};
  if (large.descriptor < 0) GTEST_SKIP() << "this system does not allow 2000 descriptors";
  EXPECT_EQ(SYS_COM_Read(&large, buffer_.data(), 8, 0), 0);
  TypeAndWait("a");
  EXPECT_EQ(SYS_COM_Read(&large, buffer_.data(), 8, 1000), 1);
  close(large.descriptor);
}

TEST_F(SysComRead, DescriptorThatIsNotOpenGivesMinusOne) {
  for (const int32_t descriptor : {-1, 900, INT32_MAX}) {
    SCOPED_TRACE(descriptor);
    const SYS_COM_PORT closed{descriptor};
    EXPECT_EQ(SYS_COM_Read(&closed, buffer_.data(), 8, 20'000), -1);
  }
}

TEST_F(SysComRead, FailedReadGivesMinusOne) {
  TypeAndWait("a");
  EXPECT_EQ(SYS_COM_Read(port_.get(), nullptr, 8, 0), -1);
  // A folder is always ready for reading and never read.
  const SYS_COM_PORT folder{open("/", O_RDONLY | O_CLOEXEC)};
  EXPECT_EQ(SYS_COM_Read(&folder, buffer_.data(), 8, 0), -1);
  close(folder.descriptor);
}

// ---- Writing ----

class SysComWrite : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(port_, nullptr); }

  int32_t Write(std::string_view bytes) {
    return SYS_COM_Write(port_.get(), bytes.data(), static_cast<uint32_t>(bytes.size()));
  }

  PseudoTerminal terminal_;
  Port port_ = Open(NameOf(terminal_));
};

TEST_F(SysComWrite, SendsAllAndGivesItsLength) {
  EXPECT_EQ(Write("hello\r\n"), 7);
  StreamReader sent(terminal_.controller());
  EXPECT_TRUE(sent.WaitForSize(7));
  EXPECT_EQ(sent.text(), "hello\r\n");
}

TEST_F(SysComWrite, NothingGivesZero) { EXPECT_EQ(Write(""), 0); }

TEST_F(SysComWrite, PartThatFitsIsCountedAndTheRestIsTheCallers) {
  ASSERT_EQ(fcntl(port_->descriptor, F_SETFL, O_RDWR | O_NONBLOCK), 0);
  const std::string bytes(1'000'000, 'w');
  const int32_t taken = Write(bytes);
  EXPECT_GT(taken, 0);
  EXPECT_LT(taken, 1'000'000);
  StreamReader sent(terminal_.controller());
  EXPECT_TRUE(sent.WaitForSize(static_cast<size_t>(taken)));
  sent.ReadFor(std::chrono::milliseconds(50));
  EXPECT_EQ(sent.text().size(), static_cast<size_t>(taken));
}

TEST_F(SysComWrite, FullDeviceThatMayNotWaitGivesMinusOne) {
  ASSERT_EQ(fcntl(port_->descriptor, F_SETFL, O_RDWR | O_NONBLOCK), 0);
  const std::string bytes(100'000, 'w');
  int32_t result = 1;
  for (int i = 0; i < 1000 && result > 0; ++i) result = Write(bytes);
  EXPECT_EQ(result, -1);
}

TEST_F(SysComWrite, WaitsUntilTheDeviceTakesTheRest) {
  const std::string bytes(100'000, 'w');
  StreamReader sent(terminal_.controller());
  std::thread reader([&] { EXPECT_TRUE(sent.WaitForSize(100'000)); });
  EXPECT_EQ(Write(bytes), 100'000);
  reader.join();
  EXPECT_TRUE(sent.text() == bytes);
}

TEST_F(SysComWrite, HungUpDeviceGivesMinusOne) {
  terminal_.CloseController();
  EXPECT_EQ(Write("a"), -1);
}

TEST_F(SysComWrite, FailedWriteGivesMinusOne) {
  EXPECT_EQ(SYS_COM_Write(port_.get(), nullptr, 8), -1);
  const SYS_COM_PORT closed{-1};
  EXPECT_EQ(SYS_COM_Write(&closed, "a", 1), -1);
}

// ---- Closing ----

TEST(SysComClose, ClosesTheDevice) {
  const PseudoTerminal terminal;
  const auto before = OpenDescriptors();
  Port port = Open(NameOf(terminal));
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
  port.reset();
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
