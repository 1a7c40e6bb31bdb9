// SPDX-License-Identifier: MIT

// What platform.h asks for, on Linux.
#include <dirent.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <cstddef>

#include "sys/platform/platform.h"

uint64_t platform::MonotonicNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

int32_t platform::ProcessorCount() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count > 0 ? static_cast<int32_t>(count) : 0;
}

// readlink cuts what does not fit without a word; a link of exactly capacity bytes may be cut too.
size_t platform::ExecutablePath(char* path, size_t capacity) {
  const ssize_t result = readlink("/proc/self/exe", path, capacity);
  const size_t length = result > 0 ? static_cast<size_t>(result) : 0;
  if (length == 0 || length == capacity) return 0;
  path[length] = '\0';
  return length;
}

int platform::OpenSocket(int family, int type) { return socket(family, type | SOCK_CLOEXEC, 0); }

int platform::AcceptConnection(int listener) {
  return accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
}

// Linux has the promise as a flag of each send, not as an option of the socket.
void platform::DisableBrokenPipeSignal(int) {}

ssize_t platform::Send(int descriptor, const void* data, size_t length) {
  return send(descriptor, data, length, MSG_NOSIGNAL);
}

ssize_t platform::SendTo(int descriptor, const void* data, size_t length, const sockaddr* to,
                         socklen_t to_length) {
  return sendto(descriptor, data, length, MSG_NOSIGNAL, to, to_length);
}

void platform::SetLinger(int descriptor, bool is_on, uint16_t seconds) {
  const linger setting{.l_onoff = is_on ? 1 : 0, .l_linger = seconds};
  setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &setting, sizeof setting);
}

// Linux has a 16-bit family where BSD has length and family.
platform::BsdAddressRecord platform::ToBsdAddressRecord(const sockaddr_in& address) {
  BsdAddressRecord record{};
  memcpy(record.data(), &address, sizeof address);
  record[0] = sizeof address;
  record[1] = static_cast<uint8_t>(address.sin_family);
  return record;
}

// posix_spawn_file_actions_addclosefrom_np closes 0 to 2 too, as POSIX_SPAWN_CLOEXEC_DEFAULT does
// on macOS.
int platform::StartProcess(const char* path) {
  char* const arguments[] = {const_cast<char*>(path), nullptr};
  posix_spawn_file_actions_t actions{};
  int result = posix_spawn_file_actions_init(&actions);
  result |= posix_spawn_file_actions_addclosefrom_np(&actions, 0);
  result |= posix_spawn(nullptr, path, &actions, nullptr, arguments, environ);
  result |= posix_spawn_file_actions_destroy(&actions);
  return result;
}

// The login manager's inhibitor would need a message-bus client, which this layer does not have: on
// Linux the assertion is a promise that nobody asked the system to keep.
void platform::CreateIdleSleepAssertion(uint32_t*) {}

void platform::ReleaseIdleSleepAssertion(uint32_t) {}

// The kernel's drivers for USB serial devices name them so; other terminals stand in the same
// folder.
void platform::VisitUsbSerialDevices(SerialDeviceVisitor visit, void* context) {
  DIR* const folder = opendir("/sys/class/tty");
  if (folder == nullptr) return;
  while (const dirent* const entry = readdir(folder)) {
    if (strncmp(entry->d_name, "ttyUSB", 6) != 0 && strncmp(entry->d_name, "ttyACM", 6) != 0) {
      continue;
    }
    char path[sizeof "/dev/" + sizeof entry->d_name];
    snprintf(path, sizeof path, "/dev/%s", entry->d_name);
    visit(context, path);
  }
  closedir(folder);
}
