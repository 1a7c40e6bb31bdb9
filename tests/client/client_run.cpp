#include "tests/client/client_run.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <regex>

namespace client_test {

namespace {

bool IsReadable(int descriptor) {
  pollfd request{.fd = descriptor, .events = POLLIN, .revents = 0};
  return poll(&request, 1, static_cast<int>(support::kPatience.count())) == 1;
}

struct Pipe {
  int reading;
  int writing;
};

Pipe MakePipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) abort();
  return {ends[0], ends[1]};
}

}  // namespace

ScriptedServer::ScriptedServer() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0) abort();
  if (getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) abort();
  port_ = ntohs(address.sin_port);
}

ScriptedServer::~ScriptedServer() {
  Close();
  close(listener_);
}

void ScriptedServer::Listen(int receive_buffer_size) {
  if (receive_buffer_size != 0) {
    setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, &receive_buffer_size, sizeof receive_buffer_size);
  }
  EXPECT_EQ(listen(listener_, 8), 0);
}

bool ScriptedServer::Accept() {
  Close();
  if (!IsReadable(listener_)) return false;
  connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  const int on = 1;
  setsockopt(connection_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return connection_ >= 0;
}

bool ScriptedServer::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

std::string ScriptedServer::Receive(size_t size) {
  std::string received;
  while (received.size() < size && IsReadable(connection_)) {
    char chunk[4096];
    const ssize_t count =
        recv(connection_, chunk, std::min(sizeof chunk, size - received.size()), 0);
    if (count <= 0) break;
    received.append(chunk, static_cast<size_t>(count));
  }
  return received;
}

void ScriptedServer::Close() {
  if (connection_ >= 0) close(connection_);
  connection_ = -1;
}

void ScriptedServer::Reset() {
  const linger at_once{.l_onoff = 1, .l_linger = 0};
  setsockopt(connection_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  Close();
}

ClientRun::ClientRun(const std::vector<std::string>& arguments, Input input,
                     const support::ChildOptions& options) {
  std::vector<std::string> words = {VQXCLIENT_PATH};
  words.insert(words.end(), arguments.begin(), arguments.end());

  const Pipe output = MakePipe();
  output_pipe_ = output.reading;
  int child_input = -1;
  if (input == Input::kTerminal) {
    child_input = fcntl(terminal_.device(), F_DUPFD_CLOEXEC, 0);
  } else if (input == Input::kPipe) {
    const Pipe pipe = MakePipe();
    input_pipe_ = pipe.writing;
    child_input = pipe.reading;
  } else if (input == Input::kNull) {
    child_input = open("/dev/null", O_RDONLY | O_CLOEXEC);
  }
  support::ChildOptions all_options = options;
  all_options.streams = {.input = child_input, .output = output.writing, .error = output.writing};
  process_ = std::make_unique<support::ChildProcess>(words, all_options);
  close(output.writing);
  if (child_input >= 0) close(child_input);
  output_ = std::make_unique<support::StreamReader>(output_pipe_);
}

ClientRun::~ClientRun() {
  process_.reset();
  close(output_pipe_);
  CloseInput();
}

void ClientRun::CloseInput() {
  if (input_pipe_ >= 0) close(input_pipe_);
  input_pipe_ = -1;
}

bool ClientRun::Type(std::string_view keys) {
  return support::WriteAll(input_pipe_ >= 0 ? input_pipe_ : terminal_.controller(), keys);
}

std::string ClientRun::Output() const {
  static const std::regex stamp(
      "Compiled [A-Z][a-z][a-z] [ 1-3][0-9] [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2} ");
  return std::regex_replace(output_->text(), stamp, "Compiled Mmm dd yyyy hh:mm:ss ");
}

std::vector<std::string> PortArguments(const ScriptedServer& server) {
  return {"-VQXTelnetPort", std::to_string(server.port())};
}

}  // namespace client_test
