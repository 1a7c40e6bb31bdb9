#include "sys/console.h"

#include <editline/readline.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sys/descriptor_wait.h"

namespace {

std::atomic<bool> is_terminal_prepared = false;

void PrepareTerminal() {
  termios modes{};
  if (tcgetattr(STDIN_FILENO, &modes) == 0) {
    modes.c_lflag &= ~static_cast<tcflag_t>(ICANON);
    tcsetattr(STDIN_FILENO, TCSANOW, &modes);
  }
  setbuf(stdin, nullptr);
}

// Waits until standard output takes bytes again; false on errors that do not pass.
bool CanRetryWrite(int error) {
  constexpr timeval kAWhile{.tv_sec = 1, .tv_usec = 0};
  if (error == EINTR) return true;
  if (error != EAGAIN) return false;
  return descriptor_wait::ForWriting(STDOUT_FILENO, kAWhile) >= 0 || errno == EINTR;
}

}  // namespace

int32_t SYS_ConsoleKbHit() {
  if (!is_terminal_prepared.load(std::memory_order_relaxed)) {
    PrepareTerminal();
    is_terminal_prepared.store(true, std::memory_order_relaxed);
  }
  int32_t waiting = 0;
  ioctl(STDIN_FILENO, FIONREAD, &waiting);
  return waiting;
}

int32_t SYS_ConsoleGetChar() { return static_cast<int8_t>(getchar()); }

char* SYS_ConsoleReadLine(const char* prompt, char* buffer, uint32_t capacity) {
  if (capacity == 0) return buffer;
  buffer[0] = '\0';
  char* line = nullptr;
  while (line == nullptr) line = readline(prompt);
  const uint32_t copied = std::min(capacity - 1, static_cast<uint32_t>(strlen(line)));
  memcpy(buffer, line, copied);
  buffer[copied] = '\0';
  if (copied == 0) {
    free(line);
  } else {
    // The history copies the line and the line itself is not freed, on purpose.
    add_history(line);
  }
  return buffer;
}

int32_t SYS_ConsoleWrite(const void* data, uint32_t length) {
  fflush(stdout);
  const auto* next = static_cast<const char*>(data);
  const char* const end = next + length;
  while (next < end) {
    const ssize_t written = write(STDOUT_FILENO, next, static_cast<size_t>(end - next));
    if (written >= 0) {
      next += written;
    } else if (!CanRetryWrite(errno)) {
      return -1;
    }
  }
  return 0;
}
