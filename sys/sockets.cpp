// SPDX-License-Identifier: MIT

#include "sys/sockets.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "sys/clock.h"
#include "sys/descriptor_wait.h"
#include "sys/platform/platform.h"
#include "sys/socket_address.h"
#include "sys/socket_option.h"

namespace {

using socket_address::AddressOf;
using socket_address::Generic;
using socket_address::PortOf;
using socket_address::ToRecord;

// ---- Creation ----

int32_t CreateStream(int family) {
  const int handle = platform::OpenSocket(family, SOCK_STREAM);
  if (handle >= 0) socket_option::SetStreamDefaults(handle);
  return handle;
}

// Without the flag the system's default stands, which the machine's owner may have changed.
void AdmitIpv4Peers(int32_t handle, uint8_t dual_stack) {
  if (handle >= 0 && dual_stack != 0) socket_option::Set(handle, IPPROTO_IPV6, IPV6_V6ONLY, 0);
}

// ---- Timed connect ----

constexpr timeval kPassTime{.tv_sec = 0, .tv_usec = 10'000};

// Closes its socket unless somebody has taken it out.
class OwnedSocket {
 public:
  OwnedSocket() = default;
  ~OwnedSocket() { Close(); }
  OwnedSocket(const OwnedSocket&) = delete;
  OwnedSocket& operator=(const OwnedSocket&) = delete;

  int32_t get() const { return handle_; }
  bool is_open() const { return handle_ >= 0; }
  void Open(int32_t handle) { handle_ = handle; }
  int32_t Release() { return std::exchange(handle_, -1); }
  void Close() {
    if (is_open()) close(Release());
  }

 private:
  int32_t handle_ = -1;
};

// Starts a connection on a new non-blocking socket and returns the socket; -1 when there is none.
int32_t StartAttempt(const sockaddr_in& target) {
  const int32_t handle = CreateStream(AF_INET);
  if (handle < 0) return -1;
  socket_option::SetMode(handle, socket_option::Mode::kNonBlocking);
  // Normally it says that it is in progress; the result shows later in any case.
  static_cast<void>(connect(handle, Generic(target), sizeof target));
  return handle;
}

// A decided attempt either takes zero bytes or has failed. The pending error (SO_ERROR) is not
// read, on purpose: this send is the test.
bool IsConnected(int32_t handle) {
  socket_option::SetMode(handle, socket_option::Mode::kBlocking);
  return platform::Send(handle, "", 0) >= 0;
}

// True when the system picked the wanted port as the source port too, so that the socket met its
// own connection request. Another source port, as nearly always, spares the second question.
bool IsConnectedToItself(int32_t handle, uint16_t port) {
  sockaddr_in local{};
  sockaddr_in peer{};
  socklen_t local_length = sizeof local;
  socklen_t peer_length = sizeof peer;
  if (getsockname(handle, Generic(local), &local_length) != 0) return false;
  if (PortOf(local) != port) return false;
  if (getpeername(handle, Generic(peer), &peer_length) != 0) return false;
  return AddressOf(local) == AddressOf(peer);
}

// Tells whether a decided attempt found a listener.
bool HasFoundListener(int32_t handle, const sockaddr_in& target) {
  if (!IsConnected(handle)) return false;
  if (!IsConnectedToItself(handle, PortOf(target))) return true;
  // An orderly end would hold the port for a while and keep the late listener from binding it.
  platform::SetLinger(handle, true, 0);
  return false;
}

// Makes a pass with a refused attempt last about 10 ms.
void SleepRestOfPass(uint64_t elapsed_us) {
  constexpr uint64_t kLongestWithSleepUs = 9000;
  if (elapsed_us > kLongestWithSleepUs) return;
  SYS_Sleep(static_cast<uint32_t>((kLongestWithSleepUs + 1 - elapsed_us) / 1000));
}

// Gives an attempt one pass and tells whether it found a listener. A refused attempt is closed; one
// that is not decided stays open for the next pass.
bool WaitOnePass(OwnedSocket& attempt, const sockaddr_in& target) {
  const uint64_t start_us = SYS_GetTickCountUs();
  if (descriptor_wait::ForWritingOnOpen(attempt.get(), kPassTime) != 1) return false;
  if (HasFoundListener(attempt.get(), target)) return true;
  attempt.Close();
  SleepRestOfPass(SYS_GetTickCountUs() - start_us);
  return false;
}

// Signed and strictly greater on purpose: a negative limit has passed at once.
bool HasPassed(uint32_t start_ms, int32_t limit_ms) {
  return static_cast<int32_t>(SYS_GetTickCount() - start_ms) > limit_ms;
}

// ---- Receiving ----

struct ReceiveResult {
  int error;
  int32_t result;
};

// ECONNRESET is not in this table on purpose: a reset gives -1 like any other loss, and -4 means
// ENETRESET alone.
constexpr ReceiveResult kReceiveResults[] = {
    {ETIMEDOUT, SYS_SOCKET_ERR_TIMEOUT},
    {ENETRESET, SYS_SOCKET_ERR_RESET},
    {EINTR, SYS_SOCKET_ERR_INTR},
    {EAGAIN, SYS_SOCKET_ERR_WOULDBLOCK},
};

int32_t ReceiveResultOf(int error) {
  const auto* const row = std::ranges::find(kReceiveResults, error, &ReceiveResult::error);
  return row != std::ranges::end(kReceiveResults) ? row->result : SYS_SOCKET_ERR_GENERIC;
}

}  // namespace

int32_t SYS_SOCKET_CreateUDP() { return platform::OpenSocket(AF_INET, SOCK_DGRAM); }

int32_t SYS_SOCKET_CreateUDP6(uint8_t dual_stack) {
  const int32_t handle = platform::OpenSocket(AF_INET6, SOCK_DGRAM);
  AdmitIpv4Peers(handle, dual_stack);
  return handle;
}

int32_t SYS_SOCKET_Create() { return CreateStream(AF_INET); }

int32_t SYS_SOCKET_Create6(uint8_t dual_stack) {
  const int32_t handle = CreateStream(AF_INET6);
  AdmitIpv4Peers(handle, dual_stack);
  return handle;
}

int32_t SYS_SOCKET_Connect(int32_t handle, uint32_t address, uint16_t port) {
  const sockaddr_in target = ToRecord(address, port);
  return connect(handle, Generic(target), sizeof target);
}

int32_t SYS_SOCKET_Connect6(int32_t handle, SYS_SOCKET_IP6_ADDR address, uint16_t port) {
  const sockaddr_in6 target = ToRecord(address, port);
  return connect(handle, Generic(target), sizeof target);
}

int32_t SYS_SOCKET_ConnectTimeout(uint32_t address, uint16_t port, int32_t timeout_ms,
                                  SYS_SOCKET_ABORT_FUNC should_abort) {
  const uint32_t start_ms = SYS_GetTickCount();
  const sockaddr_in target = ToRecord(address, port);
  OwnedSocket attempt;
  for (;;) {
    if (!attempt.is_open()) attempt.Open(StartAttempt(target));
    if (!attempt.is_open()) return SYS_SOCKET_ERR_GENERIC;
    if (WaitOnePass(attempt, target)) return attempt.Release();
    if (should_abort != nullptr && should_abort() != 0) return SYS_SOCKET_ERR_TIMEOUT;
    if (HasPassed(start_ms, timeout_ms)) return SYS_SOCKET_ERR_WOULDBLOCK;
  }
}

int32_t SYS_SOCKET_IsReadable(int32_t handle, int32_t timeout_ms) {
  return descriptor_wait::ForReading(handle, descriptor_wait::FromMilliseconds(timeout_ms));
}

int32_t SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length) {
  const ssize_t sent = platform::Send(handle, data, length);
  if (sent >= 0) return static_cast<int32_t>(sent);
  return errno == EAGAIN ? SYS_SOCKET_ERR_WOULDBLOCK : SYS_SOCKET_ERR_GENERIC;
}

int32_t SYS_SOCKET_Receive(int32_t handle, void* buffer, uint32_t capacity) {
  const ssize_t received = recv(handle, buffer, capacity, 0);
  return received >= 0 ? static_cast<int32_t>(received) : ReceiveResultOf(errno);
}

int32_t SYS_SOCKET_ReceiveAll(int32_t handle, void* buffer, int32_t length) {
  if (length < 0) return SYS_SOCKET_ERR_GENERIC;
  auto* next = static_cast<uint8_t*>(buffer);
  for (auto missing = static_cast<size_t>(length); missing > 0;) {
    const ssize_t received = recv(handle, next, missing, 0);
    if (received <= 0) return SYS_SOCKET_ERR_GENERIC;
    next += received;
    missing -= static_cast<size_t>(received);
  }
  return length;
}

void SYS_SOCKET_Shutdown(int32_t handle, int32_t direction) {
  static_assert(SHUT_RD == 0 && SHUT_WR == 1 && SHUT_RDWR == 2);
  if (direction < 0 || direction > 2) return;
  shutdown(handle, direction);
}

void SYS_SOCKET_Close(int32_t handle) { close(handle); }
