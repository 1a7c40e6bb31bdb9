// SPDX-License-Identifier: MIT

#include "probe/probelib.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>
#include <cstddef>

#include "sys/platform/platform.h"

void* PROBELIB_hLib = nullptr;

namespace {

constexpr char kFileName[] = "libmboltarm.dylib";
constexpr size_t kPathSize = 512;
constexpr size_t kExecutablePathSize = 4096;

// ---- One file ----

bool IsOpen() { return std::atomic_ref(PROBELIB_hLib).load(std::memory_order_acquire) != nullptr; }

bool TryFile(const char* path) {
  void* const handle = dlopen(path, RTLD_LAZY);
  if (handle == nullptr) {
    return false;
  }
  std::atomic_ref(PROBELIB_hLib).store(handle, std::memory_order_release);
  return true;
}

// ---- Folders ----

// Shortens a path to its folder and the separator behind it. The first character is never taken
// for a separator, and a path without one stays whole: it then serves as the prefix as it is.
void CutToFolder(char* path) {
  for (size_t i = strlen(path); i > 1; --i) {
    if (path[i - 1] == '/' || path[i - 1] == '\\') {
      path[i] = '\0';
      return;
    }
  }
}

// A name that is cut here is tried all the same, and is not there.
bool TryFolder(const char* folder) {
  char path[kPathSize];
  for (const char* way : {"", "../../../"}) {
    snprintf(path, sizeof path, "%s%s%s", folder, way, kFileName);
    if (TryFile(path)) {
      return true;
    }
  }
  return false;
}

// ---- Where to look ----

bool TryModuleFolder() {
  Dl_info module;
  char folder[kPathSize];
  if (dladdr(reinterpret_cast<void*>(PROBELIB_Anchor), &module) == 0 ||
      module.dli_fname == nullptr) {
    return false;
  }
  const size_t length = strlen(module.dli_fname);
  if (length == 0 || length >= sizeof folder) {
    return false;
  }
  memcpy(folder, module.dli_fname, length + 1);
  CutToFolder(folder);
  return TryFolder(folder);
}

bool TryExecutableFolder() {
  char path[kExecutablePathSize];
  if (platform::ExecutablePath(path, sizeof path) == 0) {
    return false;
  }
  path[kPathSize - 1] = '\0';
  CutToFolder(path);
  return TryFolder(path);
}

bool TryInstallationFolder() {
  return TryFile("/Applications/TARVEN/MBolt/libmboltarm.dylib") ||
         TryFile("/Applications/TARVEN/MBolt/libmboltarm.5.dylib");
}

}  // namespace

// ---- Interface ----

uint8_t PROBELIB_Load(int32_t exit_on_failure) {
  if (IsOpen() || TryModuleFolder() || TryExecutableFolder() || TryInstallationFolder()) {
    return 0;
  }
  if (exit_on_failure != 0) {
    puts("Could not open M-Bolt shared library. Exiting now.");
    exit(1);
  }
  puts("Could not open M-Bolt shared library.");
  return 1;
}

int32_t PROBELIB_Open() { return PROBELIB_Load(0) == 0 ? 0 : -1; }

void PROBELIB_Anchor() {}
