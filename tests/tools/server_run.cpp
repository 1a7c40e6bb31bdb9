// SPDX-License-Identifier: MIT

#include "tests/tools/server_run.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

namespace server_test {

namespace {

int Connect(uint16_t port, int receive_buffer_size) {
  const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
  if (receive_buffer_size != 0) {
    setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &receive_buffer_size, sizeof receive_buffer_size);
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) abort();
  return descriptor;
}

}  // namespace

ServerRun::ServerRun(const std::vector<std::string>& arguments,
                     const support::ChildOptions& options) {
  std::vector<std::string> words = {TERMINAL_SERVER_PATH};
  words.insert(words.end(), arguments.begin(), arguments.end());
  const support::Pipe output = support::MakePipe();
  const support::Pipe error = support::MakePipe();
  output_pipe_ = output.reading;
  error_pipe_ = error.reading;
  support::ChildOptions all_options = options;
  all_options.streams = {.input = -1, .output = output.writing, .error = error.writing};
  process_ = std::make_unique<support::ChildProcess>(words, all_options);
  close(output.writing);
  close(error.writing);
  output_ = std::make_unique<support::StreamReader>(output_pipe_);
  error_ = std::make_unique<support::StreamReader>(error_pipe_);
}

ServerRun::~ServerRun() {
  process_.reset();
  close(output_pipe_);
  close(error_pipe_);
}

uint16_t ServerRun::Port() {
  constexpr std::string_view kBeforePort = "Listening on 127.0.0.1:";
  if (!output_->WaitFor("\n") || !output_->text().starts_with(kBeforePort)) return 0;
  return static_cast<uint16_t>(std::stoi(output_->text().substr(kBeforePort.size())));
}

Connection::Connection(uint16_t port, int receive_buffer_size)
    : descriptor_(Connect(port, receive_buffer_size)), reader_(descriptor_) {}

Connection::~Connection() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool Connection::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

void Connection::SendSome(std::string_view bytes) {
  send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

std::string Connection::ReceiveOnce() {
  pollfd request{.fd = descriptor_, .events = POLLIN, .revents = 0};
  poll(&request, 1, static_cast<int>(support::kPatience.count()));
  char bytes[4096];
  const ssize_t received = recv(descriptor_, bytes, sizeof bytes, MSG_DONTWAIT);
  return received > 0 ? std::string(bytes, static_cast<size_t>(received)) : std::string();
}

bool Connection::IsAtItsEnd() {
  pollfd request{.fd = descriptor_, .events = POLLIN, .revents = 0};
  poll(&request, 1, static_cast<int>(support::kPatience.count()));
  char byte;
  return recv(descriptor_, &byte, 1, MSG_DONTWAIT) == 0;
}

void Connection::EndSending() { shutdown(descriptor_, SHUT_WR); }

void Connection::Reset() {
  const linger at_once{.l_onoff = 1, .l_linger = 0};
  setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  close(descriptor_);
  descriptor_ = -1;
}

}  // namespace server_test
