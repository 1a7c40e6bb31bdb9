// SPDX-License-Identifier: MIT

#include "tests/support/stream_reader.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace support {

namespace {
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
}  // namespace

template <typename Done>
bool StreamReader::ReadUntil(Done done, milliseconds patience) {
  const auto deadline = Clock::now() + patience;
  while (!done()) {
    if (ended_) return false;
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    pollfd request{.fd = descriptor_, .events = POLLIN, .revents = 0};
    if (poll(&request, 1, static_cast<int>(left.count()) + 1) <= 0) continue;
    char chunk[65536];
    const ssize_t received = read(descriptor_, chunk, sizeof chunk);
    if (received > 0) {
      text_.append(chunk, static_cast<size_t>(received));
    } else if (received == 0 || (errno != EINTR && errno != EAGAIN)) {
      ended_ = true;
    }
  }
  return true;
}

bool StreamReader::WaitFor(std::string_view text, size_t count, milliseconds patience) {
  return ReadUntil([&] { return CountOf(text_, text) >= count; }, patience);
}

bool StreamReader::WaitForSize(size_t size, milliseconds patience) {
  return ReadUntil([&] { return text_.size() >= size; }, patience);
}

bool StreamReader::WaitForEnd(milliseconds patience) {
  return ReadUntil([&] { return ended_; }, patience);
}

void StreamReader::ReadFor(milliseconds time) {
  ReadUntil([] { return false; }, time);
}

size_t CountOf(std::string_view text, std::string_view part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string_view::npos;
       at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

bool WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

}  // namespace support
