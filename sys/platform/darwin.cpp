// SPDX-License-Identifier: MIT

// What platform.h asks for, on macOS; IOKit's functions stand in darwin_iokit.cpp.
#include <IOKit/serial/ioss.h>
#include <fcntl.h>
#include <libproc.h>
#include <mach/mach_time.h>
#include <spawn.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/sysctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>

#include "sys/platform/platform.h"

extern char** environ;  // <unistd.h> does not declare it here

namespace {

int ClosingOnExec(int descriptor) {
  if (descriptor >= 0) fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  return descriptor;
}

}  // namespace

// The counter is taken as nanoseconds without its time base: on x86-64 the ratio is 1, also where
// another processor translates the program.
uint64_t platform::MonotonicNanoseconds() { return mach_absolute_time(); }

int32_t platform::ProcessorCount() {
  int32_t count = 0;
  size_t length = sizeof count;
  sysctlbyname("hw.logicalcpu", &count, &length, nullptr, 0);
  return count;
}

// proc_pidpath takes capacities from 1024 to 4096 bytes and refuses all others.
size_t platform::ExecutablePath(char* path, size_t capacity) {
  const auto size = static_cast<uint32_t>(std::min<size_t>(capacity, PROC_PIDPATHINFO_MAXSIZE));
  const int length = proc_pidpath(getpid(), path, size);
  return length > 0 ? static_cast<size_t>(length) : 0;
}

// There is no flag for it at creation: a program that another thread starts in between gets the
// socket along.
int platform::OpenSocket(int family, int type) { return ClosingOnExec(socket(family, type, 0)); }

int platform::AcceptConnection(int listener) {
  return ClosingOnExec(accept(listener, nullptr, nullptr));
}

// MSG_NOSIGNAL is younger than the oldest system served.
void platform::DisableBrokenPipeSignal(int descriptor) {
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
}

ssize_t platform::Send(int descriptor, const void* data, size_t length) {
  return send(descriptor, data, length, 0);
}

ssize_t platform::SendTo(int descriptor, const void* data, size_t length, const sockaddr* to,
                         socklen_t to_length) {
  return sendto(descriptor, data, length, 0, to, to_length);
}

// Plain SO_LINGER counts hundredths of a second here. The kernel keeps those hundredths in 16
// signed bits, so 327 s is the longest time that does not turn into another one.
void platform::SetLinger(int descriptor, bool is_on, uint16_t seconds) {
  constexpr uint16_t kLongestSeconds = 327;
  const linger setting{.l_onoff = is_on ? 1 : 0, .l_linger = std::min(seconds, kLongestSeconds)};
  setsockopt(descriptor, SOL_SOCKET, SO_LINGER_SEC, &setting, sizeof setting);
}

platform::BsdAddressRecord platform::ToBsdAddressRecord(const sockaddr_in& address) {
  BsdAddressRecord record;
  static_assert(sizeof record == sizeof address);
  memcpy(record.data(), &address, sizeof address);
  return record;
}

// POSIX_SPAWN_CLOEXEC_DEFAULT closes every descriptor that no file action names, 0 to 2 included.
int platform::StartProcess(const char* path) {
  char* const arguments[] = {const_cast<char*>(path), nullptr};
  posix_spawnattr_t attributes{};
  int result = posix_spawnattr_init(&attributes);
  result |= posix_spawnattr_setflags(&attributes, POSIX_SPAWN_CLOEXEC_DEFAULT);
  result |= posix_spawn(nullptr, path, nullptr, &attributes, arguments, environ);
  result |= posix_spawnattr_destroy(&attributes);
  return result;
}

// The driver reads all eight bytes of a speed_t. Nothing but the driver knows the request: a
// pseudo-terminal refuses it.
int platform::SetSerialSpeed(int descriptor, uint32_t speed) {
  speed_t driver_speed = speed;
  return ioctl(descriptor, IOSSIOSPEED, &driver_speed);
}
