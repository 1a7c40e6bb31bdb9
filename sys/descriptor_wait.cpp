// SPDX-License-Identifier: MIT

#include "sys/descriptor_wait.h"

#include <fcntl.h>
#include <string.h>
#include <sys/select.h>

#include <array>
#include <cerrno>

#include "sys/memory.h"

namespace {

// A set of descriptors that holds exactly one. On both systems an fd_set is an array of bits in
// little-endian words, so a longer array of them is a larger set.
class OneDescriptorSet {
 public:
  explicit OneDescriptorSet(uint32_t descriptor) {
    const uint32_t word = descriptor / kWordBits;
    if (word >= inline_words_.size()) {
      const auto bytes = static_cast<uint32_t>((word + 1) * sizeof(uint64_t));
      words_ = static_cast<uint64_t*>(SYS_MEM_Alloc(bytes));
      if (words_ == nullptr) return;
      memset(words_, 0, bytes);
    }
    words_[word] = uint64_t{1} << (descriptor % kWordBits);
  }
  ~OneDescriptorSet() {
    if (words_ != inline_words_.data()) SYS_MEM_Free(words_);
  }
  OneDescriptorSet(const OneDescriptorSet&) = delete;
  OneDescriptorSet& operator=(const OneDescriptorSet&) = delete;

  fd_set* get() { return reinterpret_cast<fd_set*>(words_); }  // null when there is no memory

 private:
  static constexpr uint32_t kWordBits = 64;
  std::array<uint64_t, FD_SETSIZE / kWordBits> inline_words_{};
  uint64_t* words_ = inline_words_.data();
};

enum class Readiness { kReading, kWriting };

int32_t WaitOnOpen(int32_t descriptor, Readiness readiness, timeval timeout) {
  OneDescriptorSet set(static_cast<uint32_t>(descriptor));
  if (set.get() == nullptr) {
    errno = ENOMEM;
    return -1;
  }
  fd_set* const reading = readiness == Readiness::kReading ? set.get() : nullptr;
  fd_set* const writing = readiness == Readiness::kWriting ? set.get() : nullptr;
  return select(descriptor + 1, reading, writing, nullptr, &timeout);
}

// Linux does not look at descriptors above those a process ever had open and would wait the whole
// time for them; asking first gives the same answer for every descriptor that is not open. It also
// keeps negative numbers out and bounds the size of the set.
int32_t Wait(int32_t descriptor, Readiness readiness, timeval timeout) {
  if (fcntl(descriptor, F_GETFD) == -1) return -1;
  return WaitOnOpen(descriptor, readiness, timeout);
}

}  // namespace

int32_t descriptor_wait::ForReading(int32_t descriptor, timeval timeout) {
  return Wait(descriptor, Readiness::kReading, timeout);
}

int32_t descriptor_wait::ForWriting(int32_t descriptor, timeval timeout) {
  return Wait(descriptor, Readiness::kWriting, timeout);
}

int32_t descriptor_wait::ForWritingOnOpen(int32_t descriptor, timeval timeout) {
  return WaitOnOpen(descriptor, Readiness::kWriting, timeout);
}

timeval descriptor_wait::FromMilliseconds(int64_t milliseconds) {
  timeval time{};
  time.tv_sec = milliseconds / 1000;
  time.tv_usec = static_cast<decltype(time.tv_usec)>(milliseconds % 1000 * 1000);
  return time;
}
