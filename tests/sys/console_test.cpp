#include "sys/console.h"

#include <editline/readline.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/child_process.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/stream_reader.h"

namespace {

using std::chrono::milliseconds;
using support::GuardedBuffer;
using support::PseudoTerminal;
using support::StreamReader;

// Every test runs in a process of its own and may take its standard input for good.
void TakeAsInput(int descriptor) { ASSERT_EQ(dup2(descriptor, STDIN_FILENO), STDIN_FILENO); }

// Standard input is a pipe that holds these bytes; returns its writing end.
int TakePipeAsInput(const std::string& bytes) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  TakeAsInput(ends[0]);
  close(ends[0]);
  EXPECT_TRUE(support::WriteAll(ends[1], bytes));
  return ends[1];
}

// ---- Waiting keys ----

TEST(SysConsoleKbHit, SwitchesTheTerminalToSingleKeysAndNothingElse) {
  PseudoTerminal terminal;
  TakeAsInput(terminal.device());
  const termios before = terminal.Modes();
  ASSERT_TRUE(before.c_lflag & ICANON);
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
  const termios after = terminal.Modes();
  EXPECT_EQ(after.c_lflag, before.c_lflag & ~static_cast<tcflag_t>(ICANON));  // ECHO, ISIG stay
  EXPECT_EQ(after.c_iflag, before.c_iflag);
  EXPECT_EQ(after.c_oflag, before.c_oflag);
  EXPECT_EQ(after.c_cflag, before.c_cflag);
  EXPECT_EQ(memcmp(after.c_cc, before.c_cc, sizeof after.c_cc), 0);
}

TEST(SysConsoleKbHit, SwitchesTheTerminalOnce) {
  PseudoTerminal terminal;
  TakeAsInput(terminal.device());
  const termios before = terminal.Modes();
  SYS_ConsoleKbHit();
  terminal.SetModes(before);
  SYS_ConsoleKbHit();
  EXPECT_EQ(terminal.Modes().c_lflag, before.c_lflag);
}

