// SPDX-License-Identifier: MIT

#include "tests/client/client_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

namespace client_test {

void ScriptedServer::Listen(int receive_buffer_size) {
  if (receive_buffer_size != 0) {
    EXPECT_EQ(setsockopt(port_.descriptor(), SOL_SOCKET, SO_RCVBUF, &receive_buffer_size,
                         sizeof receive_buffer_size),
              0);
  }
  port_.StartListening();
}

bool ScriptedServer::Accept() {
  connection_ = port_.Accept();
  return connection_.descriptor() >= 0;
}

ClientRun::ClientRun(const std::vector<std::string>& arguments, Input input,
                     const support::ChildOptions& options) {
  std::vector<std::string> words = {VQXCLIENT_PATH};
  words.insert(words.end(), arguments.begin(), arguments.end());

  const support::Pipe output = support::MakePipe();
  output_pipe_ = output.reading;
  int child_input = -1;
  if (input == Input::kTerminal) {
    child_input = fcntl(terminal_.device(), F_DUPFD_CLOEXEC, 0);
  } else if (input == Input::kPipe) {
    const support::Pipe pipe = support::MakePipe();
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

void Welcome(ScriptedServer& server, ClientRun& client, size_t nth) {
  ASSERT_TRUE(server.Accept());
  ASSERT_TRUE(server.Send("Welcome\r\n"));
  ASSERT_TRUE(client.output().WaitFor("Welcome\n", nth));
}

Holdings HoldingsOf(pid_t pid) {
  const std::filesystem::path process = "/proc/" + std::to_string(pid);
  const std::filesystem::directory_iterator all(process / "fd");
  Holdings holdings{.descriptors = std::distance(begin(all), end(all)), .resident_kib = 0};
  std::ifstream status(process / "status");
  for (std::string word; status >> word && word != "VmRSS:";) {
  }
  status >> holdings.resident_kib;
  return holdings;
}

}  // namespace client_test
