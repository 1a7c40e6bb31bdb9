// SPDX-License-Identifier: MIT

#include "util/dynbuffer.h"

#include <algorithm>
#include <cstring>

#include "sys/memory.h"
#include "util/format.h"

namespace {

void Report(const DYNBUFFER& buffer, const char* format, uint32_t number) {
  if (buffer.error_callback == nullptr) return;
  char message[256];
  UTIL_snprintf(message, sizeof message, format, number);
  buffer.error_callback(message);
}

int32_t ReportNoMemory(const DYNBUFFER& buffer, uint32_t size) {
  // The directive is signed: sizes from 2 GiB on show as negative numbers.
  Report(buffer, "Cannot allocate %d bytes of memory for dynamic buffer", size);
  return DYNBUFFER_ERR_NO_MEMORY;
}

int32_t ReportBeyondLimit(const DYNBUFFER& buffer, uint32_t index) {
  Report(
      buffer,
      "Debugger accesses memory in dynamic buffer at offset 0x%.8X which is out of array bounds.",
      index);
  return DYNBUFFER_ERR_LIMIT;
}

void FillFrom(DYNBUFFER& buffer, uint32_t first) {
  if (buffer.fill >= 0) memset(buffer.data + first, buffer.fill, buffer.size - first);
}

// The size to grow to for an index below the limit; in 64 bits, for twice 2 GiB is 0 in 32.
uint32_t GrownSize(const DYNBUFFER& buffer, uint32_t index) {
  const uint64_t wanted = std::max(uint64_t{index} + 1, uint64_t{buffer.size} * 2);
  return static_cast<uint32_t>(std::min(wanted, uint64_t{buffer.limit}));
}

int32_t Grow(DYNBUFFER& buffer, uint32_t new_size) {
  auto* const data = static_cast<uint8_t*>(SYS_MEM_Alloc(new_size));
  if (data == nullptr) return ReportNoMemory(buffer, new_size);
  const uint32_t old_size = buffer.size;
  if (old_size != 0) memcpy(data, buffer.data, old_size);
  SYS_MEM_Free(buffer.data);
  buffer.data = data;
  buffer.size = new_size;
  FillFrom(buffer, old_size);
  return 0;
}

// Copies no more than the array has room for from the offset on.
void Store(DYNBUFFER& buffer, uint32_t offset, const void* data, uint32_t length) {
  if (offset >= buffer.size || length == 0) return;
  memcpy(buffer.data + offset, data, std::min(length, buffer.size - offset));
}

}  // namespace

int32_t DYNBUFFER_Init(DYNBUFFER* buffer, DYNBUFFER_ERROR_FUNC error_callback, uint32_t limit,
                       uint32_t initial_size, int32_t fill) {
  *buffer = {};
  buffer->error_callback = error_callback;
  buffer->data =
      static_cast<uint8_t*>(SYS_MEM_AllocNamed(initial_size, "DYNBUFFER: dynamic buffer"));
  if (buffer->data == nullptr) return ReportNoMemory(*buffer, initial_size);
  buffer->size = initial_size;
  buffer->fill = fill;
  buffer->limit = limit;
  FillFrom(*buffer, 0);
  return 0;
}

int32_t DYNBUFFER_Free(DYNBUFFER* buffer) {
  if (buffer->data == nullptr) return 0;
  SYS_MEM_Free(buffer->data);
  *buffer = {};
  return 0;
}

int32_t DYNBUFFER_Ensure(DYNBUFFER* buffer, uint32_t index) {
  if (buffer->size > index) return 0;
  if (index >= buffer->limit) return ReportBeyondLimit(*buffer, index);
  return Grow(*buffer, GrownSize(*buffer, index));
}

int32_t DYNBUFFER_Write(DYNBUFFER* buffer, uint32_t offset, const void* data, uint32_t length) {
  // Wraps on purpose: length 0 at offset 0 asks for an index that no buffer holds.
  const uint32_t last = offset + length - 1;
  const int32_t result = DYNBUFFER_Ensure(buffer, last);
  if (result != 0) return result;
  Store(*buffer, offset, data, length);
  buffer->highest = std::max(buffer->highest, last);
  buffer->written = 1;
  return 0;
}

int32_t DYNBUFFER_Append(DYNBUFFER* buffer, const void* data, uint32_t length) {
  const uint32_t offset = buffer->written != 0 ? buffer->highest + 1 : 0;
  return DYNBUFFER_Write(buffer, offset, data, length);
}
