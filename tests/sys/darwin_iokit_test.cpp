// SPDX-License-Identifier: MIT

// The macOS half of serial enumeration and idle sleep, run here against an IOKit that counts
// references.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sys/platform/platform.h"
#include "tests/support/fake_iokit.h"

namespace {

class DarwinIokit : public testing::Test {
 protected:
  void SetUp() override { fake_iokit::Reset(); }
  void TearDown() override { EXPECT_EQ(fake_iokit::OpenReferences(), 0); }

  static std::vector<std::string> Visited() {
    std::vector<std::string> paths;
    platform::VisitUsbSerialDevices(
        [](void* context, const char* path) {
          static_cast<std::vector<std::string>*>(context)->push_back(path);
        },
        &paths);
    return paths;
  }
};

using Paths = std::vector<std::string>;

TEST_F(DarwinIokit, AsksForAllSerialDevices) {
  Visited();
  EXPECT_EQ(fake_iokit::matching.class_name, "IOSerialBSDClient");
  EXPECT_EQ(fake_iokit::matching.key, "IOSerialBSDClientType");
  EXPECT_EQ(fake_iokit::matching.value, "IOSerialStream");
}

TEST_F(DarwinIokit, VisitsUsbDevicesInTheIteratorsOrder) {
  fake_iokit::system.services = {"/dev/cu.usbserial-2", "/dev/cu.usbmodem1", "/dev/cu.usbserial-1"};
  EXPECT_EQ(Visited(), Paths({"/dev/cu.usbserial-2", "/dev/cu.usbmodem1", "/dev/cu.usbserial-1"}));
}

TEST_F(DarwinIokit, PassesOverOtherDevices) {
  fake_iokit::system.services = {"/dev/cu.Bluetooth-Incoming-Port",
                                 "/dev/tty.usbserial-1",
                                 "/dev/cu.us",
                                 "cu.usbserial-1",
                                 "",
                                 "/dev/cu.usbmodem1"};
  EXPECT_EQ(Visited(), Paths({"/dev/cu.usbmodem1"}));
}

TEST_F(DarwinIokit, MatchesThePrefixInAnyCase) {
  fake_iokit::system.services = {"/DEV/CU.USBSERIAL-1", "/dev/cu.Usbmodem"};
  EXPECT_EQ(Visited(), Paths({"/DEV/CU.USBSERIAL-1", "/dev/cu.Usbmodem"}));
}

TEST_F(DarwinIokit, ThePrefixAloneIsEnough) {
  fake_iokit::system.services = {"/dev/cu.usb"};
  EXPECT_EQ(Visited(), Paths({"/dev/cu.usb"}));
}

TEST_F(DarwinIokit, ServiceWithoutThePropertyHasNoPath) {
  // Nor that of the service before it.
  fake_iokit::system.services = {"/dev/cu.usbmodem1", std::nullopt, "/dev/cu.usbmodem2"};
  EXPECT_EQ(Visited(), Paths({"/dev/cu.usbmodem1", "/dev/cu.usbmodem2"}));
}

TEST_F(DarwinIokit, PathOf511CharactersIsVisitedWholeAndLongerOnesAreNot) {
  const std::string prefix = "/dev/cu.usb";
  const std::string longest = prefix + std::string(500, 'x');
  ASSERT_EQ(longest.size(), 511u);
  fake_iokit::system.services = {longest, longest + "x", prefix + std::string(589, 'x')};
  EXPECT_EQ(Visited(), Paths({longest}));
}

TEST_F(DarwinIokit, WithoutADictionaryThereAreNoDevices) {
  fake_iokit::system.services = {"/dev/cu.usbmodem1"};
  fake_iokit::system.has_memory_for_dictionary = false;
  EXPECT_EQ(Visited(), Paths());
}

TEST_F(DarwinIokit, NullIteratorMeansNoDevices) {
  fake_iokit::system.services = {"/dev/cu.usbmodem1"};
  fake_iokit::system.gives_iterator = false;
  EXPECT_EQ(Visited(), Paths());
}

TEST_F(DarwinIokit, FailedMatchingMeansNoDevicesWithOrWithoutAnIterator) {
  fake_iokit::system.services = {"/dev/cu.usbmodem1"};
  fake_iokit::system.matching_result = -536870212;
  EXPECT_EQ(Visited(), Paths());
  fake_iokit::system.gives_iterator = false;
  EXPECT_EQ(Visited(), Paths());
}

TEST_F(DarwinIokit, AssertionIsCreatedByItsTypeAtFullLevel) {
  uint32_t assertion = 0;
  platform::CreateIdleSleepAssertion(&assertion);
  ASSERT_EQ(fake_iokit::created_assertions.size(), 1u);
  EXPECT_EQ(fake_iokit::created_assertions[0].type, "NoIdleSleepAssertion");
  EXPECT_EQ(fake_iokit::created_assertions[0].level, 255u);
  EXPECT_EQ(assertion, 77u);
}

TEST_F(DarwinIokit, AssertionIsReleasedByItsId) {
  platform::ReleaseIdleSleepAssertion(77);
  EXPECT_EQ(fake_iokit::released_assertions, std::vector<uint32_t>({77}));
}

}  // namespace
