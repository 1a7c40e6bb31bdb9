// SPDX-License-Identifier: MIT

#include "fuzz/support/memory_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "sys/files.h"

namespace {

constexpr int32_t kHandle = 7;

std::string file;
size_t position = 0;

}  // namespace

extern "C" {

int32_t __wrap_SYS_FILE_Open(const char*, uint32_t flags) {
  if ((flags & SYS_FILE_FLAG_TRUNCATE) != 0) file.clear();
  position = 0;
  return kHandle;
}

int32_t __wrap_SYS_FILE_OpenRetry(const char* path, uint32_t flags, uint32_t, uint32_t) {
  return __wrap_SYS_FILE_Open(path, flags);
}

int32_t __wrap_SYS_FILE_GetSize(int32_t) { return static_cast<int32_t>(file.size()); }

void __wrap_SYS_FILE_Read(int32_t, void* buffer, uint32_t size) {
  position += file.copy(static_cast<char*>(buffer), size, position);
}

int32_t __wrap_SYS_FILE_Write(int32_t, const void* data, uint32_t size) {
  file.replace(position, size, static_cast<const char*>(data), size);
  position += size;
  return static_cast<int32_t>(size);
}

int32_t __wrap_SYS_FILE_Seek(int32_t, int32_t, int32_t) { return static_cast<int32_t>(position); }

void __wrap_SYS_FILE_Close(int32_t) {}

}  // extern "C"

void fuzz::memory_file::Put(std::string_view contents) { file = contents; }

std::string_view fuzz::memory_file::Contents() { return file; }
