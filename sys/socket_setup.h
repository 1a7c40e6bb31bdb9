// Options that both socket families set the same way, for the sources of this folder. What the
// system answers is not looked at unless it is returned.
#ifndef TARVEN_SYS_SOCKET_SETUP_H_
#define TARVEN_SYS_SOCKET_SETUP_H_

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdint>

#include "sys/platform/platform.h"

namespace socket_setup {

// What every stream socket gets: single key strokes go out at once, and a lost peer raises no
// signal.
inline void ForKeyStrokes(int32_t handle) {
  const int on = 1;
  setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  platform::DisableBrokenPipeSignal(handle);
}

inline int32_t SetBlocking(int32_t handle, bool is_blocking) {
  int non_blocking = is_blocking ? 0 : 1;
  return ioctl(handle, FIONBIO, &non_blocking);
}

}  // namespace socket_setup

#endif
