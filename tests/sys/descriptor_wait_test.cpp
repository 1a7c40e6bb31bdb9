// SPDX-License-Identifier: MIT

#include "sys/descriptor_wait.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>
#include <thread>

#include "tests/support/failing_allocation.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/stream_reader.h"

namespace {

using support::FailingAllocation;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr timeval kNoTime{.tv_sec = 0, .tv_usec = 0};
constexpr timeval kShortTime{.tv_sec = 0, .tv_usec = 60'000};
constexpr timeval kLongTime{.tv_sec = 20, .tv_usec = 0};

int OpenPipe(int ends[2]) { return pipe(ends); }

int OpenSockets(int ends[2]) { return socketpair(AF_UNIX, SOCK_STREAM, 0, ends); }

// Two connected descriptors; data go from the second to the first.
struct Pair {
  int reading = -1;
  int writing = -1;

  explicit Pair(int (*open_ends)(int ends[2])) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(open_ends(ends), 0);
    reading = ends[0];
    writing = ends[1];
  }
  ~Pair() {
    close(reading);
    close(writing);
  }
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;
};

// Writes until the descriptor takes no more.
void Fill(int descriptor) {
  const std::string chunk(4096, 'f');
  const int flags = fcntl(descriptor, F_GETFL);
  fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
  while (write(descriptor, chunk.data(), chunk.size()) > 0) continue;
  fcntl(descriptor, F_SETFL, flags);
}

void Drain(int descriptor) {
  char chunk[65536];
  const int flags = fcntl(descriptor, F_GETFL);
  fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
  while (read(descriptor, chunk, sizeof chunk) > 0) continue;
  fcntl(descriptor, F_SETFL, flags);
}

// ---- Reading ----

struct Connection {
  const char* name;
  int (*open_ends)(int ends[2]);
};

void PrintTo(const Connection& connection, std::ostream* output) { *output << connection.name; }

constexpr Connection kConnections[] = {{"Pipe", OpenPipe}, {"Sockets", OpenSockets}};

class DescriptorWait : public testing::TestWithParam<Connection> {
 protected:
  Pair pair_{GetParam().open_ends};
};

INSTANTIATE_TEST_SUITE_P(Over, DescriptorWait, testing::ValuesIn(kConnections),
                         [](const auto& connection) { return connection.param.name; });

TEST_P(DescriptorWait, ForReadingGivesOneWhenDataWait) {
  ASSERT_TRUE(support::WriteAll(pair_.writing, "x"));
  EXPECT_EQ(descriptor_wait::ForReading(pair_.reading, kLongTime), 1);
  EXPECT_EQ(descriptor_wait::ForReading(pair_.reading, kNoTime), 1);
}

TEST_P(DescriptorWait, ForReadingGivesZeroWithoutDataAndWithoutTime) {
  EXPECT_EQ(descriptor_wait::ForReading(pair_.reading, kNoTime), 0);
}

TEST_P(DescriptorWait, ForReadingGivesZeroNotBeforeTheTimePassed) {
  const auto start = Clock::now();
  EXPECT_EQ(descriptor_wait::ForReading(pair_.reading, kShortTime), 0);
  EXPECT_GE(Clock::now() - start, milliseconds(60));
}

TEST_P(DescriptorWait, ForReadingEndsWhenDataArrive) {
  std::thread writer([&] { support::WriteAll(pair_.writing, "x"); });
  const auto start = Clock::now();
  EXPECT_EQ(descriptor_wait::ForReading(pair_.reading, kLongTime), 1);
  EXPECT_LT(Clock::now() - start, milliseconds(20'000));
  writer.join();
}

TEST_P(DescriptorWait, ForReadingGivesOneWhenTheOtherSideHasClosed) {
  close(pair_.writing);
  pair_.writing = -1;
  EXPECT_EQ(descriptor_wait::ForReading(pair_.reading, kLongTime), 1);
}

// ---- Writing ----

TEST_P(DescriptorWait, ForWritingGivesOneWhenThereIsRoom) {
  EXPECT_EQ(descriptor_wait::ForWriting(pair_.writing, kLongTime), 1);
  EXPECT_EQ(descriptor_wait::ForWriting(pair_.writing, kNoTime), 1);
}

TEST_P(DescriptorWait, ForWritingGivesZeroNotBeforeTheTimePassed) {
  Fill(pair_.writing);
  const auto start = Clock::now();
  EXPECT_EQ(descriptor_wait::ForWriting(pair_.writing, kShortTime), 0);
  EXPECT_GE(Clock::now() - start, milliseconds(60));
}

TEST_P(DescriptorWait, ForWritingEndsWhenRoomAppears) {
  Fill(pair_.writing);
  std::thread reader([&] { Drain(pair_.reading); });
  EXPECT_EQ(descriptor_wait::ForWriting(pair_.writing, kLongTime), 1);
  reader.join();
}

TEST_P(DescriptorWait, OneDirectionDoesNotCountForTheOther) {
  Fill(pair_.writing);
  EXPECT_EQ(descriptor_wait::ForReading(pair_.writing, kNoTime), 0);
  EXPECT_EQ(descriptor_wait::ForWriting(pair_.writing, kNoTime), 0);
}

// ---- Terminals ----

TEST(DescriptorWaitTerminal, IsReadableWhenALineWasTyped) {
  support::PseudoTerminal terminal;
  EXPECT_EQ(descriptor_wait::ForReading(terminal.device(), kNoTime), 0);
  terminal.Type("line\n");
  EXPECT_EQ(descriptor_wait::ForReading(terminal.device(), kLongTime), 1);
}

TEST(DescriptorWaitTerminal, IsNotReadableWhileALineIsBeingTyped) {
  support::PseudoTerminal terminal;
  terminal.Type("lin");
  EXPECT_EQ(descriptor_wait::ForReading(terminal.device(), kShortTime), 0);
}

TEST(DescriptorWaitTerminal, IsWritableUntilItIsFull) {
  const support::PseudoTerminal terminal;
  EXPECT_EQ(descriptor_wait::ForWriting(terminal.device(), kLongTime), 1);
  // The system moves what was written on to the other side a little later, which makes room again.
  int32_t result = 1;
  for (int i = 0; i < 100 && result == 1; ++i) {
    Fill(terminal.device());
    result = descriptor_wait::ForWriting(terminal.device(), kShortTime);
  }
  EXPECT_EQ(result, 0);
}

// ---- Numbers ----

int HighestAllowedDescriptor() {
  constexpr rlim_t kSystemsOwnLimit = 1U << 20;  // Linux allows no more, whatever the limit says
  rlimit limit{};
  EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  limit.rlim_cur = std::min(limit.rlim_max, kSystemsOwnLimit);
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  return static_cast<int>(limit.rlim_cur) - 1;
}

// A pipe whose ends have the given number, one after the other.
void ExpectBothDirectionsToWorkAt(int number) {
  SCOPED_TRACE(number);
  const Pair pipe(OpenPipe);
  const int reading = support::DuplicateAtOrAbove(pipe.reading, number);
  ASSERT_EQ(reading, number);
  EXPECT_EQ(descriptor_wait::ForReading(reading, kNoTime), 0);
  ASSERT_TRUE(support::WriteAll(pipe.writing, "x"));
  EXPECT_EQ(descriptor_wait::ForReading(reading, kLongTime), 1);
  close(reading);

  const int writing = support::DuplicateAtOrAbove(pipe.writing, number);
  ASSERT_EQ(writing, number);
  EXPECT_EQ(descriptor_wait::ForWriting(writing, kLongTime), 1);
  Fill(writing);
  EXPECT_EQ(descriptor_wait::ForWriting(writing, kNoTime), 0);
  close(writing);
}

TEST(DescriptorWaitNumber, LastOfASystemSetWorks) { ExpectBothDirectionsToWorkAt(1023); }

TEST(DescriptorWaitNumber, FirstBehindASystemSetWorks) { ExpectBothDirectionsToWorkAt(1024); }

TEST(DescriptorWaitNumber, EndsOfWordsWork) {
  for (const int number : {63, 64, 127, 1087, 1088}) ExpectBothDirectionsToWorkAt(number);
}

TEST(DescriptorWaitNumber, TwoThousandWorks) { ExpectBothDirectionsToWorkAt(2000); }

TEST(DescriptorWaitNumber, HighestThatTheLimitAllowsWorks) {
  ExpectBothDirectionsToWorkAt(HighestAllowedDescriptor());
}

TEST(DescriptorWaitNumber, WaitsTheWholeTimeForALargeOneToo) {
  const Pair pipe(OpenPipe);
  const int reading = support::DuplicateAtOrAbove(pipe.reading, 2000);
  const auto start = Clock::now();
  EXPECT_EQ(descriptor_wait::ForReading(reading, kShortTime), 0);
  EXPECT_GE(Clock::now() - start, milliseconds(60));
  close(reading);
}

// ---- Failures ----

// Each of them fails at once, long before the time passes.
TEST(DescriptorWaitFailure, DescriptorThatIsNotOpenGivesMinusOne) {
  int closed = -1;
  {
    const Pair pipe(OpenPipe);
    closed = pipe.reading;
  }
  for (const int32_t descriptor : {closed, 900, 1023, 1024, 2000, 5'000'000, INT32_MAX - 1,
                                   INT32_MAX, -1, -2, -1024, INT32_MIN}) {
    SCOPED_TRACE(descriptor);
    errno = 0;
    EXPECT_EQ(descriptor_wait::ForReading(descriptor, kLongTime), -1);
    EXPECT_EQ(errno, EBADF);
    errno = 0;
    EXPECT_EQ(descriptor_wait::ForWriting(descriptor, kLongTime), -1);
    EXPECT_EQ(errno, EBADF);
  }
}

TEST(DescriptorWaitFailure, NegativeTimeGivesMinusOneEvenWhenReady) {
  const Pair pipe(OpenPipe);
  ASSERT_TRUE(support::WriteAll(pipe.writing, "x"));
  for (const int32_t time_ms : {-1, -999, -1000, -1001, INT32_MIN}) {
    SCOPED_TRACE(time_ms);
    const timeval time = descriptor_wait::FromMilliseconds(time_ms);
    errno = 0;
    EXPECT_EQ(descriptor_wait::ForReading(pipe.reading, time), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(descriptor_wait::ForWriting(pipe.writing, time), -1);
    EXPECT_EQ(errno, EINVAL);
  }
}

TEST(DescriptorWaitFailure, NoMemoryForALargeDescriptorGivesMinusOne) {
  const Pair pipe(OpenPipe);
  const int reading = support::DuplicateAtOrAbove(pipe.reading, 1024);
  const int writing = support::DuplicateAtOrAbove(pipe.writing, 2000);
  int32_t results[2];
  int errors[2];
  {
    const FailingAllocation failing(1, FailingAllocation::Extent::kFromThenOn);
    results[0] = descriptor_wait::ForReading(reading, kLongTime);
    errors[0] = errno;
    results[1] = descriptor_wait::ForWriting(writing, kLongTime);
    errors[1] = errno;
  }
  EXPECT_EQ(results[0], -1);
  EXPECT_EQ(errors[0], ENOMEM);
  EXPECT_EQ(results[1], -1);
  EXPECT_EQ(errors[1], ENOMEM);
  close(reading);
  close(writing);
}

TEST(DescriptorWaitFailure, NoMemoryIsNeededUpToTheEndOfASystemSet) {
  const Pair pipe(OpenPipe);
  const int writing = support::DuplicateAtOrAbove(pipe.writing, 1023);
  ASSERT_EQ(writing, 1023);
  int32_t result = -1;
  {
    const FailingAllocation failing(1, FailingAllocation::Extent::kFromThenOn);
    result = descriptor_wait::ForWriting(writing, kLongTime);
  }
  EXPECT_EQ(result, 1);
  close(writing);
}

TEST(DescriptorWaitFailure, SignalGivesMinusOne) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const Pair pipe(OpenPipe);
  // Again and again, in case the first comes before the wait has begun.
  const itimerval every_20_ms{.it_interval = {.tv_sec = 0, .tv_usec = 20'000},
                              .it_value = {.tv_sec = 0, .tv_usec = 20'000}};
  setitimer(ITIMER_REAL, &every_20_ms, nullptr);
  errno = 0;
  const int32_t result = descriptor_wait::ForReading(pipe.reading, kLongTime);
  const int error = errno;
  setitimer(ITIMER_REAL, nullptr, nullptr);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, EINTR);
}

// ---- Times ----

TEST(DescriptorWaitFromMilliseconds, GivesSecondsAndTheRestInMicroseconds) {
  const struct {
    int64_t milliseconds;
    int64_t seconds, microseconds;
  } cases[] = {
      {0, 0, 0},
      {1, 0, 1'000},
      {999, 0, 999'000},
      {1000, 1, 0},
      {1500, 1, 500'000},
      {INT32_MAX, 2'147'483, 647'000},
      {UINT32_MAX, 4'294'967, 295'000},
      {-1, 0, -1'000},
      {-1000, -1, 0},
      {-1500, -1, -500'000},
      {INT32_MIN, -2'147'483, -648'000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.milliseconds);
    const timeval time = descriptor_wait::FromMilliseconds(c.milliseconds);
    EXPECT_EQ(time.tv_sec, c.seconds);
    EXPECT_EQ(time.tv_usec, c.microseconds);
  }
}

}  // namespace
