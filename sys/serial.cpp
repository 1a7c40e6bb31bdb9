// SPDX-License-Identifier: MIT

#include "sys/serial.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <string_view>

#include "sys/descriptor_wait.h"
#include "sys/memory.h"
#include "sys/platform/platform.h"
#include "util/format.h"
#include "util/text.h"

namespace {

// ---- Raw mode ----

// How a raw port's modes differ from those that the device came with.
struct ModeChange {
  tcflag_t cleared;
  tcflag_t set;
};

// What stands in no row keeps its state on purpose, BRKINT and IXANY, OPOST, tabs and delays, PARODD
// and HUPCL among it: there a port is only as raw as the device was before.
constexpr ModeChange kInputModes = {
    IGNPAR | PARMRK | INPCK | ISTRIP | INLCR | IGNCR | ICRNL | IXON | IXOFF | IMAXBEL, IGNBRK};
constexpr ModeChange kOutputModes = {ONLCR | OCRNL | ONOCR | ONLRET | OFILL, 0};
constexpr ModeChange kControlModes = {CSIZE | CSTOPB | PARENB | CRTSCTS, CS8 | CREAD | CLOCAL};
constexpr ModeChange kLocalModes = {
    ECHOKE | ECHOE | ECHOK | ECHO | ECHONL | ECHOPRT | ECHOCTL | ISIG | ICANON | IEXTEN | PENDIN,
    0};

void Apply(const ModeChange& change, tcflag_t& modes) {
  modes = (modes & ~change.cleared) | change.set;
}

// A read without data ends after a tenth of a second. A device that has no modes shows when it is
// asked for its speed; results are not looked at here.
void SetRawMode(int32_t descriptor) {
  termios settings{};
  tcgetattr(descriptor, &settings);
  Apply(kInputModes, settings.c_iflag);
  Apply(kOutputModes, settings.c_oflag);
  Apply(kControlModes, settings.c_cflag);
  Apply(kLocalModes, settings.c_lflag);
  settings.c_cc[VMIN] = 0;
  settings.c_cc[VTIME] = 1;
  tcsetattr(descriptor, TCSANOW, &settings);
}

// ---- Opening ----

int32_t OpenDevice(const char* name) {
  char path[128];
  UTIL_snprintf(path, sizeof path, "/dev/%s", name);
  return open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
}

// Makes a port of an open device, which stays the caller's to close when there is none.
SYS_COM_PORT* MakePort(int32_t descriptor, uint32_t speed) {
  ioctl(descriptor, TIOCEXCL);
  SetRawMode(descriptor);
  // The speed comes last: writing modes would set the usual one that stands beside them.
  if (SYS_COM_SetSpeed(descriptor, speed) != 0) {
    puts("ERROR while writing port settings.");
    return nullptr;
  }
  tcflush(descriptor, TCIOFLUSH);
  auto* const port = static_cast<SYS_COM_PORT*>(SYS_MEM_Alloc(sizeof(SYS_COM_PORT)));
  if (port != nullptr) port->descriptor = descriptor;
  return port;
}

// ---- Enumeration ----

constexpr std::string_view kFolder = "/dev/";

struct PortNames {
  char (*slots)[SYS_COM_NAME_SIZE];
  uint32_t capacity;
  uint32_t count;
};

void AddPort(void* context, const char* path) {
  auto& names = *static_cast<PortNames*>(context);
  printf("Modem at path: %s\n", path);
  if (names.count < names.capacity) {
    UTIL_CopyString(names.slots[names.count], path + kFolder.size(), SYS_COM_NAME_SIZE);
  }
  ++names.count;
}

}  // namespace

SYS_COM_PORT* SYS_COM_Open(const char* name, uint32_t speed) {
  const int32_t descriptor = OpenDevice(name);
  if (descriptor < 0) return nullptr;
  SYS_COM_PORT* const port = MakePort(descriptor, speed);
  if (port == nullptr) close(descriptor);
  return port;
}

int32_t SYS_COM_SetSpeed(int32_t descriptor, uint32_t speed) {
  return platform::SetSerialSpeed(descriptor, speed);
}

int32_t SYS_COM_Read(const SYS_COM_PORT* port, void* buffer, uint32_t capacity,
                     uint32_t timeout_ms) {
  const timeval timeout = descriptor_wait::FromMilliseconds(timeout_ms);
  const int32_t readable = descriptor_wait::ForReading(port->descriptor, timeout);
  if (readable <= 0) return readable;
  return static_cast<int32_t>(read(port->descriptor, buffer, capacity));
}

int32_t SYS_COM_Write(const SYS_COM_PORT* port, const void* data, uint32_t length) {
  return static_cast<int32_t>(write(port->descriptor, data, length));
}

void SYS_COM_Close(SYS_COM_PORT* port) {
  close(port->descriptor);
  SYS_MEM_Free(port);
}

uint32_t SYS_COM_EnumPorts(char (*names)[SYS_COM_NAME_SIZE], uint32_t capacity) {
  PortNames found{.slots = names, .capacity = capacity, .count = 0};
  platform::VisitUsbSerialDevices(AddPort, &found);
  return found.count;
}
