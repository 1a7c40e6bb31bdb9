// SPDX-License-Identifier: MIT

// Options and modes that more than one socket source sets. All give the system's result, 0 or -1.
#ifndef TARVEN_SYS_SOCKET_OPTION_H_
#define TARVEN_SYS_SOCKET_OPTION_H_

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdint>

#include "sys/platform/platform.h"

namespace socket_option {

inline int32_t Set(int32_t handle, int level, int name, int value) {
  return setsockopt(handle, level, name, &value, sizeof value);
}

// What every stream socket gets, created or accepted: single key strokes go out at once, and a
// peer that has closed raises no signal. Results are not looked at.
inline void SetStreamDefaults(int32_t handle) {
  Set(handle, IPPROTO_TCP, TCP_NODELAY, 1);
  platform::DisableBrokenPipeSignal(handle);
}

enum class Mode : int { kBlocking = 0, kNonBlocking = 1 };

inline int32_t SetMode(int32_t handle, Mode mode) {
  int value = static_cast<int>(mode);
  return ioctl(handle, FIONBIO, &value);
}

}  // namespace socket_option

#endif
