// SPDX-License-Identifier: MIT

// The list of serial ports, made of device paths that the tests feed in the platform's place.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sys/platform/platform.h"
#include "sys/serial.h"
#include "tests/support/guarded_buffer.h"

namespace {

std::vector<std::string> devices;

}  // namespace

// Instead of the platform's: hands out the paths above, each in memory that is gone afterwards.
extern "C" void __wrap__ZN8platform21VisitUsbSerialDevicesEPFvPvPKcES0_(
    platform::SerialDeviceVisitor visit, void* context);

void __wrap__ZN8platform21VisitUsbSerialDevicesEPFvPvPKcES0_(platform::SerialDeviceVisitor visit,
                                                             void* context) {
  for (const std::string& device : devices) {
    support::GuardedString path(device);
    visit(context, path.text());
  }
}

namespace {

using support::GuardedBuffer;

// Room for some names, directly before a forbidden page.
class Slots {
 public:
  explicit Slots(uint32_t capacity) : capacity_(capacity), buffer_(capacity * SYS_COM_NAME_SIZE) {}

  uint32_t Enumerate() {
    testing::internal::CaptureStdout();
    const uint32_t count = SYS_COM_EnumPorts(names(), capacity_);
    printed_ = testing::internal::GetCapturedStdout();
    return count;
  }

  std::string Name(uint32_t index) { return names()[index]; }
  bool IsUntouchedFrom(uint32_t index) {
    return buffer_.IsUntouched(index * SYS_COM_NAME_SIZE, buffer_.size());
  }
  const std::string& printed() const { return printed_; }

 private:
  char (*names())[SYS_COM_NAME_SIZE] {
    return reinterpret_cast<char(*)[SYS_COM_NAME_SIZE]>(buffer_.data());
  }

  uint32_t capacity_;
  GuardedBuffer buffer_;
  std::string printed_;
};

TEST(SysComEnumPorts, StoresNamesWithoutTheFolderInTheSystemsOrder) {
  devices = {"/dev/cu.usbserial-2", "/dev/cu.usbmodem1"};
  Slots slots(2);
  EXPECT_EQ(slots.Enumerate(), 2U);
  EXPECT_EQ(slots.Name(0), "cu.usbserial-2");
  EXPECT_EQ(slots.Name(1), "cu.usbmodem1");
}

TEST(SysComEnumPorts, PrintsALineWithTheWholePathForEachPort) {
  devices = {"/dev/cu.usbserial-2", "/dev/cu.usbmodem1"};
  Slots slots(2);
  slots.Enumerate();
  EXPECT_EQ(slots.printed(),
            "Modem at path: /dev/cu.usbserial-2\n"
            "Modem at path: /dev/cu.usbmodem1\n");
}

TEST(SysComEnumPorts, ThreePortsAndTwoSlotsGiveThreeLinesTwoNamesAndThree) {
  devices = {"/dev/ttyUSB0", "/dev/ttyUSB1", "/dev/ttyACM0"};
  Slots slots(2);  // a third name would meet the forbidden page
  EXPECT_EQ(slots.Enumerate(), 3U);
  EXPECT_EQ(slots.printed(),
            "Modem at path: /dev/ttyUSB0\n"
            "Modem at path: /dev/ttyUSB1\n"
            "Modem at path: /dev/ttyACM0\n");
  EXPECT_EQ(slots.Name(0), "ttyUSB0");
  EXPECT_EQ(slots.Name(1), "ttyUSB1");
}

TEST(SysComEnumPorts, NoPortsGiveZeroAndPrintNothing) {
  devices = {};
  Slots slots(2);
  EXPECT_EQ(slots.Enumerate(), 0U);
  EXPECT_EQ(slots.printed(), "");
  EXPECT_TRUE(slots.IsUntouchedFrom(0));
}

TEST(SysComEnumPorts, SlotsBehindTheLastPortStayAsTheyAre) {
  devices = {"/dev/ttyUSB0"};
  Slots slots(3);
  EXPECT_EQ(slots.Enumerate(), 1U);
  EXPECT_EQ(slots.Name(0), "ttyUSB0");
  EXPECT_TRUE(slots.IsUntouchedFrom(1));
}

TEST(SysComEnumPorts, CapacityZeroOnlyCountsAndTakesNull) {
  devices = {"/dev/ttyUSB0", "/dev/ttyUSB1"};
  testing::internal::CaptureStdout();
  const uint32_t count = SYS_COM_EnumPorts(nullptr, 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Modem at path: /dev/ttyUSB0\n"
            "Modem at path: /dev/ttyUSB1\n");
  EXPECT_EQ(count, 2U);
}

TEST(SysComEnumPorts, FolderInUpperCaseIsLeftOutToo) {
  devices = {"/DEV/CU.USBSERIAL-1"};
  Slots slots(1);
  EXPECT_EQ(slots.Enumerate(), 1U);
  EXPECT_EQ(slots.Name(0), "CU.USBSERIAL-1");
  EXPECT_EQ(slots.printed(), "Modem at path: /DEV/CU.USBSERIAL-1\n");
}

TEST(SysComEnumPorts, PrefixAloneIsAName) {
  devices = {"/dev/cu.usb"};
  Slots slots(1);
  EXPECT_EQ(slots.Enumerate(), 1U);
  EXPECT_EQ(slots.Name(0), "cu.usb");
}

TEST(SysComEnumPorts, NameOf63CharactersFitsASlot) {
  const std::string name = "cu.usb" + std::string(57, 'n');
  devices = {"/dev/" + name};
  Slots slots(1);
  EXPECT_EQ(slots.Enumerate(), 1U);
  EXPECT_EQ(slots.Name(0), name);
}

TEST(SysComEnumPorts, NameOf70CharactersIsCutTo63AndPrintedWhole) {
  devices = {"/dev/cu.usb" + std::string(64, 'n'), "/dev/ttyUSB0"};
  Slots slots(2);
  EXPECT_EQ(slots.Enumerate(), 2U);
  EXPECT_EQ(slots.Name(0), "cu.usb" + std::string(57, 'n'));
  EXPECT_EQ(slots.Name(1), "ttyUSB0");
  EXPECT_EQ(slots.printed(), "Modem at path: /dev/cu.usb" + std::string(64, 'n') +
                                 "\n"
                                 "Modem at path: /dev/ttyUSB0\n");
}

TEST(SysComEnumPorts, PathOf511CharactersIsPrintedWhole) {
  devices = {"/dev/cu.usb" + std::string(500, 'n')};
  Slots slots(1);
  EXPECT_EQ(slots.Enumerate(), 1U);
  EXPECT_EQ(slots.printed(), "Modem at path: /dev/cu.usb" + std::string(500, 'n') + "\n");
}

}  // namespace