TEST(SysConsoleKbHit, CountsTheBytesThatWait) {
  PseudoTerminal terminal;
  TakeAsInput(terminal.device());
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
  terminal.Type("abc");  // no line end: single keys
  pollfd request{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  ASSERT_EQ(poll(&request, 1, 10'000), 1);
  EXPECT_EQ(SYS_ConsoleKbHit(), 3);
  EXPECT_EQ(SYS_ConsoleGetChar(), 'a');
  EXPECT_EQ(SYS_ConsoleKbHit(), 2);  // the stream keeps no bytes for itself
}

TEST(SysConsoleKbHit, CountsThePipesBytes) {
  TakePipeAsInput("hello");
  EXPECT_EQ(SYS_ConsoleKbHit(), 5);
}

TEST(SysConsoleKbHit, InputThatCannotBeAskedGivesZero) {
  const int null = open("/dev/null", O_RDONLY);
  TakeAsInput(null);
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
  close(STDIN_FILENO);
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
}

TEST(SysConsoleKbHit, EndedInputGivesZero) {
  close(TakePipeAsInput(""));
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
}

// ---- Single characters ----

TEST(SysConsoleGetChar, GivesBytesAsSigned8BitValues) {
  close(TakePipeAsInput(std::string("A\0\r\n\x7F\x80\xFE\xFF", 8)));
  for (const int32_t expected : {0x41, 0, 13, 10, 127, -128, -2, -1}) {
    EXPECT_EQ(SYS_ConsoleGetChar(), expected);
  }
  EXPECT_EQ(SYS_ConsoleGetChar(), -1);  // the end of input looks like 0xFF
}

// ---- Edited lines ----

struct HistoryLines {
  int count;
  std::string last;
};

HistoryLines History() {
  HistoryLines lines{.count = history_length, .last = ""};
  if (lines.count > 0) lines.last = history_get(history_base + lines.count - 1)->line;
  return lines;
}

TEST(SysConsoleReadLine, StoresTheLineWithoutItsEndAndRemembersIt) {
  close(TakePipeAsInput("a line\nanother\n"));
  GuardedBuffer buffer(16);
  EXPECT_EQ(SYS_ConsoleReadLine(nullptr, buffer.data(), 16), buffer.data());
  EXPECT_STREQ(buffer.data(), "a line");
  EXPECT_EQ(History().count, 1);
  EXPECT_EQ(History().last, "a line");
  SYS_ConsoleReadLine("prompt> ", buffer.data(), 16);
  EXPECT_STREQ(buffer.data(), "another");
  EXPECT_EQ(History().count, 2);
  EXPECT_EQ(History().last, "another");
}

TEST(SysConsoleReadLine, CutsALongLineAndRemembersItWhole) {
  close(TakePipeAsInput("0123456789\n"));
  GuardedBuffer buffer(5);
  SYS_ConsoleReadLine(nullptr, buffer.data(), 5);
  EXPECT_STREQ(buffer.data(), "0123");
  EXPECT_EQ(History().last, "0123456789");
}

TEST(SysConsoleReadLine, LineOfExactlyTheRoomIsNotCut) {
  close(TakePipeAsInput("0123\n"));
  GuardedBuffer buffer(5);
  SYS_ConsoleReadLine(nullptr, buffer.data(), 5);
  EXPECT_STREQ(buffer.data(), "0123");
}

TEST(SysConsoleReadLine, EmptyLineIsNotRemembered) {
  close(TakePipeAsInput("\n"));
  GuardedBuffer buffer(8);
  SYS_ConsoleReadLine(nullptr, buffer.data(), 8);
  EXPECT_STREQ(buffer.data(), "");
  EXPECT_EQ(History().count, 0);
}

TEST(SysConsoleReadLine, CapacityOneGivesTheEmptyTextAndRemembersNothing) {
  close(TakePipeAsInput("text\n"));
  GuardedBuffer buffer(1);
  SYS_ConsoleReadLine(nullptr, buffer.data(), 1);
  EXPECT_STREQ(buffer.data(), "");
  EXPECT_EQ(History().count, 0);
}

TEST(SysConsoleReadLine, CapacityZeroReadsAndStoresNothing) {
  close(TakePipeAsInput("text\n"));
  GuardedBuffer buffer(1);
  EXPECT_EQ(SYS_ConsoleReadLine(nullptr, buffer.data(), 0), buffer.data());
  EXPECT_TRUE(buffer.IsUntouched(0, 1));
  EXPECT_EQ(SYS_ConsoleKbHit(), 5);
}

TEST(SysConsoleReadLine, ShowsThePromptAndEditsOnATerminal) {
  PseudoTerminal terminal;
  // The child takes the terminal as its own; this process is the person in front of it.
  int result[2];
  ASSERT_EQ(pipe(result), 0);
  std::thread person([&] {
    StreamReader screen(terminal.controller());
    EXPECT_TRUE(screen.WaitFor("name? "));
    terminal.Type("\x04");  // Ctrl-D on an empty line: the end of input, which asks again
    EXPECT_TRUE(screen.WaitFor("name? ", 2));
    terminal.Type(
        "abx\x7F"
        "c\r");
    EXPECT_TRUE(screen.WaitFor("done"));
  });
  const int status = support::RunInChild([&] {
    dup2(terminal.device(), 0);
    dup2(terminal.device(), 1);
    dup2(terminal.device(), 2);
    setenv("TERM", "xterm", 1);
    char line[16];
    SYS_ConsoleReadLine("name? ", line, sizeof line);
    const bool is_written = support::WriteAll(result[1], line);
    SYS_ConsoleWrite("done", 4);
    return is_written ? 0 : 1;
  });
  person.join();
  EXPECT_EQ(status, 0);
  close(result[1]);
  StreamReader reader(result[0]);
  EXPECT_TRUE(reader.WaitForEnd());
  EXPECT_EQ(reader.text(), "abc");
}

TEST(SysConsoleReadLine, AsksAgainWithoutEndAtTheEndOfInput) {
  const pid_t pid = fork();
  if (pid == 0) {
    close(TakePipeAsInput(""));
    char line[16];
    SYS_ConsoleReadLine(nullptr, line, sizeof line);
    _exit(0);
  }
  std::this_thread::sleep_for(milliseconds(300));
  EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), 0);  // still at it
  kill(pid, SIGKILL);
  EXPECT_EQ(waitpid(pid, nullptr, 0), pid);
}

// ---- Output ----

// Runs a function in a child whose standard output is the given descriptor.
int RunWithOutput(int output, const std::function<int()>& function) {
  return support::RunInChild([&] {
    dup2(output, STDOUT_FILENO);
    close(output);
    return function();
  });
}

TEST(SysConsoleWrite, IsOneSystemCall) {
  // Each write on a packet socket is a packet of its own.
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
  EXPECT_EQ(
      RunWithOutput(
          ends[1],
          [] { return SYS_ConsoleWrite("first packet", 12) | SYS_ConsoleWrite("\0\xFF", 2); }),
      0);
  char packet[64];
  EXPECT_EQ(recv(ends[0], packet, sizeof packet, 0), 12);
  EXPECT_EQ(std::string(packet, 12), "first packet");
  EXPECT_EQ(recv(ends[0], packet, sizeof packet, 0), 2);
  EXPECT_EQ(std::string(packet, 2), std::string("\0\xFF", 2));
  close(ends[0]);
  close(ends[1]);
}

TEST(SysConsoleWrite, NothingIsNoCall) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(RunWithOutput(ends[1], [] { return SYS_ConsoleWrite(nullptr, 0); }), 0);
  close(ends[1]);
  StreamReader reader(ends[0]);
  EXPECT_TRUE(reader.WaitForEnd());
  EXPECT_EQ(reader.text(), "");
  close(ends[0]);
}

