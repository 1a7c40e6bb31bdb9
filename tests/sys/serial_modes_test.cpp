// SPDX-License-Identifier: MIT

// The steps of opening a port and every single mode of it, seen from the system's side: the calls
// come here instead, so that a device without any modes can have all of them.
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "sys/serial.h"

namespace {

struct Device {
  termios before{};         // what the device has when it is opened
  termios asked{};          // the record that the device's modes were to be stored in
  termios written{};        // what the port writes
  int write_action = -1;    // when it is to take effect
  unsigned long claim = 0;  // the request of the claim
  int flushed_queues = -1;
  uint32_t speed = 0;
  // The results of the calls.
  int get_result = 0;
  int set_result = 0;
  int claim_result = 0;
  int speed_result = 0;
  int flush_result = 0;
  std::vector<std::string> calls;
};
Device device;

}  // namespace

extern "C" {

int __wrap_ioctl(int descriptor, unsigned long request, ...);
int __wrap_tcgetattr(int descriptor, termios* settings);
int __wrap_tcsetattr(int descriptor, int action, const termios* settings);
int __wrap_tcflush(int descriptor, int queues);
int __wrap__ZN8platform14SetSerialSpeedEij(int descriptor, uint32_t speed);

int __wrap_ioctl(int, unsigned long request, ...) {
  device.calls.emplace_back("claim");
  device.claim = request;
  return device.claim_result;
}

int __wrap_tcgetattr(int, termios* settings) {
  device.calls.emplace_back("get modes");
  device.asked = *settings;
  if (device.get_result == 0) *settings = device.before;
  return device.get_result;
}

int __wrap_tcsetattr(int, int action, const termios* settings) {
  device.calls.emplace_back("set modes");
  device.write_action = action;
  device.written = *settings;
  return device.set_result;
}

int __wrap_tcflush(int, int queues) {
  device.calls.emplace_back("flush");
  device.flushed_queues = queues;
  return device.flush_result;
}

int __wrap__ZN8platform14SetSerialSpeedEij(int, uint32_t speed) {
  device.calls.emplace_back("set speed");
  device.speed = speed;
  return device.speed_result;
}

}  // extern "C"

