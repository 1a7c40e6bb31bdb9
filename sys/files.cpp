// SPDX-License-Identifier: MIT

#include "sys/files.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "sys/calendar.h"
#include "sys/clock.h"
#include "sys/path_access.h"
#include "sys/paths.h"
#include "util/text.h"

namespace {

int AccessMode(uint32_t flags) {
  if ((flags & SYS_FILE_FLAG_WRITE) == 0) return O_RDONLY;
  return (flags & SYS_FILE_FLAG_READ) != 0 ? O_RDWR : O_WRONLY;
}

int SystemFlags(uint32_t flags) {
  int system_flags = AccessMode(flags) | O_CLOEXEC;
  const bool creates = (flags & SYS_FILE_FLAG_CREATE) != 0;
  if (creates) system_flags |= O_CREAT;
  if (creates && (flags & SYS_FILE_FLAG_EXCLUSIVE) != 0) return system_flags | O_EXCL;
  if ((flags & SYS_FILE_FLAG_TRUNCATE) != 0) system_flags |= O_TRUNC;
  return system_flags;
}

// Stores the home directory of the process's user as the user database has it. False when it has
// none.
bool LookUpHome(char* home, uint32_t capacity) {
  passwd entry{};
  passwd* found = nullptr;
  char texts[4096];
  getpwuid_r(getuid(), &entry, texts, sizeof texts, &found);
  if (found == nullptr || found->pw_dir == nullptr || found->pw_dir[0] == '\0') return false;
  UTIL_CopyString(home, found->pw_dir, capacity);
  return true;
}

bool StoreHome(char* home, uint32_t capacity) {
  const char* const variable = getenv("HOME");
  if (variable == nullptr) return LookUpHome(home, capacity);
  UTIL_CopyString(home, variable, capacity);
  return true;
}

// Puts the home directory in the place of the path's first character. False when there is none.
bool ExpandHome(const char* path, char (&expanded)[SYS_PATH_CAPACITY]) {
  if (!StoreHome(expanded, sizeof expanded)) return false;
  const size_t length = strlen(expanded);
  UTIL_CopyString(expanded + length, path + 1, static_cast<uint32_t>(sizeof expanded - length));
  return true;
}

off_t SizeOf(int32_t handle) {
  const off_t position = lseek(handle, 0, SEEK_CUR);
  const off_t size = lseek(handle, 0, SEEK_END);
  lseek(handle, position, SEEK_SET);
  return size;
}

// ---- Views in memory ----

uint64_t InPagePart(uint64_t offset) {
  return offset % static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

// A space becomes the last byte of the file. A view of a file that could not be extended would end
// the process at its first use.
bool ExtendTo(int32_t handle, uint64_t size) {
  if (lseek(handle, static_cast<off_t>(size - 1), SEEK_SET) < 0) return false;
  return write(handle, " ", 1) == 1;
}

}  // namespace

int32_t SYS_FILE_Open(const char* path, uint32_t flags) {
  if (path == nullptr) return -1;
  const int handle = open(path, SystemFlags(flags), 0644);
  if (handle >= 0 && (flags & SYS_FILE_FLAG_APPEND) != 0) lseek(handle, 0, SEEK_END);
  return handle;
}

int32_t SYS_FILE_OpenRetry(const char* path, uint32_t flags, uint32_t retry_count,
                           uint32_t delay_ms) {
  int32_t handle = SYS_FILE_Open(path, flags);
  for (uint32_t retry = 0; handle < 0 && retry < retry_count; ++retry) {
    if (delay_ms != 0) SYS_Sleep(delay_ms);
    handle = SYS_FILE_Open(path, flags);
  }
  return handle;
}

int32_t SYS_FILE_OpenEx(const char* path, uint32_t flags) {
  if (path == nullptr) return -1;
  char expanded[SYS_PATH_CAPACITY];
  if (path[0] == '~') {
    if (!ExpandHome(path, expanded)) return -1;
    path = expanded;
  }
  if ((flags & SYS_FILE_FLAG_CREATE) != 0 && !path_access::MakeFolder(path)) return -1;
  return SYS_FILE_Open(path, flags);
}

void SYS_FILE_Close(int32_t handle) { close(handle); }

void SYS_FILE_Read(int32_t handle, void* buffer, uint32_t size) {
  [[maybe_unused]] const ssize_t received = read(handle, buffer, size);
}

int32_t SYS_FILE_ReadLine(int32_t handle, char* buffer, uint32_t capacity) {
  if (capacity == 0) return 0;
  uint32_t length = 0;
  while (length < capacity - 1) {
    // The end of the file gives away a last line without a line feed, on purpose.
    if (read(handle, buffer + length, 1) < 1) return -1;
    const auto byte = static_cast<uint8_t>(buffer[length]);
    ++length;
    if (byte == '\n' || byte == 0xFF) break;
  }
  buffer[length] = '\0';
  return static_cast<int32_t>(length);
}

int32_t SYS_FILE_Write(int32_t handle, const void* data, uint32_t size) {
  return static_cast<int32_t>(write(handle, data, size));
}

int32_t SYS_FILE_Seek(int32_t handle, int32_t offset, int32_t origin) {
  constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  const int system_origin = origin >= 0 && origin <= 2 ? kOrigins[origin] : SEEK_SET;
  return static_cast<int32_t>(lseek(handle, offset, system_origin));
}

int32_t SYS_FILE_GetSize(int32_t handle) { return static_cast<int32_t>(SizeOf(handle)); }

int32_t SYS_FILE_Truncate(int32_t handle, int32_t length) { return ftruncate(handle, length); }

int32_t SYS_FILE_Delete(const char* path) {
  if (path != nullptr) unlink(path);
  return 0;
}

int32_t SYS_FILE_Exists(const char* path) { return path_access::CanBeRead(path) ? 1 : 0; }

int32_t SYS_FILE_IsReadOnly(const char* path) {
  constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
  if (path == nullptr) return 0;
  struct stat status {};
  if (stat(path, &status) != 0) return -1;
  return S_ISREG(status.st_mode) && (status.st_mode & kAnyWrite) == 0 ? 1 : 0;
}

int32_t SYS_FILE_GetTime(int32_t handle, SYS_TIME* access_time, SYS_TIME* modification_time) {
  struct stat status {};
  if (fstat(handle, &status) != 0) return -1;
  if (access_time != nullptr) *access_time = calendar::Local(status.st_atime);
  if (modification_time != nullptr) *modification_time = calendar::Local(status.st_mtime);
  return 0;
}

// The size is compared in full, so that a file of 2 GiB and more is not taken for a short one.
void* SYS_FILE_Map(int32_t handle, uint64_t offset, uint64_t length) {
  const uint64_t end = offset + length;
  if (end < offset) return nullptr;
  if (std::cmp_less(SizeOf(handle), end) && !ExtendTo(handle, end)) return nullptr;
  const uint64_t in_page_part = InPagePart(offset);
  void* const mapping = mmap(nullptr, length + in_page_part, PROT_READ | PROT_WRITE, MAP_SHARED,
                             handle, static_cast<off_t>(offset - in_page_part));
  return mapping != MAP_FAILED ? static_cast<uint8_t*>(mapping) + in_page_part : nullptr;
}

// The length is not increased by the in-page part, on purpose: a view that needs one page more for
// that part keeps its last page.
int32_t SYS_FILE_Unmap(void* address, uint64_t offset, uint64_t length) {
  if (address == nullptr) return -1;
  return munmap(static_cast<uint8_t*>(address) - InPagePart(offset), length);
}

// The system takes whole pages alone, from a page's start on.
int32_t SYS_FILE_FlushMap(void* address, uint64_t length) {
  const uint64_t in_page_part = InPagePart(reinterpret_cast<uintptr_t>(address));
  return msync(static_cast<uint8_t*>(address) - in_page_part, length + in_page_part,
               MS_SYNC | MS_INVALIDATE);
}

int32_t SYS_FILE_Reserved1(int32_t handle) { return handle; }

int32_t SYS_FILE_Reserved2() { return -1; }
