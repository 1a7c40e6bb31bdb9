// SPDX-License-Identifier: MIT

// The real terminal server in a process of its own, and plain connections to it.
#ifndef TARVEN_TESTS_TOOLS_SERVER_RUN_H_
#define TARVEN_TESTS_TOOLS_SERVER_RUN_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/stream_reader.h"

namespace server_test {

// A run of vqx-terminal-server with its standard output and error in pipes.
class ServerRun {
 public:
  explicit ServerRun(const std::vector<std::string>& arguments,
                     const support::ChildOptions& options = {});
  ~ServerRun();
  ServerRun(const ServerRun&) = delete;
  ServerRun& operator=(const ServerRun&) = delete;

  support::ChildProcess& process() { return *process_; }
  support::StreamReader& output() { return *output_; }
  support::StreamReader& error() { return *error_; }

  // Waits until the server says where it listens; 0 when it ends without.
  uint16_t Port();

 private:
  int output_pipe_;
  int error_pipe_;
  std::unique_ptr<support::ChildProcess> process_;
  std::unique_ptr<support::StreamReader> output_;
  std::unique_ptr<support::StreamReader> error_;
};

// A connection to 127.0.0.1, closed with the object.
class Connection {
 public:
  // A receive buffer size other than 0 keeps the window small.
  explicit Connection(uint16_t port, int receive_buffer_size = 0);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  int descriptor() const { return descriptor_; }
  support::StreamReader& reader() { return reader_; }

  bool Send(std::string_view bytes);
  // Sends what the system takes without waiting.
  void SendSome(std::string_view bytes);
  // Waits for bytes and returns what one receive then gives; empty at the end and after a reset.
  std::string ReceiveOnce();
  // True once the other side has closed in order and everything it sent has been read.
  bool IsAtItsEnd();
  void EndSending();
  void Reset();

 private:
  int descriptor_;
  support::StreamReader reader_;
};

}  // namespace server_test

#endif
