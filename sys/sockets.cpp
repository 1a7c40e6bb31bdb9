#include "sys/sockets.h"

#include <unistd.h>

#include <cerrno>

#include "sys/clock.h"
#include "sys/descriptor_wait.h"
#include "sys/platform/platform.h"
#include "sys/socket_address.h"
#include "sys/socket_setup.h"

namespace {

using socket_address::SystemAddress;

// A pass of the timed connect waits that long, and one that failed at once takes about as long.
constexpr timeval kPassTime{.tv_sec = 0, .tv_usec = 10'000};
constexpr uint64_t kShortestPassUs = 9000;

// Owns a descriptor until somebody releases it.
class SocketGuard {
 public:
  SocketGuard() = default;
  ~SocketGuard() { Reset(-1); }
  SocketGuard(const SocketGuard&) = delete;
  SocketGuard& operator=(const SocketGuard&) = delete;

  bool is_open() const { return handle_ >= 0; }
  int32_t get() const { return handle_; }
  int32_t Release() {
    const int32_t handle = handle_;
    handle_ = -1;
    return handle;
  }
  void Reset(int32_t handle) {
    if (is_open()) close(handle_);
    handle_ = handle;
  }

 private:
  int32_t handle_ = -1;
};

int32_t CreateStream(int family) {
  const int32_t handle = socket(family, SOCK_STREAM, 0);
  if (handle >= 0) socket_setup::ForKeyStrokes(handle);
  return handle;
}

// With the flag set, IPv4 peers are let in as mapped addresses.
int32_t WithDualStack(int32_t handle, uint8_t dual_stack) {
  const int off = 0;
  if (handle >= 0 && dual_stack != 0) {
    setsockopt(handle, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
  }
  return handle;
}

// A socket that connects to its own port on loopback can be accepted by itself.
bool IsConnectedToItself(int32_t handle) {
  SystemAddress<sockaddr_in> local;
  SystemAddress<sockaddr_in> peer;
  return getsockname(handle, local.get(), &local.length) == 0 &&
         getpeername(handle, peer.get(), &peer.length) == 0 &&
         local.record.sin_port == peer.record.sin_port &&
         local.record.sin_addr.s_addr == peer.record.sin_addr.s_addr;
}

// Starts a connect that does not wait; its result shows later. False when there is no socket.
bool StartAttempt(SocketGuard& socket, SystemAddress<sockaddr_in>& to) {
  socket.Reset(CreateStream(AF_INET));
  if (!socket.is_open()) return false;
  socket_setup::SetBlocking(socket.get(), false);
  static_cast<void>(connect(socket.get(), to.get(), to.length));
  return true;
}

// The test of a connection is to send nothing: a refused one fails then. The socket's pending error
// is not asked for.
bool Stands(int32_t handle) {
  socket_setup::SetBlocking(handle, true);
  return platform::Send(handle, "", 0) >= 0 && !IsConnectedToItself(handle);
}

// Waits out what is left of a pass, so that a refusing port is not tried in a tight loop.
void FinishPass(uint64_t pass_start_us) {
  const uint64_t elapsed_us = SYS_GetTickCountUs() - pass_start_us;
  if (elapsed_us <= kShortestPassUs) {
    SYS_Sleep(static_cast<uint32_t>((kShortestPassUs + 1 - elapsed_us) / 1000));
  }
}

// ECONNRESET is not in this table on purpose: a reset gives -1 like any other loss, and -4 means
// ENETRESET alone.
struct ReceiveResult {
  int error;
  int32_t result;
};
constexpr ReceiveResult kReceiveResults[] = {
    {ETIMEDOUT, SYS_SOCKET_ERR_TIMEOUT},
    {ENETRESET, SYS_SOCKET_ERR_RESET},
    {EINTR, SYS_SOCKET_ERR_INTR},
    {EAGAIN, SYS_SOCKET_ERR_WOULDBLOCK},
};

int32_t ReceiveResultOf(int error) {
  for (const ReceiveResult& row : kReceiveResults) {
    if (row.error == error) return row.result;
  }
  return SYS_SOCKET_ERR_GENERIC;
}

}  // namespace

int32_t SYS_SOCKET_CreateUDP() { return socket(AF_INET, SOCK_DGRAM, 0); }

int32_t SYS_SOCKET_CreateUDP6(uint8_t dual_stack) {
  return WithDualStack(socket(AF_INET6, SOCK_DGRAM, 0), dual_stack);
}

int32_t SYS_SOCKET_Create() { return CreateStream(AF_INET); }

int32_t SYS_SOCKET_Create6(uint8_t dual_stack) {
  return WithDualStack(CreateStream(AF_INET6), dual_stack);
}

int32_t SYS_SOCKET_Connect(int32_t handle, uint32_t address, uint16_t port) {
  auto to = socket_address::From(address, port);
  return connect(handle, to.get(), to.length);
}

int32_t SYS_SOCKET_Connect6(int32_t handle, SYS_SOCKET_IP6_ADDR address, uint16_t port) {
  auto to = socket_address::From(address, port);
  return connect(handle, to.get(), to.length);
}

int32_t SYS_SOCKET_ConnectTimeout(uint32_t address, uint16_t port, int32_t timeout_ms,
                                  SYS_SOCKET_ABORT_FUNC should_abort) {
  const uint32_t start_ms = SYS_GetTickCount();
  auto to = socket_address::From(address, port);
  SocketGuard socket;
  do {
    if (!socket.is_open() && !StartAttempt(socket, to)) return SYS_SOCKET_ERR_GENERIC;
    const uint64_t pass_start_us = SYS_GetTickCountUs();
    // Any other answer than 1 leaves the attempt to the next pass.
    if (descriptor_wait::ForWriting(socket.get(), kPassTime) == 1) {
      if (Stands(socket.get())) return socket.Release();
      socket.Reset(-1);
      FinishPass(pass_start_us);
    }
    if (should_abort != nullptr && should_abort() != 0) return SYS_SOCKET_ERR_TIMEOUT;
  } while (static_cast<int32_t>(SYS_GetTickCount() - start_ms) <= timeout_ms);
  return SYS_SOCKET_ERR_WOULDBLOCK;
}

int32_t SYS_SOCKET_IsReadable(int32_t handle, int32_t timeout_ms) {
  return descriptor_wait::ForReading(handle, descriptor_wait::FromMilliseconds(timeout_ms));
}

int32_t SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length) {
  const auto sent = static_cast<int32_t>(platform::Send(handle, data, length));
  if (sent >= 0) return sent;
  return errno == EAGAIN ? SYS_SOCKET_ERR_WOULDBLOCK : SYS_SOCKET_ERR_GENERIC;
}

int32_t SYS_SOCKET_Receive(int32_t handle, void* buffer, uint32_t capacity) {
  const auto received = static_cast<int32_t>(recv(handle, buffer, capacity, 0));
  return received >= 0 ? received : ReceiveResultOf(errno);
}

int32_t SYS_SOCKET_ReceiveAll(int32_t handle, void* buffer, int32_t length) {
  if (length < 0) return SYS_SOCKET_ERR_GENERIC;
  auto* next = static_cast<uint8_t*>(buffer);
  for (int32_t missing = length; missing > 0;) {
    const auto received =
        static_cast<int32_t>(recv(handle, next, static_cast<uint32_t>(missing), 0));
    if (received <= 0) return SYS_SOCKET_ERR_GENERIC;
    next += received;
    missing -= received;
  }
  return length;
}

void SYS_SOCKET_Shutdown(int32_t handle, int32_t direction) {
  constexpr int kDirections[] = {SHUT_RD, SHUT_WR, SHUT_RDWR};
  if (direction >= 0 && direction <= 2) shutdown(handle, kDirections[direction]);
}

void SYS_SOCKET_Close(int32_t handle) { close(handle); }
