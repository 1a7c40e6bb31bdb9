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

}  // namespace

Server::Server(const Options& options, const volatile std::sig_atomic_t& stop)
    : options_(options), stop_(stop), target_(SYS_GetTickCount()) {}

Server::~Server() {
  if (listener_ >= 0) SYS_SOCKET_Close(listener_);
}

bool Server::Listen() {
  listener_ = SYS_SOCKET_Create();
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
      SYS_SOCKET_Close(client);
    } else if (client != SYS_SOCKET_ERR_WOULDBLOCK) {
      SYS_Sleep(kPollMs);  // a signal, or no descriptor left: try again, but not in a tight loop
    }
  }
}

void Server::Serve(int32_t client) {
  SYS_SOCKET_SetNonBlocking(client);
  SleepUnlessStopped(options_.welcome_delay_ms);
  if (options_.refusal) {
    Send(client, "ERROR: " + *options_.refusal + "\r\n");
  } else if (Send(client, options_.welcome)) {
    target_.Connect();
    Relay(client);
  }
}

// Until the client or the target ends the connection.
void Server::Relay(int32_t client) {
  while (!stop_ && Send(client, target_.TakeOutput()) && !target_.TakeReboot()) {
    if (SYS_SOCKET_IsReadable(client, kPollMs) == 1) {
      std::array<char, 4096> bytes;
      const int32_t received = SYS_SOCKET_Receive(client, bytes.data(), bytes.size());
      if (received <= 0) return;
      target_.Receive({bytes.data(), static_cast<size_t>(received)}, SYS_GetTickCount());
    }
    target_.Tick(SYS_GetTickCount());
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

void Server::SleepUnlessStopped(uint32_t milliseconds) const {
  while (!stop_ && milliseconds > 0) {
    const uint32_t step = std::min(milliseconds, kPollMs);
    SYS_Sleep(step);
    milliseconds -= step;
  }
}

}  // namespace terminal_server
