// SPDX-License-Identifier: MIT

// What the platform's functions promise that the layer's own functions do not show.
#include "sys/platform/platform.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/support/guarded_buffer.h"

namespace {

// Requests to devices are counted, and only the failing one fails.
int requests = 0;
int failing_request = 0;

}  // namespace

extern "C" int __wrap_ioctl(int descriptor, unsigned long request, ...);

int __wrap_ioctl(int, unsigned long, ...) { return ++requests == failing_request ? -1 : 0; }

namespace {

using support::GuardedBuffer;

TEST(PlatformVisitUsbSerialDevices, VisitsTheUsbTerminalsOfThisMachine) {
  std::multiset<std::string> expected;
  for (const auto& entry : std::filesystem::directory_iterator("/sys/class/tty")) {
    const std::string name = entry.path().filename();
    if (name.starts_with("ttyUSB") || name.starts_with("ttyACM")) expected.insert("/dev/" + name);
  }
  std::multiset<std::string> visited;
  platform::VisitUsbSerialDevices(
      [](void* context, const char* path) {
        static_cast<std::multiset<std::string>*>(context)->insert(path);
      },
      &visited);
  EXPECT_EQ(visited, expected);
}

TEST(PlatformSetSerialSpeed, GivesMinusOneWhicheverRequestFails) {
  requests = 0;
  EXPECT_EQ(platform::SetSerialSpeed(-1, 9600), 0);
  const int all_requests = requests;
  EXPECT_GT(all_requests, 0);
  for (failing_request = 1; failing_request <= all_requests; ++failing_request) {
    SCOPED_TRACE(failing_request);
    requests = 0;
    EXPECT_EQ(platform::SetSerialSpeed(-1, 9600), -1);
  }
}

TEST(PlatformExecutablePath, IsThePathOfTheRunningProgram) {
  const std::string expected = std::filesystem::read_symlink("/proc/self/exe");
  GuardedBuffer path(4096);
  EXPECT_EQ(platform::ExecutablePath(path.data(), path.size()), expected.size());
  EXPECT_EQ(path.data(), expected);
}

TEST(PlatformExecutablePath, GivesZeroWhenThePathDoesNotFitWithItsTerminator) {
  const size_t length = std::filesystem::read_symlink("/proc/self/exe").native().size();
  GuardedBuffer too_small(length);
  EXPECT_EQ(platform::ExecutablePath(too_small.data(), too_small.size()), 0U);
  GuardedBuffer just_large_enough(length + 1);
  EXPECT_EQ(platform::ExecutablePath(just_large_enough.data(), just_large_enough.size()), length);
}

TEST(PlatformBsdAddressRecord, HoldsLengthFamilyPortAndAddress) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(0x1234);
  address.sin_addr.s_addr = htonl(0x7F000001);
  const platform::BsdAddressRecord expected = {16, 2, 0x12, 0x34, 127, 0, 0, 1};
  EXPECT_EQ(platform::ToBsdAddressRecord(address), expected);
}

}  // namespace
