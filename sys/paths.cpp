// SPDX-License-Identifier: MIT

#include "sys/paths.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "sys/memory.h"
#include "sys/path_access.h"
#include "sys/platform/platform.h"
#include "util/format.h"
#include "util/text.h"

namespace {

// ---- Paths as text ----

struct Parts {
  std::string_view directory;
  std::string_view name;
  std::string_view extension;
};

Parts Split(const char* path) {
  const char* const end = path + strlen(path);
  const char* const slash = strrchr(path, '/');
  const char* const last = slash != nullptr ? slash + 1 : path;
  const char* dot = strrchr(last, '.');
  if (dot == nullptr || dot == last) dot = end;
  // A path without a slash keeps its extension in the name, on purpose.
  if (slash == nullptr) return {{path, path}, {path, end}, {dot, end}};
  return {{path, slash}, {last, dot}, {dot, end}};
}

// Capacities below that of a path are not believed, on purpose: every output holds a path.
void StorePart(std::string_view part, char* output, uint32_t capacity) {
  if (output == nullptr) return;
  const size_t room = std::max<size_t>(capacity, SYS_PATH_CAPACITY);
  const size_t length = std::min(part.size(), room - 1);
  memcpy(output, part.data(), length);
  output[length] = '\0';
}

// Null is nothing to append; what does not fit is cut.
void Append(char* text, const char* more, size_t capacity) {
  const size_t length = strlen(text);
  UTIL_CopyString(text + length, more, static_cast<uint32_t>(capacity - length));
}

bool EndsInSlash(const char* text) {
  const size_t length = strlen(text);
  return length > 0 && text[length - 1] == '/';
}

void AppendSlash(char* text, size_t capacity) {
  if (text[0] != '\0' && !EndsInSlash(text)) Append(text, "/", capacity);
}

// Leaves the directory part of a path, with a slash behind it. The directory part of "/x" is empty
// and stays so: the folder "/" is lost, on purpose.
void CutToFolder(char* path, size_t capacity) {
  char* const slash = strrchr(path, '/');
  *(slash != nullptr ? slash : path) = '\0';
  AppendSlash(path, capacity);
}

// A text of exactly capacity characters counts as fitting, on purpose: its terminator stands behind
// the capacity.
void StoreIfItFits(const char* text, char* output, uint32_t capacity) {
  if (output == nullptr) return;
  const size_t length = strlen(text);
  if (length <= capacity) {
    memcpy(output, text, length + 1);
  } else {
    output[0] = '\0';
  }
}

// Of something that is there, only its folder.
size_t LengthOfBase(const char* base) {
  if (!path_access::CanBeRead(base)) return strlen(base);
  const char* const slash = strrchr(base, '/');
  return slash != nullptr ? static_cast<size_t>(slash + 1 - base) : 0;
}

// ---- Folders ----

constexpr int32_t kDeepestNesting = 128;

// How many calls of SYS_CreateDirRecursive are under way, of all threads. No lock guards it on
// purpose: with several threads the limit comes early.
std::atomic<int32_t> nesting = 0;

int32_t MakeDirectory(const char* path) {
  struct stat status {};
  if (stat(path, &status) == 0) return S_ISDIR(status.st_mode) ? 0 : -1;
  if (errno != ENOENT || !path_access::MakeFolder(path)) return -1;
  return mkdir(path, 0777);
}

// The descriptor of the unique file stays open for the life of the process, on purpose.
bool CanMakeFilesIn(const char* folder) {
  char path[1024 + sizeof "/TARVENXXXXXX"];
  UTIL_snprintf(path, sizeof path, "%s/TARVENXXXXXX", folder);
  [[maybe_unused]] const int kept_open = mkostemp(path, O_CLOEXEC);
  const int descriptor = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (descriptor < 0) return false;
  close(descriptor);
  unlink(path);
  return true;
}

// ---- The program ----

constexpr size_t kModulePathCapacity = 2048;
using ModulePath = char[kModulePathCapacity];

// Links that lead in a circle are left after so many.
constexpr int kMostLinks = 128;

// Stores where a symbolic link leads, as it says itself. For anything else false, and target stays.
bool ReadLink(const char* path, ModulePath& target) {
  const ssize_t length = readlink(path, target, sizeof target - 1);
  if (length < 0) return false;
  target[length] = '\0';
  return true;
}

void FollowLinks(ModulePath& path) {
  ModulePath target;
  for (int i = 0; i < kMostLinks && ReadLink(path, target); ++i) {
    if (target[0] == '/') {
      path[0] = '\0';
    } else {
      CutToFolder(path, sizeof path);
    }
    Append(path, target, sizeof path);
  }
}

// A name that stands for no link stays as it is.
void LookUpInstalled(ModulePath& name) {
  ModulePath link;
  UTIL_snprintf(link, sizeof link, "/usr/local/bin/%s", name);
  ReadLink(link, name);
}

}  // namespace

bool path_access::CanBeRead(const char* path) {
  if (path == nullptr) return false;
  const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  close(descriptor);
  return true;
}

bool path_access::MakeFolder(const char* path) {
  char directory[SYS_PATH_CAPACITY] = "";
  char name[SYS_PATH_CAPACITY] = "";
  SYS_SplitPath(path, nullptr, 0, directory, sizeof directory, name, sizeof name, nullptr, 0);
  if (directory[0] == '\0') return name[0] != '\0';
  return SYS_CreateDirRecursive(directory) == 0;
}

