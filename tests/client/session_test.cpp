// SPDX-License-Identifier: MIT

// The session with its socket's send in the test's hands: what a full or failing connection does.
//
// The program is linked with --wrap=SYS_SOCKET_Send, so that the session's sends come here first.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "client/client.h"
#include "sys/sockets.h"
#include "tests/client/client_run.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/stream_reader.h"

namespace {

using client_test::ScriptedServer;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

// What the next sends do: a negative code fails them, another number sends at most that many bytes.
std::vector<int32_t> planned_sends;
// Where the length of each send is written, a blank behind each, before it is tried.
int send_log = -1;
// Keeps the system from taking more than a few keys ahead of the server; 0 leaves the default.
int send_buffer_size = 0;

}  // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names.
int32_t __real_SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length);
int32_t __wrap_SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length);
// NOLINTEND(bugprone-reserved-identifier)
}

int32_t __wrap_SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length) {
  support::WriteAll(send_log, std::to_string(length) + " ");
  if (send_buffer_size != 0) {
    setsockopt(handle, SOL_SOCKET, SO_SNDBUF, &send_buffer_size, sizeof send_buffer_size);
  }
  if (!planned_sends.empty()) {
    const int32_t plan = planned_sends.front();
    planned_sends.erase(planned_sends.begin());
    if (plan < 0) return plan;
    length = std::min(length, static_cast<uint32_t>(plan));
  }
  return __real_SYS_SOCKET_Send(handle, data, length);
}

namespace {

// A session in a child of its own, whose console input is a pipe that holds the keys.
class ForkedSession {
 public:
  enum class Buffers { kDefault, kSmall };

  ForkedSession(const std::string& keys, const std::vector<int32_t>& plan,
                Buffers buffers = Buffers::kDefault) {
    EXPECT_TRUE(support::WriteAll(input_.writing, keys));
    server_.Listen(buffers == Buffers::kSmall ? kSmallBuffer : 0);
    child_ = fork();
    if (child_ == 0) {
      send_buffer_size = buffers == Buffers::kSmall ? kSmallBuffer : 0;
      Run(plan);
    }
    close(output_.writing);
    close(log_.writing);
    EXPECT_TRUE(server_.Accept());
    EXPECT_TRUE(server_.Send("Welcome\r\n"));
  }
  ~ForkedSession() {
    kill(child_, SIGTERM);
    waitpid(child_, nullptr, 0);
    for (const int descriptor : {input_.reading, input_.writing, output_.reading, log_.reading}) {
      close(descriptor);
    }
  }
  ForkedSession(const ForkedSession&) = delete;
  ForkedSession& operator=(const ForkedSession&) = delete;

  ScriptedServer& server() { return server_; }
  support::StreamReader& output() { return printed_; }
  support::StreamReader& send_sizes() { return logged_; }

 private:
  static constexpr int kSmallBuffer = 4096;

  [[noreturn]] void Run(const std::vector<int32_t>& plan) const {
    dup2(input_.reading, STDIN_FILENO);
    dup2(output_.writing, STDOUT_FILENO);
    send_log = log_.writing;
    planned_sends = plan;
    _Port = server_.port();
    _LocalEchoOn = 1;
    const char* const error_message = _RunSession();
    if (error_message != nullptr) _PrintError(error_message);
    _exit(0);
  }