namespace {

using Port = std::unique_ptr<SYS_COM_PORT, decltype(&SYS_COM_Close)>;

Port Open(uint32_t speed = 9600) { return {SYS_COM_Open("null", speed), SYS_COM_Close}; }

class SysComOpenSteps : public testing::Test {
 protected:
  void SetUp() override { device = {}; }
};

// ---- Modes ----

enum class Fate { kCleared, kSet, kKept };

struct Mode {
  const char* name;
  tcflag_t termios::*word;
  tcflag_t bits;
  Fate fate;
};

#define INPUT(name, fate) \
  { #name, &termios::c_iflag, name, Fate::fate }
#define OUTPUT(name, fate) \
  { #name, &termios::c_oflag, name, Fate::fate }
#define CONTROL(name, fate) \
  { #name, &termios::c_cflag, name, Fate::fate }
#define LOCAL(name, fate) \
  { #name, &termios::c_lflag, name, Fate::fate }

const Mode kModes[] = {
    INPUT(IGNBRK, kSet),        INPUT(BRKINT, kKept),    INPUT(IGNPAR, kCleared),
    INPUT(PARMRK, kCleared),    INPUT(INPCK, kCleared),  INPUT(ISTRIP, kCleared),
    INPUT(INLCR, kCleared),     INPUT(IGNCR, kCleared),  INPUT(ICRNL, kCleared),
    INPUT(IXON, kCleared),      INPUT(IXOFF, kCleared),  INPUT(IXANY, kKept),
    INPUT(IMAXBEL, kCleared),   OUTPUT(OPOST, kKept),    OUTPUT(ONLCR, kCleared),
    OUTPUT(OCRNL, kCleared),    OUTPUT(ONOCR, kCleared), OUTPUT(ONLRET, kCleared),
    OUTPUT(OFILL, kCleared),    OUTPUT(OFDEL, kKept),    OUTPUT(NLDLY, kKept),
    OUTPUT(CRDLY, kKept),       OUTPUT(TABDLY, kKept),  // tabs to spaces among them
    OUTPUT(BSDLY, kKept),       OUTPUT(VTDLY, kKept),    OUTPUT(FFDLY, kKept),
    CONTROL(CS8, kSet),  // all bits of the character size
    CONTROL(CSTOPB, kCleared),  CONTROL(CREAD, kSet),    CONTROL(PARENB, kCleared),
    CONTROL(PARODD, kKept),     CONTROL(HUPCL, kKept),   CONTROL(CLOCAL, kSet),
    CONTROL(CRTSCTS, kCleared),  // both directions
    LOCAL(ECHOKE, kCleared),    LOCAL(ECHOE, kCleared),  LOCAL(ECHOK, kCleared),
    LOCAL(ECHO, kCleared),      LOCAL(ECHONL, kCleared), LOCAL(ECHOPRT, kCleared),
    LOCAL(ECHOCTL, kCleared),   LOCAL(ISIG, kCleared),   LOCAL(ICANON, kCleared),
    LOCAL(IEXTEN, kCleared),    LOCAL(PENDIN, kCleared), LOCAL(NOFLSH, kKept),
    LOCAL(TOSTOP, kKept),       LOCAL(FLUSHO, kKept),
};

constexpr tcflag_t termios::*kWords[] = {&termios::c_iflag, &termios::c_oflag, &termios::c_cflag,
                                         &termios::c_lflag};

termios AllModes(tcflag_t value) {
  termios modes{};
  for (const auto word : kWords) modes.*word = value;
  return modes;
}

void ExpectEachModesFate(tcflag_t before) {
  for (const Mode& mode : kModes) {
    SCOPED_TRACE(mode.name);
    const tcflag_t kept = before & mode.bits;
    const tcflag_t expected = mode.fate == Fate::kSet       ? mode.bits
                              : mode.fate == Fate::kCleared ? 0
                                                            : kept;
    EXPECT_EQ(device.written.*mode.word & mode.bits, expected);
  }
}

TEST_F(SysComOpenSteps, EachModeOfADeviceThatHasAll) {
  device.before = AllModes(~tcflag_t{0});
  ASSERT_NE(Open(), nullptr);
  ExpectEachModesFate(~tcflag_t{0});
}

TEST_F(SysComOpenSteps, EachModeOfADeviceThatHasNone) {
  device.before = AllModes(0);
  ASSERT_NE(Open(), nullptr);
  ExpectEachModesFate(0);
}

TEST_F(SysComOpenSteps, BitsThatNoModeNamesKeepTheirState) {
  for (const tcflag_t before : {tcflag_t{0}, ~tcflag_t{0}}) {
    SCOPED_TRACE(before);
    device.before = AllModes(before);
    ASSERT_NE(Open(), nullptr);
    for (const auto word : kWords) {
      tcflag_t unnamed = ~tcflag_t{0};
      for (const Mode& mode : kModes) {
        if (mode.word == word) unnamed &= ~mode.bits;
      }
      EXPECT_EQ(device.written.*word & unnamed, before & unnamed);
    }
  }
}

TEST_F(SysComOpenSteps, AReadEndsAfterATenthOfASecondWithoutData) {
  std::fill(std::begin(device.before.c_cc), std::end(device.before.c_cc), cc_t{0x5A});
  ASSERT_NE(Open(), nullptr);
  for (int i = 0; i < NCCS; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(device.written.c_cc[i], i == VMIN ? 0 : i == VTIME ? 1 : 0x5A);
  }
}

TEST_F(SysComOpenSteps, WritingModesKeepsTheSpeedTheyCameWith) {
  cfsetispeed(&device.before, B4800);
  cfsetospeed(&device.before, B38400);
  ASSERT_NE(Open(), nullptr);
  EXPECT_EQ(cfgetispeed(&device.written), cfgetispeed(&device.before));
  EXPECT_EQ(cfgetospeed(&device.written), speed_t{B38400});
}

// ---- Steps ----

using Calls = std::vector<std::string>;

TEST_F(SysComOpenSteps, ClaimsThenSetsModesThenSpeedThenFlushes) {
  ASSERT_NE(Open(31250), nullptr);
  EXPECT_EQ(device.calls, Calls({"claim", "get modes", "set modes", "set speed", "flush"}));
  EXPECT_EQ(device.claim, static_cast<unsigned long>(TIOCEXCL));
  EXPECT_EQ(device.write_action, TCSANOW);
  EXPECT_EQ(device.speed, 31250U);
  EXPECT_EQ(device.flushed_queues, TCIOFLUSH);
}

TEST_F(SysComOpenSteps, RefusedSpeedEndsBeforeTheFlush) {
  device.speed_result = -1;
  testing::internal::CaptureStdout();
  const Port port = Open();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR while writing port settings.\n");
  EXPECT_EQ(port, nullptr);
  EXPECT_EQ(device.calls, Calls({"claim", "get modes", "set modes", "set speed"}));
}

TEST_F(SysComOpenSteps, ModesThatCannotBeReadCountAsNone) {
  device.before = AllModes(~tcflag_t{0});
  device.get_result = -1;
  ASSERT_NE(Open(), nullptr);
  ExpectEachModesFate(0);
  for (const auto word : kWords) EXPECT_EQ(device.asked.*word, 0U);
}

TEST_F(SysComOpenSteps, OnlyARefusedSpeedKeepsAPortFromOpening) {
  device.claim_result = -1;
  device.get_result = -1;
  device.set_result = -1;
  device.flush_result = -1;
  testing::internal::CaptureStdout();
  const Port port = Open();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_NE(port, nullptr);
}

TEST_F(SysComOpenSteps, ANewSpeedIsThatOneCallAlone) {
  const Port port = Open();
  device.calls.clear();
  EXPECT_EQ(SYS_COM_SetSpeed(port->descriptor, 4'000'000'000), 0);
  EXPECT_EQ(device.calls, Calls({"set speed"}));
  EXPECT_EQ(device.speed, 4'000'000'000U);
}

}  // namespace
