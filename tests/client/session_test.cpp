// The session with its socket's send in the test's hands: what a full or failing connection does.
//
// The program is linked with --wrap=SYS_SOCKET_Send, so that the session's sends come here first.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

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
int send_log = -1;

}  // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names.
int32_t __real_SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length);
int32_t __wrap_SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length);
// NOLINTEND(bugprone-reserved-identifier)
}

int32_t __wrap_SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length) {
  support::WriteAll(send_log, std::to_string(length) + " ");
  if (!planned_sends.empty()) {
    const int32_t plan = planned_sends.front();
    planned_sends.erase(planned_sends.begin());
    if (plan < 0) return plan;
    length = std::min(length, static_cast<uint32_t>(plan));
  }
  return __real_SYS_SOCKET_Send(handle, data, length);
}

namespace {

struct SessionResult {
  std::string received;    // by the server
  std::string send_sizes;  // the length of each send, a blank behind each
  std::string output;
};

// Runs a session in a child whose console input holds the keys. The server receives as many bytes
// as there are keys (unless a send fails for good) and then refuses the next connection, which ends
// the session.
SessionResult RunSession(const std::string& keys, const std::vector<int32_t>& plan) {
  ScriptedServer server;
  server.Listen();
  int input[2];
  int output[2];
  int log[2];
  EXPECT_EQ(pipe(input), 0);
  EXPECT_EQ(pipe(output), 0);
  EXPECT_EQ(pipe(log), 0);
  EXPECT_TRUE(support::WriteAll(input[1], keys));
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(input[0], 0);
    dup2(output[1], 1);
    send_log = log[1];
    planned_sends = plan;
    _Port = server.port();
    _LocalEchoOn = 1;
    const char* const error_message = _RunSession();
    if (error_message != nullptr) _PrintError(error_message);
    _exit(0);
  }
  close(output[1]);
  close(log[1]);
  SessionResult result;
  EXPECT_TRUE(server.Accept());
  EXPECT_TRUE(server.Send("Welcome\r\n"));
  result.received = server.Receive(keys.size());
  server.Close();
  const bool fails = !plan.empty() && plan.back() == SYS_SOCKET_ERR_GENERIC;
  if (!fails) {
    EXPECT_TRUE(server.Accept());
    EXPECT_TRUE(server.Send("ERROR: end"));
  }
  support::StreamReader printed(output[0]);
  support::StreamReader logged(log[0]);
  EXPECT_TRUE(printed.WaitForEnd());
  EXPECT_TRUE(logged.WaitForEnd());
  result.output = printed.text();
  result.send_sizes = logged.text();
  for (const int descriptor : {input[0], input[1], output[0], log[0]}) close(descriptor);
  return result;
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

}  // namespace