  support::Pipe input_ = support::MakePipe();
  support::Pipe output_ = support::MakePipe();
  support::Pipe log_ = support::MakePipe();
  ScriptedServer server_;
  support::StreamReader printed_{output_.reading};
  support::StreamReader logged_{log_.reading};
  pid_t child_ = -1;
};

struct SessionResult {
  std::string received;    // by the server
  std::string send_sizes;  // the length of each send, a blank behind each
  std::string output;
};

// The server receives as many bytes as there are keys (unless a send fails for good) and then
// refuses the next connection, which ends the session.
SessionResult RunSession(const std::string& keys, const std::vector<int32_t>& plan) {
  ForkedSession session(keys, plan);
  const std::string received = session.server().Receive(keys.size());
  session.server().Close();
  const bool fails = !plan.empty() && plan.back() == SYS_SOCKET_ERR_GENERIC;
  if (!fails) {
    EXPECT_TRUE(session.server().Accept());
    EXPECT_TRUE(session.server().Send("ERROR: end"));
  }
  EXPECT_TRUE(session.output().WaitForEnd());
  EXPECT_TRUE(session.send_sizes().WaitForEnd());
  return {received, session.send_sizes().text(), session.output().text()};
}

TEST(ClientSend, PasteGoesOutInPiecesOfAtMost64Bytes) {
  const std::string keys(150, 'p');
  const SessionResult result = RunSession(keys, {});
  EXPECT_EQ(result.received, keys);
  EXPECT_EQ(result.send_sizes, "64 64 22 ");
}

TEST(ClientSend, Exactly64KeysAreOneSend) {
  EXPECT_EQ(RunSession(std::string(64, 'p'), {}).send_sizes, "64 ");
}

TEST(ClientSend, ZeroAsThe63rdByteTakesItsSecondByteAlong) {
  const std::string keys = std::string(62, 'a') + std::string("\0Hbc", 4);
  const SessionResult result = RunSession(keys, {});
  EXPECT_EQ(result.received, keys);
  EXPECT_EQ(result.send_sizes, "64 2 ");
}

TEST(ClientSend, ZeroAsThe64thByteIsSentWithoutItsSecondByte) {
  const std::string keys = std::string(63, 'a') + std::string("\0Hb", 3);
  const SessionResult result = RunSession(keys, {});
  EXPECT_EQ(result.received, keys);
  EXPECT_EQ(result.send_sizes, "64 2 ");
}

TEST(ClientSend, WouldBlockSendsTheSameBytesAgainBeforeAnyNewKey) {
  const std::string keys = std::string(64, 'a') + "bc";
  const SessionResult result =
      RunSession(keys, {SYS_SOCKET_ERR_WOULDBLOCK, SYS_SOCKET_ERR_WOULDBLOCK});
  EXPECT_EQ(result.received, keys);
  EXPECT_EQ(result.send_sizes, "64 64 64 2 ");
  EXPECT_EQ(support::CountOf(result.output, "###VQX Client ERROR: "), 1u);  // the refusal alone
}

TEST(ClientSend, PartlySentKeysGoOnWithTheRestBeforeAnyNewKey) {
  const std::string keys = "abcdefgh" + std::string(60, 'x');
  const SessionResult result = RunSession(keys, {3, 0, 1});
  EXPECT_EQ(result.received, keys);
  EXPECT_EQ(result.send_sizes, "64 61 61 60 4 ");
}

TEST(ClientSend, OtherErrorsEndTheSessionWithoutAnErrorForShutDown) {
  const SessionResult result = RunSession("k", {SYS_SOCKET_ERR_GENERIC});
  EXPECT_EQ(result.received, "");
  EXPECT_EQ(result.send_sizes, "1 ");
  const std::string end =
      "k\n###VQX Client ERROR: Socket error while sending. VQX Client will be closed.\r\n";
  ASSERT_GE(result.output.size(), end.size());
  EXPECT_EQ(result.output.substr(result.output.size() - end.size()), end);
}

TEST(ClientSend, EveryKeyArrivesInOrderAfterTheServerStoppedReading) {
  std::string keys;
  for (int i = 0; keys.size() < 30'000; ++i) keys += std::to_string(i) + '\n';
  ForkedSession session(keys, {}, ForkedSession::Buffers::kSmall);

  // The server reads nothing until the session stands in a send that the system does not take.
  const auto count_sends = [&] { return support::CountOf(session.send_sizes().text(), " "); };
  size_t sends = 0;
  do {
    sends = count_sends();
    session.send_sizes().ReadFor(std::chrono::milliseconds(500));
  } while (count_sends() > sends);
  ASSERT_GT(sends, 0u);
  ASSERT_LT(sends * 64, keys.size());

  EXPECT_EQ(session.server().Receive(keys.size()), keys);
}

// Prints the text as received and returns what standard output got.
std::string Printed(const std::string& text) {
  text.copy(_RxBuffer, text.size());
  _RxBuffer[text.size()] = '\0';
  CaptureStdout();
  _PrintRxData();
  return GetCapturedStdout();
}

TEST(ClientPrintRxData, DropsOnlyTheCrDirectlyBeforeAnLf) {
  const struct {
    const char* received;
    const char* printed;
  } rows[] = {
      {"", ""},
      {"plain", "plain"},
      {"a\r\nb", "a\nb"},
      {"a\r\r\nb", "a\r\nb"},
      {"x\r\ny\rz\r", "x\ny\rz\r"},
      {"\r", "\r"},
      {"\n", "\n"},
      {"\r\n", "\n"},
      {"\r\n\r\n", "\n\n"},
      {"\n\r", "\n\r"},
      {"\r\r\r\n\n", "\r\r\n\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(Printed(row.received), row.printed);
}

TEST(ClientPrintRxData, PrintsAFullBuffer) {
  const std::string text(kRxBufferSize - 1, 'f');
  EXPECT_EQ(Printed(text), text);
}

TEST(ClientPrintRxData, WithoutMemoryForTheCopyPrintsNothing) {
  std::string printed;
  {
    const support::FailingAllocation no_memory(1);
    // The text lies in the buffer already: the copy is the next allocation of the product.
    snprintf(_RxBuffer, kRxBufferSize, "lost");
    CaptureStdout();
    _PrintRxData();
    printed = GetCapturedStdout();
  }
  EXPECT_EQ(printed, "");
  EXPECT_EQ(Printed("kept"), "kept");
}

TEST(ClientStandardStreams, ThoseThatAreMissingBecomeTheNullDevice) {
  const int status = support::RunInChild([] {
    close(STDIN_FILENO);
    close(STDERR_FILENO);
    const int next_before = dup(STDOUT_FILENO);  // 0
    close(next_before);
    _OccupyStandardStreams();
    char byte;
    if (next_before != STDIN_FILENO || read(STDIN_FILENO, &byte, 1) != 0) return 1;
    return write(STDERR_FILENO, "x", 1) == 1 ? 0 : 2;
  });
  EXPECT_EQ(status, 0);
}

TEST(ClientStandardStreams, StartGoesOnWhereNoDescriptorIsFree) {
  const int status = support::RunInChild([] {
    const rlimit none{.rlim_cur = 0, .rlim_max = 0};
    if (setrlimit(RLIMIT_NOFILE, &none) != 0) return 1;
    _OccupyStandardStreams();
    return 0;
  });
  EXPECT_EQ(status, 0);
}

}  // namespace
