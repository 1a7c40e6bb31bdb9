// SPDX-License-Identifier: MIT

// The real client in a process of its own, and the server it talks to, played by the test.
#ifndef TARVEN_TESTS_CLIENT_CLIENT_RUN_H_
#define TARVEN_TESTS_CLIENT_CLIENT_RUN_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/loopback.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/stream_reader.h"

namespace client_test {

// A server on a loopback port of its own that does what it is told, one connection at a time. The
// port is taken from the start, but refuses connections until Listen.
class ScriptedServer {
 public:
  uint16_t port() const { return port_.port(); }
  int connection() const { return connection_.descriptor(); }  // -1 when there is none

  // Lets connections in from now on. A receive buffer size other than 0 keeps the window small.
  void Listen(int receive_buffer_size = 0);
  // Waits for the next connection; false when none comes in time.
  bool Accept();
  bool Send(std::string_view bytes) const { return connection_.Send(bytes); }
  // Receives exactly that many bytes, or fewer when the time passes or the client closes.
  std::string Receive(size_t size) const { return connection_.Receive(size); }
  // Sends no more, and goes on receiving.
  void ShutDownSending() const { connection_.ShutDownSending(); }
  // Ends the connection in order, or with a reset.
  void Close() { connection_.Close(); }
  void Reset() { connection_.Reset(); }

 private:
  support::SilentPort port_;
  support::Peer connection_;
};

enum class Input { kTerminal, kPipe, kNull, kClosed };

// A run of the client whose standard output is a pipe, so that every byte is seen as it was
// written. Standard error joins it: the client writes nothing there.
class ClientRun {
 public:
  ClientRun(const std::vector<std::string>& arguments, Input input = Input::kTerminal,
            const support::ChildOptions& options = {});
  ~ClientRun();
  ClientRun(const ClientRun&) = delete;
  ClientRun& operator=(const ClientRun&) = delete;

  support::StreamReader& output() { return *output_; }
  support::ChildProcess& process() { return *process_; }
  support::PseudoTerminal& terminal() { return terminal_; }

  // The reading end of the pipe that is the client's standard output.
  int output_pipe() const { return output_pipe_; }
  // The writing end of the pipe that is its standard input; -1 unless Input::kPipe.
  int input_pipe() const { return input_pipe_; }

  // On the terminal or into the pipe.
  bool Type(std::string_view keys);
  // Ends the input of Input::kPipe.
  void CloseInput();

  // Everything printed so far, the build stamp of the banner replaced by "Mmm dd yyyy hh:mm:ss".
  std::string Output() const;

 private:
  support::PseudoTerminal terminal_;
  int input_pipe_ = -1;
  int output_pipe_ = -1;
  std::unique_ptr<support::ChildProcess> process_;
  std::unique_ptr<support::StreamReader> output_;
};

// The arguments that point the client at a server.
std::vector<std::string> PortArguments(const ScriptedServer& server);

// Accepts the client's nth connection and sends it a welcome, up to the moment when it is shown.
void Welcome(ScriptedServer& server, ClientRun& client, size_t nth = 1);

// What a process holds, as the system counts it.
struct Holdings {
  std::ptrdiff_t descriptors;
  size_t resident_kib;
};

Holdings HoldingsOf(pid_t pid);

}  // namespace client_test

#endif