TEST(SysConsoleWrite, GoesBehindWhatStdioStillHolds) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(RunWithOutput(ends[1],
                          [] {
                            printf("one ");
                            SYS_ConsoleWrite("two ", 4);
                            printf("three");
                            return 0;
                          }),
            0);
  close(ends[1]);
  StreamReader reader(ends[0]);
  EXPECT_TRUE(reader.WaitForEnd());
  EXPECT_EQ(reader.text(), "one two three");
  close(ends[0]);
}

TEST(SysConsoleWrite, SlowNonBlockingPipeLosesNothing) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::string text;
  while (text.size() < 1'000'000) text += std::to_string(text.size()) + "\n";
  std::string received;
  std::thread slow_reader([&] {
    StreamReader reader(ends[0]);
    for (size_t size = 4096; reader.text().size() < text.size(); size += 200'000) {
      std::this_thread::sleep_for(milliseconds(20));
      if (!reader.WaitForSize(std::min(size, text.size()))) break;
    }
    received = reader.text();
  });
  EXPECT_EQ(RunWithOutput(
                ends[1],
                [&] {
                  fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK);
                  return SYS_ConsoleWrite(text.data(), static_cast<uint32_t>(text.size())) == 0 ? 0
                                                                                                : 1;
                }),
            0);
  slow_reader.join();
  EXPECT_EQ(received, text);
  close(ends[0]);
  close(ends[1]);
}

TEST(SysConsoleWrite, SlowTerminalLosesNothing) {
  PseudoTerminal terminal;
  terminal.TurnOffOutputProcessing();
  std::string text;
  while (text.size() < 200'000) text += std::to_string(text.size()) + "\n";
  StreamReader screen(terminal.controller());
  std::thread slow_reader([&] {
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_TRUE(screen.WaitForSize(text.size()));
  });
  EXPECT_EQ(RunWithOutput(
                fcntl(terminal.device(), F_DUPFD, 0),
                [&] {
                  return SYS_ConsoleWrite(text.data(), static_cast<uint32_t>(text.size())) == 0 ? 0
                                                                                                : 1;
                }),
            0);
  slow_reader.join();
  EXPECT_EQ(screen.text(), text);
}

void IgnoreSignal(int) {}

TEST(SysConsoleWrite, SignalsDoNotCutTheOutput) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string text(400'000, 's');
  std::string received;
  std::thread slow_reader([&] {
    StreamReader reader(ends[0]);
    std::this_thread::sleep_for(milliseconds(100));
    reader.WaitForSize(text.size());
    received = reader.text();
  });
  EXPECT_EQ(RunWithOutput(ends[1],
                          [&] {
                            struct sigaction action {};
                            action.sa_handler =
                                IgnoreSignal;  // without SA_RESTART: calls end with EINTR
                            sigaction(SIGUSR1, &action, nullptr);
                            const pthread_t writer = pthread_self();
                            std::thread nuisance([writer] {
                              for (int i = 0; i < 40; ++i) {
                                pthread_kill(writer, SIGUSR1);
                                std::this_thread::sleep_for(milliseconds(3));
                              }
                            });
                            const int32_t result =
                                SYS_ConsoleWrite(text.data(), static_cast<uint32_t>(text.size()));
                            nuisance.join();
                            return result == 0 ? 0 : 1;
                          }),
            0);
  slow_reader.join();
  EXPECT_EQ(received, text);
  close(ends[0]);
  close(ends[1]);
}

TEST(SysConsoleWrite, ClosedOutputGivesMinusOne) {
  EXPECT_EQ(support::RunInChild([] {
              close(STDOUT_FILENO);
              return SYS_ConsoleWrite("lost", 4) == -1 ? 0 : 1;
            }),
            0);
}

TEST(SysConsoleWrite, OutputWithoutAReaderGivesMinusOneWhereTheSignalIsIgnored) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(RunWithOutput(ends[1],
                          [] {
                            signal(SIGPIPE, SIG_IGN);
                            return SYS_ConsoleWrite("lost", 4) == -1 ? 0 : 1;
                          }),
            0);
  close(ends[1]);
}

}  // namespace