// The parts come from a copy, so that an output may lie on the path.
void SYS_SplitPath(const char* path, char* drive, uint32_t drive_capacity, char* directory,
                   uint32_t directory_capacity, char* name, uint32_t name_capacity, char* extension,
                   uint32_t extension_capacity) {
  if (path == nullptr) return;
  const auto size = static_cast<uint32_t>(strlen(path) + 1);
  char* const copy = static_cast<char*>(SYS_MEM_Alloc(size));
  if (copy == nullptr) return;
  memcpy(copy, path, size);
  const Parts parts = Split(copy);
  StorePart("", drive, drive_capacity);
  StorePart(parts.directory, directory, directory_capacity);
  StorePart(parts.name, name, name_capacity);
  StorePart(parts.extension, extension, extension_capacity);
  SYS_MEM_Free(copy);
}

void SYS_MakePath(char* output, const char*, const char* directory, const char* name,
                  const char* extension) {
  if (output == nullptr) return;
  output[0] = '\0';
  Append(output, directory, SYS_PATH_CAPACITY);
  AppendSlash(output, SYS_PATH_CAPACITY);
  if (name == nullptr) return;
  Append(output, name, SYS_PATH_CAPACITY);
  if (extension == nullptr) return;
  Append(output, ".", SYS_PATH_CAPACITY);
  Append(output, extension, SYS_PATH_CAPACITY);
}

void SYS_JoinPath(const char* base, const char* relative, char* output, uint32_t capacity) {
  if (output == nullptr || capacity == 0) return;
  memset(output, 0, capacity);
  if (base == nullptr || relative == nullptr) return;
  size_t length = 0;
  if (relative[0] != '\0' && relative[0] != '/') {
    length = std::min<size_t>(LengthOfBase(base), capacity - 1);
    memcpy(output, base, length);
  }
  Append(output, relative, capacity);
}

void SYS_GetFileExt(const char* path, char* output, uint32_t capacity) {
  char extension[SYS_PATH_CAPACITY] = "";
  SYS_SplitPath(path, nullptr, 0, nullptr, 0, nullptr, 0, extension, sizeof extension);
  StoreIfItFits(extension, output, capacity);
}

void SYS_GetFileName(const char* path, char* output, uint32_t capacity) {
  char name[SYS_PATH_CAPACITY] = "";
  SYS_SplitPath(path, nullptr, 0, nullptr, 0, name, sizeof name, nullptr, 0);
  StoreIfItFits(name, output, capacity);
}

int32_t SYS_DirOfPathExists(const char* path) {
  char directory[SYS_PATH_CAPACITY] = "";
  SYS_SplitPath(path, nullptr, 0, directory, sizeof directory, nullptr, 0, nullptr, 0);
  if (EndsInSlash(directory)) directory[strlen(directory) - 1] = '\0';
  return path_access::CanBeRead(directory) ? 1 : 0;
}

int32_t SYS_CreateDirRecursive(const char* path) {
  const int32_t outer_calls = nesting.fetch_add(1, std::memory_order_relaxed);
  const bool is_allowed = path != nullptr && outer_calls < kDeepestNesting;
  const int32_t result = is_allowed ? MakeDirectory(path) : -1;
  nesting.fetch_sub(1, std::memory_order_relaxed);
  return result;
}

int32_t SYS_GetAppSupportDir(char* output, uint32_t capacity) {
  const char* const home = getenv("HOME");
  if (output == nullptr || capacity == 0 || home == nullptr) return -1;
  // A small capacity cuts the folder that is made as well, not the text alone.
  char path[SYS_PATH_CAPACITY];
  const uint32_t size = std::min<uint32_t>(capacity, sizeof path);
  UTIL_snprintf(path, static_cast<int32_t>(size), "%s/Library/Application Support/TARVEN", home);
  if (SYS_CreateDirRecursive(path) != 0) return -1;
  UTIL_CopyString(output, path, size);
  return 0;
}

void SYS_GetTempDir(char* output, uint32_t capacity) {
  if (output == nullptr || capacity == 0) return;
  char folder[1024];
  SYS_GetModuleDir(folder);
  const char* const home = getenv("HOME");
  if (!CanMakeFilesIn(folder) && home != nullptr) {
    UTIL_snprintf(folder, sizeof folder, "%s/.TARVEN", home);
    mkdir(folder, 0775);
  }
  UTIL_CopyString(output, folder, capacity);
  output[capacity - 1] = '\0';
}

void SYS_GetModulePath(char* output, uint32_t capacity) {
  if (output == nullptr || capacity == 0) return;
  output[0] = '\0';
  Dl_info module{};
  if (dladdr(reinterpret_cast<const void*>(&SYS_GetModulePath), &module) == 0) return;
  ModulePath path = "";
  UTIL_CopyString(path, module.dli_fname, sizeof path);
  if (strchr(path, '/') == nullptr) LookUpInstalled(path);
  FollowLinks(path);
  UTIL_CopyString(output, path, capacity);
}

void SYS_GetModuleDir(char* output) {
  if (output == nullptr) return;
  SYS_GetModulePath(output, SYS_PATH_CAPACITY);
  CutToFolder(output, SYS_PATH_CAPACITY);
}

void SYS_GetExePath(char* output, uint32_t capacity) {
  if (output == nullptr || capacity == 0) return;
  char path[4096];
  const size_t length = platform::ExecutablePath(path, sizeof path);
  const bool fits = length != 0 && length < capacity;
  UTIL_CopyString(output, fits ? path : "", capacity);
}

void SYS_GetExeDir(char* output) {
  if (output == nullptr) return;
  SYS_GetExePath(output, SYS_PATH_CAPACITY);
  CutToFolder(output, SYS_PATH_CAPACITY);
}
