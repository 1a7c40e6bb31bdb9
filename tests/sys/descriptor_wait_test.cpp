#include "sys/descriptor_wait.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <vector>

#include "tests/support/failing_allocation.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/stream_reader.h"

namespace {

constexpr timeval kNoTime{.tv_sec = 0, .tv_usec = 0};
constexpr timeval kShortTime{.tv_sec = 0, .tv_usec = 30'000};
constexpr timeval kLongTime{.tv_sec = 20, .tv_usec = 0};

// A connected pair of sockets; what the first one sends the second one receives.
class SocketPair {
 public:
  SocketPair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_), 0); }
  ~SocketPair() {
    close(ends_[0]);
    close(ends_[1]);
  }
  int first() const { return ends_[0]; }
  int second() const { return ends_[1]; }

  // Sends until the first end would block.
  void Fill() const {
    const std::vector<char> block(65536);
    while (send(ends_[0], block.data(), block.size(), MSG_DONTWAIT) > 0) {
    }
  }

 private:
  int ends_[2];
};

TEST(DescriptorWait, ReadableOnceBytesWait) {
  const SocketPair pair;
  EXPECT_EQ(descriptor_wait::ForReading(pair.second(), kNoTime), 0);
  ASSERT_TRUE(support::WriteAll(pair.first(), "x"));
  EXPECT_EQ(descriptor_wait::ForReading(pair.second(), kLongTime), 1);
}

TEST(DescriptorWait, ReadableAtTheEndOfTheStream) {
  const SocketPair pair;
  shutdown(pair.first(), SHUT_WR);
  EXPECT_EQ(descriptor_wait::ForReading(pair.second(), kLongTime), 1);
}

TEST(DescriptorWait, WritableUntilFull) {
  const SocketPair pair;
  EXPECT_EQ(descriptor_wait::ForWriting(pair.first(), kLongTime), 1);
  pair.Fill();
  EXPECT_EQ(descriptor_wait::ForWriting(pair.first(), kNoTime), 0);
}

TEST(DescriptorWait, WaitsTheWholeTime) {
  const SocketPair pair;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(descriptor_wait::ForReading(pair.second(), kShortTime), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(29));
}

TEST(DescriptorWait, WorksOnTerminalsAndPipes) {
  support::PseudoTerminal terminal;
  EXPECT_EQ(descriptor_wait::ForReading(terminal.device(), kNoTime), 0);
  EXPECT_EQ(descriptor_wait::ForWriting(terminal.device(), kNoTime), 1);
  terminal.Type("line\n");
  EXPECT_EQ(descriptor_wait::ForReading(terminal.device(), kLongTime), 1);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(descriptor_wait::ForReading(ends[0], kNoTime), 0);
  EXPECT_EQ(descriptor_wait::ForWriting(ends[1], kNoTime), 1);
  close(ends[0]);
  close(ends[1]);
}

TEST(DescriptorWait, AnswersForDescriptorsBeyondAnFdSet) {
  const SocketPair pair;
  for (const int lowest : {1023, 1024, 1087, 1088, 2000, 4000}) {
    SCOPED_TRACE(lowest);
    const int first = support::DuplicateAtOrAbove(pair.first(), lowest);
    const int second = support::DuplicateAtOrAbove(pair.second(), lowest);
    ASSERT_GE(first, lowest);
    EXPECT_EQ(descriptor_wait::ForReading(second, kNoTime), 0);
    EXPECT_EQ(descriptor_wait::ForWriting(first, kLongTime), 1);
    ASSERT_TRUE(support::WriteAll(first, "x"));
    EXPECT_EQ(descriptor_wait::ForReading(second, kLongTime), 1);
    char byte;
    ASSERT_EQ(read(second, &byte, 1), 1);
    close(first);
    close(second);
  }
}

TEST(DescriptorWait, AnswersForTheHighestDescriptorAllowed) {
  const SocketPair pair;
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const auto most = static_cast<int>(std::min<rlim_t>(limit.rlim_max, 1'000'000));
  const int highest = support::DuplicateAtOrAbove(pair.second(), most - 1);
  ASSERT_GE(highest, 0);
  EXPECT_EQ(descriptor_wait::ForReading(highest, kNoTime), 0);
  ASSERT_TRUE(support::WriteAll(pair.first(), "x"));
  EXPECT_EQ(descriptor_wait::ForReading(highest, kLongTime), 1);
  close(highest);
}

TEST(DescriptorWait, DescriptorsThatAreNotOpenGiveMinusOneAtOnce) {
  for (const int32_t descriptor : {-1, -2, INT32_MIN, 900, 1023, 1024, 5000, INT32_MAX}) {
    SCOPED_TRACE(descriptor);
    errno = 0;
    EXPECT_EQ(descriptor_wait::ForReading(descriptor, kLongTime), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(descriptor_wait::ForWriting(descriptor, kLongTime), -1);
  }
}

TEST(DescriptorWait, NegativeTimesGiveMinusOne) {
  const SocketPair pair;
  EXPECT_EQ(descriptor_wait::ForReading(pair.second(), descriptor_wait::FromMilliseconds(-1)), -1);
  EXPECT_EQ(descriptor_wait::ForWriting(pair.first(), descriptor_wait::FromMilliseconds(-5000)),
            -1);
}

TEST(DescriptorWait, WithoutMemoryForALargeSetGivesMinusOne) {
  const SocketPair pair;
  const int large = support::DuplicateAtOrAbove(pair.first(), 2000);
  ASSERT_GE(large, 2000);
  {
    const support::FailingAllocation no_memory(1);
    EXPECT_EQ(descriptor_wait::ForWriting(pair.first(), kLongTime), 1);  // needs none
    EXPECT_EQ(descriptor_wait::ForWriting(large, kLongTime), -1);
    EXPECT_TRUE(support::FailingAllocation::HasFailed());
  }
  EXPECT_EQ(errno, ENOMEM);
  close(large);
}

TEST(DescriptorWait, SplitsMillisecondsIntoSecondsAndMicroseconds) {
  const struct {
    int32_t milliseconds;
    long seconds;
    long microseconds;
  } rows[] = {
      {0, 0, 0},          {1, 0, 1000},   {999, 0, 999'000},     {1000, 1, 0},
      {1500, 1, 500'000}, {-1, 0, -1000}, {-1500, -1, -500'000}, {INT32_MAX, 2'147'483, 647'000},
  };
  for (const auto& row : rows) {
    const timeval time = descriptor_wait::FromMilliseconds(row.milliseconds);
    EXPECT_EQ(time.tv_sec, row.seconds);
    EXPECT_EQ(time.tv_usec, row.microseconds);
  }
}

}  // namespace
