// SPDX-License-Identifier: MIT

// Collects what arrives on a descriptor.
#ifndef TARVEN_TESTS_SUPPORT_STREAM_READER_H_
#define TARVEN_TESTS_SUPPORT_STREAM_READER_H_

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace support {

// Longer than anything a test waits for takes on a busy machine under a sanitizer.
inline constexpr std::chrono::milliseconds kPatience{20'000};

// Reads a pipe, socket or terminal that somebody else owns. The end of a pipe or socket and a
// hung-up terminal both count as the end of the stream.
class StreamReader {
 public:
  explicit StreamReader(int descriptor) : descriptor_(descriptor) {}

  // Reads until text has arrived count times in all since the start. False when the time passes
  // or the stream ends first.
  bool WaitFor(std::string_view text, size_t count = 1,
               std::chrono::milliseconds patience = kPatience);

  // Reads until that many bytes have arrived in all.
  bool WaitForSize(size_t size, std::chrono::milliseconds patience = kPatience);

  // Reads to the end of the stream; false when the time passes first.
  bool WaitForEnd(std::chrono::milliseconds patience = kPatience);

  // Reads what arrives within the time, which always passes whole unless the stream ends.
  void ReadFor(std::chrono::milliseconds time);

  // Everything read so far.
  const std::string& text() const { return text_; }
  bool ended() const { return ended_; }

 private:
  template <typename Done>
  bool ReadUntil(Done done, std::chrono::milliseconds patience);

  int descriptor_;
  std::string text_;
  bool ended_ = false;
};

// How often part stands in text, without overlaps.
size_t CountOf(std::string_view text, std::string_view part);

// Writes all bytes to a blocking descriptor; false on an error.
bool WriteAll(int descriptor, std::string_view bytes);

}  // namespace support

#endif
