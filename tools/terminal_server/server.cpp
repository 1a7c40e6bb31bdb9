// SPDX-License-Identifier: MIT

#include "tools/terminal_server/server.h"

#include <algorithm>
#include <array>

#include "sys/clock.h"
#include "sys/socket_services.h"
#include "sys/sockets.h"

namespace terminal_server {

namespace {

constexpr uint32_t kLoopbackAddress = 0x7F000001;
constexpr int32_t kBacklog = 8;
// How late the server may notice a signal or the target's clock.
constexpr uint32_t kPollMs = 20;
// A client that takes nothing for so long is dropped.
constexpr uint32_t kPatienceMs = 2000;
// A client that goes on sending after the end is listened to for so long. The next one may be
// waiting for its welcome by then, and waits 50 ms for it.
constexpr uint32_t kFarewellMs = 20;
constexpr int32_t kSendSide = 1;

}  // namespace

Server::Server(const Options& options, const volatile std::sig_atomic_t& stop)
    : options_(options), stop_(stop), target_(SYS_GetTickCount(), options.echo) {}

Server::~Server() {
  if (listener_ >= 0) SYS_SOCKET_Close(listener_);
}

bool Server::Listen() {
  listener_ = SYS_SOCKET_Create();
  // A client may be gone between the wait and the accept; the accept then must not wait for
  // another.
  SYS_SOCKET_SetNonBlocking(listener_);
  return SYS_SOCKET_Listen(listener_, kLoopbackAddress, options_.port, kBacklog) == 0;
}

uint16_t Server::port() const {
  uint16_t port = 0;
  SYS_SOCKET_GetLocalPort(listener_, &port);
  return port;
}

void Server::Run() {
  while (!stop_) {
    const int32_t client = SYS_SOCKET_AcceptTimeout(listener_, kPollMs);
    if (client >= 0) {
      Serve(client);
      CloseInOrder(client);
    } else if (client != SYS_SOCKET_ERR_WOULDBLOCK) {
      SYS_Sleep(kPollMs);  // a signal, or no descriptor left: try again, but not in a tight loop
    }
  }
}

// Welcome and first prompt go out together: what a client takes for the welcome text, its first
// received bytes, is then the same each time.
void Server::Serve(int32_t client) {
  SYS_SOCKET_SetNonBlocking(client);
  SleepUnlessStopped(options_.welcome_delay_ms);
  if (options_.refusal) {
    Send(client, "ERROR: " + *options_.refusal);
    return;
  }
  const std::string prompt = target_.Attach();
  if (Send(client, options_.welcome.value_or(target_.Greeting()) + prompt)) Relay(client);
}

// Until the client or the target ends the connection.
void Server::Relay(int32_t client) {
  while (!stop_ && !target_.link_is_down()) {
    std::string output;
    if (SYS_SOCKET_IsReadable(client, kPollMs) == 1) {
      std::array<char, 1024> bytes;
      const int32_t received = SYS_SOCKET_Receive(client, bytes.data(), bytes.size());
      const bool is_passing =
          received == SYS_SOCKET_ERR_WOULDBLOCK || received == SYS_SOCKET_ERR_INTR;
      if (received <= 0 && !is_passing) return;
      const size_t count = is_passing ? 0 : static_cast<size_t>(received);
      output = target_.Receive({bytes.data(), count}, SYS_GetTickCount());
    }
    output += target_.Poll(SYS_GetTickCount());
    if (!Send(client, output)) return;
  }
}

// Sends all bytes; false when the client is gone or takes nothing any more.
bool Server::Send(int32_t client, std::string_view bytes) const {
  uint32_t last_progress_ms = SYS_GetTickCount();
  while (!bytes.empty()) {
    if (stop_ || SYS_GetTickCount() - last_progress_ms > kPatienceMs) return false;
    const int32_t sent = SYS_SOCKET_Send(client, bytes.data(), static_cast<uint32_t>(bytes.size()));
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<size_t>(sent));
      last_progress_ms = SYS_GetTickCount();
    } else if (sent == SYS_SOCKET_ERR_WOULDBLOCK) {
      SYS_SOCKET_IsWritable(client, kPollMs);
    } else {
      return false;
    }
  }
  return true;
}

// A close with received bytes left unread would reset the connection, and a reset may overtake what
// was sent last. So the client is told first, and gets a moment to stop sending.
void Server::CloseInOrder(int32_t client) const {
  SYS_SOCKET_Shutdown(client, kSendSide);
  const uint32_t start_ms = SYS_GetTickCount();
  while (!stop_ && SYS_GetTickCount() - start_ms < kFarewellMs &&
         SYS_SOCKET_IsReadable(client, kFarewellMs) == 1) {
    std::array<char, 1024> unwanted;
    if (SYS_SOCKET_Receive(client, unwanted.data(), unwanted.size()) <= 0) break;
  }
  SYS_SOCKET_Close(client);
}

void Server::SleepUnlessStopped(uint32_t milliseconds) const {
  while (!stop_ && milliseconds > 0) {
    const uint32_t step = std::min(milliseconds, kPollMs);
    SYS_Sleep(step);
    milliseconds -= step;
  }
}

}  // namespace terminal_server
