#include "sys/process.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "sys/platform/platform.h"

namespace {

std::atomic<bool> is_assertion_held = false;
uint32_t assertion = 0;

}  // namespace

// The flag is set even where the system refuses.
void SYS_PreventIdleSleep() {
  if (is_assertion_held.exchange(true, std::memory_order_relaxed)) return;
  platform::CreateIdleSleepAssertion(&assertion);
}

void SYS_AllowIdleSleep() {
  if (!is_assertion_held.exchange(false, std::memory_order_relaxed)) return;
  platform::ReleaseIdleSleepAssertion(assertion);
}

int32_t SYS_GetRandomBytes(void* buffer, uint32_t length) {
  const int device = open("/dev/random", O_RDONLY | O_CLOEXEC);
  if (device < 0) return -1;
  // A short read is neither repeated nor reported, on purpose.
  [[maybe_unused]] const ssize_t count = read(device, buffer, length);
  return close(device);
}

int32_t SYS_StartProcess(const void*, const char* path) { return platform::StartProcess(path); }

int32_t SYS_GetNumCPUs() { return platform::ProcessorCount(); }

uint32_t SYS_GetOSType() { return 0x3000; }

// 128 is a smallest width, not a limit.
void SYS_SysLog(const char* message) { syslog(LOG_USER | LOG_DEBUG, "%128s", message); }

int32_t SYS_GetLastError() { return errno; }
