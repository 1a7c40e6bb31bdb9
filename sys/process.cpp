// SPDX-License-Identifier: MIT

#include "sys/process.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "sys/platform/platform.h"

namespace {

std::atomic<uint32_t> assertion_held = 0;
std::atomic<uint32_t> assertion_id = 0;

}  // namespace

// Whether the assertion was granted is not looked at: the flag says held either way.
void SYS_PreventIdleSleep() {
  if (assertion_held.load(std::memory_order_relaxed) != 0) return;
  assertion_held.store(1, std::memory_order_relaxed);
  uint32_t id = assertion_id.load(std::memory_order_relaxed);
  platform::CreateIdleSleepAssertion(&id);
  assertion_id.store(id, std::memory_order_relaxed);
}

void SYS_AllowIdleSleep() {
  if (assertion_held.load(std::memory_order_relaxed) == 0) return;
  platform::ReleaseIdleSleepAssertion(assertion_id.load(std::memory_order_relaxed));
  assertion_held.store(0, std::memory_order_relaxed);
}

int32_t SYS_GetRandomBytes(void* buffer, uint32_t length) {
  const int device = open("/dev/random", O_RDONLY | O_CLOEXEC);
  if (device < 0) return -1;
  // A short read is neither repeated nor reported, on purpose.
  [[maybe_unused]] const ssize_t received = read(device, buffer, length);
  return close(device);
}

int32_t SYS_StartProcess(const void*, const char* path) { return platform::StartProcess(path); }

int32_t SYS_GetNumCPUs() { return platform::ProcessorCount(); }

uint32_t SYS_GetOSType() { return 0x3000; }

// 128 is a smallest width and no limit.
void SYS_SysLog(const char* message) { syslog(LOG_USER | LOG_DEBUG, "%128s", message); }

int32_t SYS_GetLastError() { return errno; }
