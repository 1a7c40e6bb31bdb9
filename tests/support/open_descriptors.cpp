// SPDX-License-Identifier: MIT

#include "tests/support/open_descriptors.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>

namespace support {

std::vector<int> OpenDescriptors() {
  std::vector<int> descriptors;
  DIR* const folder = opendir("/dev/fd");
  if (folder == nullptr) abort();
  while (const dirent* const entry = readdir(folder)) {
    if (entry->d_name[0] == '.') continue;
    const int descriptor = atoi(entry->d_name);
    if (descriptor != dirfd(folder)) descriptors.push_back(descriptor);
  }
  closedir(folder);
  std::sort(descriptors.begin(), descriptors.end());
  return descriptors;
}

int DuplicateAtOrAbove(int descriptor, int lowest) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur <= static_cast<rlim_t>(lowest)) {
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, static_cast<rlim_t>(lowest) + 64);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) return -1;
  }
  return fcntl(descriptor, F_DUPFD_CLOEXEC, lowest);
}

}  // namespace support
