// SPDX-License-Identifier: MIT

// The server of a terminal channel: one client after another on one simulated target.
#ifndef TARVEN_TOOLS_TERMINAL_SERVER_SERVER_H_
#define TARVEN_TOOLS_TERMINAL_SERVER_SERVER_H_

#include <csignal>
#include <cstdint>
#include <string_view>

#include "tools/terminal_server/options.h"
#include "tools/terminal_server/target.h"

namespace terminal_server {

class Server {
 public:
  // Serves until stop becomes non-zero, which a signal handler may do.
  Server(const Options& options, const volatile std::sig_atomic_t& stop);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Listens on 127.0.0.1; false when the port is taken.
  bool Listen();
  // The port it listens on, also where the system picked it.
  uint16_t port() const;

  void Run();

 private:
  void Serve(int32_t client);
  void Relay(int32_t client);
  bool Send(int32_t client, std::string_view bytes) const;
  void CloseInOrder(int32_t client) const;
  void SleepUnlessStopped(uint32_t milliseconds) const;

  const Options options_;
  const volatile std::sig_atomic_t& stop_;
  int32_t listener_ = -1;
  Target target_;
};

}  // namespace terminal_server

#endif
