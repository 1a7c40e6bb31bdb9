// What the platform's functions promise that the layer's own functions do not show.
#include "sys/platform/platform.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/support/guarded_buffer.h"

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
