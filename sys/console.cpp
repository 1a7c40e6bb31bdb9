// SPDX-License-Identifier: MIT

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

std::atomic<uint8_t> terminal_prepared = 0;

// The old modes are not kept: the terminal stays like this after the process, on purpose.
void PrepareTerminal() {
  termios modes{};
  tcgetattr(STDIN_FILENO, &modes);
  modes.c_lflag &= ~static_cast<tcflag_t>(ICANON);
  tcsetattr(STDIN_FILENO, TCSANOW, &modes);
  setbuf(stdin, nullptr);
  terminal_prepared.store(1, std::memory_order_relaxed);
}

// macOS refuses to write more than this with one call.
constexpr uint32_t kLongestWrite = INT32_MAX;

// Tells whether a write that failed may still succeed. When standard output is full it waits first;
// how that wait ends does not matter, because the next write tells what has become of the output.
bool IsWorthAnotherWrite(int error) {
  if (error == EINTR) return true;
  if (error != EAGAIN) return false;
  descriptor_wait::ForWriting(STDOUT_FILENO, {.tv_sec = 60, .tv_usec = 0});
  return true;
}

}  // namespace

int32_t SYS_ConsoleKbHit() {
  if (terminal_prepared.load(std::memory_order_relaxed) == 0) PrepareTerminal();
  int32_t waiting = 0;
  ioctl(STDIN_FILENO, FIONREAD, &waiting);
  return waiting;
}

// The narrowing makes byte 0xFF and the end of input the same, on purpose.
int32_t SYS_ConsoleGetChar() { return static_cast<int8_t>(getchar()); }

char* SYS_ConsoleReadLine(const char* prompt, char* buffer, uint32_t capacity) {
  if (capacity == 0) return buffer;
  buffer[0] = 0;
  char* line = nullptr;
  // The end of input is no way out on purpose; only a line is.
  while (line == nullptr) line = readline(prompt);
  const uint32_t length = std::min(capacity - 1, static_cast<uint32_t>(strlen(line)));
  memcpy(buffer, line, length);
  buffer[length] = 0;
  if (length == 0) {
    free(line);
  } else {
    add_history(line);  // the line is handed over and not freed, on purpose
  }
  return buffer;
}

int32_t SYS_ConsoleWrite(const void* data, uint32_t length) {
  fflush(stdout);
  const auto* rest = static_cast<const uint8_t*>(data);
  while (length > 0) {
    const ssize_t taken = write(STDOUT_FILENO, rest, std::min(length, kLongestWrite));
    if (taken >= 0) {
      rest += taken;
      length -= static_cast<uint32_t>(taken);
    } else if (!IsWorthAnotherWrite(errno)) {
      return -1;
    }
  }
  return 0;
}
