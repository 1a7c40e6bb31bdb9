// SPDX-License-Identifier: MIT

#include "sys/console.h"

#include <editline/readline.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/replaced_descriptor.h"
#include "tests/support/stream_reader.h"

namespace {

using support::GuardedBuffer;
using support::kPatience;
using support::PseudoTerminal;
using support::ReplacedDescriptor;
using support::StreamReader;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The line that editline gave last, and how often it was freed.
char* last_line = nullptr;
int times_freed = 0;
int lines_asked_for = 0;

// The first byte of this buffer when a line was asked for last.
const char* watched_buffer = nullptr;
int watched_byte = -1;

}  // namespace

// They take the places of readline and free for everything linked into this program.
extern "C" {

char* __real_readline(const char* prompt);
void __real_free(void* memory);

char* __wrap_readline(const char* prompt) {
  ++lines_asked_for;
  if (watched_buffer != nullptr) watched_byte = *watched_buffer;
  last_line = __real_readline(prompt);
  return last_line;
}

void __wrap_free(void* memory) {
  if (memory != nullptr && memory == last_line) ++times_freed;
  __real_free(memory);
}

}  // extern "C"

namespace {

struct Pipe {
  int reading = -1;
  int writing = -1;

  explicit Pipe(int flags = 0) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC | flags), 0);
    reading = ends[0];
    writing = ends[1];
  }
  ~Pipe() {
    CloseReading();
    CloseWriting();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  void CloseReading() { CloseOnce(reading); }
  void CloseWriting() { CloseOnce(writing); }
  bool IsFull() const {
    pollfd request{.fd = writing, .events = POLLOUT, .revents = 0};
    return poll(&request, 1, 0) == 0;
  }

 private:
  static void CloseOnce(int& descriptor) {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
  }
};

template <typename Condition>
bool WaitUntil(Condition condition) {
  const auto deadline = Clock::now() + kPatience;
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

// ---- SYS_ConsoleKbHit: the terminal ----

struct Modes {
  tcflag_t input, output, control, local;
  std::string characters;
  bool operator==(const Modes&) const = default;
};

Modes ModesOf(const PseudoTerminal& terminal) {
  const termios modes = terminal.Modes();
  return {modes.c_iflag, modes.c_oflag, modes.c_cflag, modes.c_lflag,
          std::string(reinterpret_cast<const char*>(modes.c_cc), sizeof modes.c_cc)};
}

TEST(SysConsoleKbHit, FirstCallClearsIcanonAndNothingElse) {
  const PseudoTerminal terminal;
  const ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  const Modes before = ModesOf(terminal);
  ASSERT_NE(before.local & ICANON, 0U);
  SYS_ConsoleKbHit();
  Modes expected = before;
  expected.local &= ~static_cast<tcflag_t>(ICANON);
  EXPECT_EQ(ModesOf(terminal), expected);
}

TEST(SysConsoleKbHit, EchoAndSignalKeysStayAsTheyAre) {
  for (const tcflag_t flags :
       {tcflag_t{ECHO | ISIG}, tcflag_t{ECHO}, tcflag_t{ISIG}, tcflag_t{0}}) {
    SCOPED_TRACE(flags);
    PseudoTerminal terminal;
    termios modes = terminal.Modes();
    modes.c_lflag = (modes.c_lflag & ~static_cast<tcflag_t>(ECHO | ISIG)) | flags;
    terminal.SetModes(modes);
    EXPECT_EQ(support::RunInChild([&] {
                dup2(terminal.device(), STDIN_FILENO);
                SYS_ConsoleKbHit();
                return 0;
              }),
              0);
    EXPECT_EQ(terminal.Modes().c_lflag & (ECHO | ISIG | ICANON), flags);
  }
}

TEST(SysConsoleKbHit, ChangesTheTerminalOnce) {
  PseudoTerminal terminal;
  const ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  const termios original = terminal.Modes();
  SYS_ConsoleKbHit();
  terminal.SetModes(original);
  SYS_ConsoleKbHit();
  EXPECT_NE(terminal.Modes().c_lflag & ICANON, 0U);
}

TEST(SysConsoleKbHit, FirstCallCountsEvenWithoutATerminal) {
  const PseudoTerminal terminal;
  {
    const Pipe pipe;
    const ReplacedDescriptor input(STDIN_FILENO, pipe.reading);
    SYS_ConsoleKbHit();
  }
  const ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  SYS_ConsoleKbHit();
  EXPECT_NE(terminal.Modes().c_lflag & ICANON, 0U);
}

TEST(SysConsoleKbHit, ChangeIsInEffectAtOnceDespiteWaitingOutput) {
  PseudoTerminal terminal;
  const ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  ASSERT_TRUE(support::WriteAll(terminal.device(), "nobody reads this"));
  SYS_ConsoleKbHit();
  EXPECT_EQ(terminal.Modes().c_lflag & ICANON, 0U);
}

TEST(SysConsoleKbHit, TerminalStaysChangedAfterTheProcess) {
  const PseudoTerminal terminal;
  EXPECT_EQ(support::RunInChild([&]() -> int {
              dup2(terminal.device(), STDIN_FILENO);
              SYS_ConsoleKbHit();
              exit(0);
            }),
            0);
  EXPECT_EQ(terminal.Modes().c_lflag & ICANON, 0U);
}

// ---- SYS_ConsoleKbHit: the count ----

TEST(SysConsoleKbHit, CountsKeysWithoutAnEndOfLine) {
  PseudoTerminal terminal;
  const ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
  terminal.Type("a");
  EXPECT_TRUE(WaitUntil([] { return SYS_ConsoleKbHit() == 1; }));
  terminal.Type("bc");
  EXPECT_TRUE(WaitUntil([] { return SYS_ConsoleKbHit() == 3; }));
}

TEST(SysConsoleKbHit, LeavesTheKeysWhereTheyAre) {
  PseudoTerminal terminal;
  const ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  SYS_ConsoleKbHit();
  terminal.Type("xy");
  EXPECT_TRUE(WaitUntil([] { return SYS_ConsoleKbHit() == 2; }));
  EXPECT_EQ(SYS_ConsoleGetChar(), 'x');
  EXPECT_EQ(SYS_ConsoleKbHit(), 1);
  EXPECT_EQ(SYS_ConsoleGetChar(), 'y');
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
}

TEST(SysConsoleKbHit, CountsKeysTypedBeforeTheFirstCall) {
  PseudoTerminal terminal;
  const ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  terminal.Type("typed early");
  EXPECT_TRUE(WaitUntil([] { return SYS_ConsoleKbHit() == 11; }));
}

// A buffered stdin would take all bytes with the first character.
TEST(SysConsoleKbHit, MakesStdinUnbuffered) {
  const Pipe pipe;
  const ReplacedDescriptor input(STDIN_FILENO, pipe.reading);
  ASSERT_TRUE(support::WriteAll(pipe.writing, "abcd"));
  EXPECT_EQ(SYS_ConsoleKbHit(), 4);
  EXPECT_EQ(SYS_ConsoleGetChar(), 'a');
  EXPECT_EQ(SYS_ConsoleKbHit(), 3);
}

TEST(SysConsoleKbHit, IsZeroForTheNullDevice) {
  const int null_device = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const ReplacedDescriptor input(STDIN_FILENO, null_device);
  close(null_device);
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
}

TEST(SysConsoleKbHit, IsZeroForClosedInput) {
  const ReplacedDescriptor input(STDIN_FILENO, -1);
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
}

TEST(SysConsoleKbHit, IsZeroAtTheEndOfInput) {
  Pipe pipe;
  const ReplacedDescriptor input(STDIN_FILENO, pipe.reading);
  ASSERT_TRUE(support::WriteAll(pipe.writing, "z"));
  pipe.CloseWriting();
  EXPECT_EQ(SYS_ConsoleKbHit(), 1);
  EXPECT_EQ(SYS_ConsoleGetChar(), 'z');
  EXPECT_EQ(SYS_ConsoleKbHit(), 0);
}

// ---- SYS_ConsoleGetChar ----

TEST(SysConsoleGetChar, GivesASignedEightBitValue) {
  const struct {
    uint8_t byte;
    int32_t expected;
  } cases[] = {{0x41, 65},  {0x00, 0},    {0x0A, 10}, {0x0D, 13},
               {0x7F, 127}, {0x80, -128}, {0xFE, -2}, {0xFF, -1}};
  const Pipe pipe;
  const ReplacedDescriptor input(STDIN_FILENO, pipe.reading);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    ASSERT_TRUE(support::WriteAll(pipe.writing, std::string(1, static_cast<char>(c.byte))));
    EXPECT_EQ(SYS_ConsoleGetChar(), c.expected);
  }
}

TEST(SysConsoleGetChar, GivesMinusOneAtTheEndOfInput) {
  Pipe pipe;
  const ReplacedDescriptor input(STDIN_FILENO, pipe.reading);
  pipe.CloseWriting();
  EXPECT_EQ(SYS_ConsoleGetChar(), -1);
  EXPECT_EQ(SYS_ConsoleGetChar(), -1);
}

// The other way round of SYS_ConsoleKbHit's job: reading alone leaves the terminal as it is.
TEST(SysConsoleGetChar, LeavesTheTerminalAsItIs) {
  PseudoTerminal terminal;
  const ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  const Modes before = ModesOf(terminal);
  terminal.Type("q\n");
  EXPECT_EQ(SYS_ConsoleGetChar(), 'q');
  EXPECT_EQ(ModesOf(terminal), before);
}

// ---- SYS_ConsoleReadLine ----

constexpr char kPrompt[] = "line> ";

void KeepEditlinePlain() {
  setenv("TERM", "dumb", 1);
  setenv("EDITRC", "/dev/null", 1);
}

std::vector<std::string> HistoryLines() {
  std::vector<std::string> lines;
  for (int i = 0; i < history_length; ++i) lines.emplace_back(history_get(history_base + i)->line);
  return lines;
}

using Lines = std::vector<std::string>;

// Standard input is a pipe that holds some lines and stays open.
class SysConsoleReadLine : public testing::Test {
 protected:
  SysConsoleReadLine() { KeepEditlinePlain(); }

  // Reads one of the lines; nothing may be stored outside the buffer.
  std::string Read(uint32_t capacity) {
    const int null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
    GuardedBuffer buffer(capacity);
    const char* result = nullptr;
    {
      const ReplacedDescriptor input(STDIN_FILENO, pipe_.reading);
      const ReplacedDescriptor output(STDOUT_FILENO, null_device);
      result = SYS_ConsoleReadLine(kPrompt, buffer.data(), capacity);
    }
    close(null_device);
    EXPECT_EQ(result, buffer.data());
    const size_t length = strnlen(buffer.data(), capacity);
    EXPECT_LT(length, capacity) << "no terminator";
    EXPECT_TRUE(buffer.IsUntouched(std::min<size_t>(length + 1, capacity), capacity));
    return std::string(buffer.data(), length);
  }

  void Send(std::string_view text) { ASSERT_TRUE(support::WriteAll(pipe_.writing, text)); }

  Pipe pipe_;
};

TEST_F(SysConsoleReadLine, GivesTheLineWithoutItsEnd) {
  Send("first line\nsecond\n");
  EXPECT_EQ(Read(64), "first line");
  EXPECT_EQ(Read(64), "second");
}

TEST_F(SysConsoleReadLine, LineThatJustFitsStaysWhole) {
  Send("12345\n");
  EXPECT_EQ(Read(6), "12345");
}

TEST_F(SysConsoleReadLine, LongerLineIsCut) {
  Send("123456\nnext\n");
  EXPECT_EQ(Read(6), "12345");
  EXPECT_EQ(Read(6), "next");
}

TEST_F(SysConsoleReadLine, LineEntersTheHistoryWholeEvenWhenCut) {
  Send("a long line\n");
  EXPECT_EQ(Read(4), "a l");
  EXPECT_EQ(HistoryLines(), Lines{"a long line"});
}

TEST_F(SysConsoleReadLine, HistoryHoldsTheLinesInTheirOrder) {
  Send("one\ntwo\nthree\n");
  for (int i = 0; i < 3; ++i) Read(16);
  EXPECT_EQ(HistoryLines(), (Lines{"one", "two", "three"}));
}

TEST_F(SysConsoleReadLine, EmptyLineGivesAnEmptyTextAndStaysOutOfTheHistory) {
  Send("kept\n\n");
  EXPECT_EQ(Read(16), "kept");
  EXPECT_EQ(Read(16), "");
  EXPECT_EQ(HistoryLines(), Lines{"kept"});
}

TEST_F(SysConsoleReadLine, BlanksAreALine) {
  Send("  \n");
  EXPECT_EQ(Read(16), "  ");
  EXPECT_EQ(HistoryLines(), Lines{"  "});
}

TEST_F(SysConsoleReadLine, CapacityOneGivesAnEmptyTextAndKeepsTheLineOutOfTheHistory) {
  Send("kept\nnot kept\n");
  EXPECT_EQ(Read(16), "kept");
  EXPECT_EQ(Read(1), "");
  EXPECT_EQ(HistoryLines(), Lines{"kept"});
}

TEST_F(SysConsoleReadLine, CapacityZeroStoresNothingAndReadsNoLine) {
  GuardedBuffer buffer(4);
  EXPECT_EQ(SYS_ConsoleReadLine(kPrompt, buffer.data(), 0), buffer.data());
  EXPECT_TRUE(buffer.IsUntouched(0, 4));
  EXPECT_EQ(lines_asked_for, 0);
}

TEST_F(SysConsoleReadLine, LargestCapacityCutsNothing) {
  Send("whole\n");
  GuardedBuffer buffer(6);
  const ReplacedDescriptor input(STDIN_FILENO, pipe_.reading);
  EXPECT_EQ(SYS_ConsoleReadLine("", buffer.data(), UINT32_MAX), buffer.data());
  EXPECT_STREQ(buffer.data(), "whole");
}

TEST_F(SysConsoleReadLine, LineThatEntersTheHistoryIsNotFreed) {
  Send("kept\n");
  Read(16);
  EXPECT_EQ(times_freed, 0);
  EXPECT_STREQ(last_line, "kept");
}

TEST_F(SysConsoleReadLine, LineThatStaysOutOfTheHistoryIsFreed) {
  Send("\nnot kept\n");
  Read(16);
  EXPECT_EQ(times_freed, 1);
  Read(1);
  EXPECT_EQ(times_freed, 2);
}

TEST_F(SysConsoleReadLine, BufferIsEmptyBeforeALineIsAskedFor) {
  Send("x\n");
  GuardedBuffer buffer(8);
  watched_buffer = buffer.data();
  const ReplacedDescriptor input(STDIN_FILENO, pipe_.reading);
  SYS_ConsoleReadLine("", buffer.data(), 8);
  EXPECT_EQ(watched_byte, 0);
  EXPECT_STREQ(buffer.data(), "x");
}

// ---- SYS_ConsoleReadLine on a terminal ----

// A person at a terminal who answers when the prompt shows.
class SysConsoleReadLineTerminal : public testing::Test {
 protected:
  SysConsoleReadLineTerminal() { KeepEditlinePlain(); }

  // Each answer is typed when the prompt has appeared once more.
  std::string Read(const std::vector<std::string>& answers, const char* prompt = kPrompt) {
    char buffer[64];
    std::thread typist([&] {
      for (const std::string& answer : answers) {
        EXPECT_TRUE(screen_.WaitFor(kPrompt, ++prompts_seen_));
        // editline switches to single keys after the prompt; keys before that mean something else.
        EXPECT_TRUE(WaitUntil([&] { return (terminal_.Modes().c_lflag & ICANON) == 0; }));
        terminal_.Type(answer);
      }
    });
    {
      const ReplacedDescriptor input(STDIN_FILENO, terminal_.device());
      const ReplacedDescriptor output(STDOUT_FILENO, terminal_.device());
      SYS_ConsoleReadLine(prompt, buffer, sizeof buffer);
    }
    typist.join();
    return buffer;
  }

  PseudoTerminal terminal_;
  StreamReader screen_{terminal_.controller()};
  size_t prompts_seen_ = 0;
};

TEST_F(SysConsoleReadLineTerminal, ShowsThePromptAndGivesTheLine) {
  EXPECT_EQ(Read({"typed\r"}), "typed");
  EXPECT_NE(screen_.text().find(kPrompt), std::string::npos);
}

TEST_F(SysConsoleReadLineTerminal, LineCanBeEdited) {
  EXPECT_EQ(Read({"tyXX\x7F\x7Fped\r"}), "typed");
}

TEST_F(SysConsoleReadLineTerminal, PromptMayBeNull) {
  terminal_.Type("without\n");
  EXPECT_EQ(Read({}, nullptr), "without");
}

TEST_F(SysConsoleReadLineTerminal, EarlierLinesComeBackFromTheHistory) {
  EXPECT_EQ(Read({"one\r"}), "one");
  EXPECT_EQ(Read({"two\r"}), "two");
  constexpr char kTwiceUp[] = "\x10\x10\r";
  EXPECT_EQ(Read({kTwiceUp}), "one");
  EXPECT_EQ(HistoryLines(), (Lines{"one", "two", "one"}));
}

TEST_F(SysConsoleReadLineTerminal, EndOfInputAsksAgainUntilALineComes) {
  EXPECT_EQ(Read({"\x04", "\x04", "line\r"}), "line");
  EXPECT_EQ(lines_asked_for, 3);
  EXPECT_EQ(HistoryLines(), Lines{"line"});
}

// ---- SYS_ConsoleReadLine at the end of input ----

double ProcessorSeconds(pid_t pid) {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

TEST(SysConsoleReadLineAtTheEnd, NeverReturnsAndKeepsAProcessorBusy) {
  KeepEditlinePlain();
  const int null_device = open("/dev/null", O_RDWR | O_CLOEXEC);
  fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    for (int stream = 0; stream <= 2; ++stream) dup2(null_device, stream);
    char buffer[16];
    SYS_ConsoleReadLine(kPrompt, buffer, sizeof buffer);
    _exit(0);
  }
  close(null_device);
  EXPECT_TRUE(WaitUntil([&] { return ProcessorSeconds(child) > 0.5; }));
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, WNOHANG), 0) << "it returned";
  kill(child, SIGKILL);
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status));
}

// ---- SYS_ConsoleWrite: system calls ----

// Standard output in packets: what one system call writes arrives as one.
class Packets {
 public:
  Packets() {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends_), 0);
    output_.emplace(STDOUT_FILENO, ends_[1]);
  }
  ~Packets() {
    output_.reset();
    close(ends_[0]);
    close(ends_[1]);
  }
  Packets(const Packets&) = delete;
  Packets& operator=(const Packets&) = delete;

  // Puts the old standard output back and returns what was written to the other.
  Lines End() {
    output_.reset();
    Lines packets;
    std::string packet(65536, 0);
    ssize_t size;
    while ((size = recv(ends_[0], packet.data(), packet.size(), MSG_DONTWAIT)) >= 0) {
      packets.push_back(packet.substr(0, static_cast<size_t>(size)));
    }
    return packets;
  }

 private:
  int ends_[2] = {-1, -1};
  std::optional<ReplacedDescriptor> output_;
};

std::string Pattern(size_t size) {
  std::string text(size, 0);
  for (size_t i = 0; i < size; ++i) text[i] = static_cast<char>((i * 31 + i / 251) % 256);
  return text;
}

int32_t Write(std::string_view bytes) {
  return SYS_ConsoleWrite(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

TEST(SysConsoleWrite, EachCallIsOneSystemCall) {
  const std::string large = Pattern(16383);
  Packets packets;
  const int32_t results[] = {Write("one"), Write(large), Write("\r\n")};
  EXPECT_EQ(packets.End(), (Lines{"one", large, "\r\n"}));
  for (const int32_t result : results) EXPECT_EQ(result, 0);
}

TEST(SysConsoleWrite, ZeroBytesGoOutLikeOthers) {
  Packets packets;
  Write(std::string_view("a\0b\0", 4));
  EXPECT_EQ(packets.End(), Lines{std::string("a\0b\0", 4)});
}

TEST(SysConsoleWrite, LengthZeroWritesNothing) {
  Packets packets;
  const int32_t result = SYS_ConsoleWrite(nullptr, 0);
  EXPECT_EQ(packets.End(), Lines{});
  EXPECT_EQ(result, 0);
}

TEST(SysConsoleWrite, WhatStdioHoldsGoesOutFirst) {
  Packets packets;
  printf("held by stdio, ");
  Write("written");
  EXPECT_EQ(packets.End(), (Lines{"held by stdio, ", "written"}));
}

TEST(SysConsoleWrite, LengthZeroLetsOutWhatStdioHolds) {
  Packets packets;
  printf("held");
  SYS_ConsoleWrite(nullptr, 0);
  printf(" later");
  EXPECT_EQ(packets.End(), (Lines{"held", " later"}));
}

// ---- SYS_ConsoleWrite: slow readers ----

void Fill(const Pipe& pipe) {
  const int flags = fcntl(pipe.writing, F_GETFL);
  fcntl(pipe.writing, F_SETFL, flags | O_NONBLOCK);
  const std::string chunk(4096, 'f');
  while (write(pipe.writing, chunk.data(), chunk.size()) > 0) continue;
  fcntl(pipe.writing, F_SETFL, flags);
}

size_t BytesIn(const Pipe& pipe) {
  int waiting = 0;
  ioctl(pipe.reading, FIONREAD, &waiting);
  return static_cast<size_t>(waiting);
}

// Collects on a thread of its own what one SYS_ConsoleWrite puts into a pipe.
class PipeReader {
 public:
  explicit PipeReader(const Pipe& pipe) : pipe_(pipe) {}

  // Reads a part of what waits, once something does; false when nothing more will come.
  bool ReadSome(size_t most) {
    EXPECT_TRUE(WaitUntil([&] { return BytesIn(pipe_) > 0 || is_written_; }));
    std::string chunk(std::min(most, BytesIn(pipe_)), 0);
    if (chunk.empty()) return false;
    EXPECT_EQ(read(pipe_.reading, chunk.data(), chunk.size()), static_cast<ssize_t>(chunk.size()));
    received_ += chunk;
    return true;
  }

  // Runs the thread and the writing; returns the result of the latter.
  template <typename Reading>
  int32_t Run(Reading reading, std::string_view bytes) {
    std::thread reader(reading);
    int32_t result = -1;
    {
      const ReplacedDescriptor output(STDOUT_FILENO, pipe_.writing);
      result = Write(bytes);
    }
    is_written_ = true;
    reader.join();
    return result;
  }

  bool IsWritten() const { return is_written_; }
  const std::string& received() const { return received_; }

 private:
  const Pipe& pipe_;
  std::atomic<bool> is_written_ = false;
  std::string received_;
};

TEST(SysConsoleWrite, FullNonBlockingOutputLosesNothing) {
  const std::string sent = Pattern(size_t{4} << 20);
  const Pipe pipe(O_NONBLOCK);
  PipeReader reader(pipe);
  int times_full = 0;
  const auto read_slowly = [&] {
    do {  // each read waits until the pipe is full, as long as more is to come
      EXPECT_TRUE(WaitUntil([&] { return pipe.IsFull() || reader.IsWritten(); }));
      if (!reader.IsWritten()) ++times_full;
    } while (reader.ReadSome(50'000));
  };
  EXPECT_EQ(reader.Run(read_slowly, sent), 0);
  EXPECT_TRUE(reader.received() == sent) << reader.received().size() << " bytes arrived";
  EXPECT_GT(times_full, 10);
}

double ThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// The reader stays away for half a second, of which the writer may use a small part.
TEST(SysConsoleWrite, FullNonBlockingOutputKeepsNoProcessorBusy) {
  const Pipe pipe(O_NONBLOCK);
  Fill(pipe);
  std::thread reader([&] {
    std::this_thread::sleep_for(milliseconds(500));
    std::string chunk(65536, 0);
    EXPECT_GT(read(pipe.reading, chunk.data(), chunk.size()), 0);
  });
  double used = 0;
  int32_t result = -1;
  {
    const ReplacedDescriptor output(STDOUT_FILENO, pipe.writing);
    const double start = ThreadSeconds();
    result = Write("x");
    used = ThreadSeconds() - start;
  }
  reader.join();
  EXPECT_EQ(result, 0);
  EXPECT_LT(used, 0.2);
}

TEST(SysConsoleWrite, FullNonBlockingTerminalLosesNothing) {
  const std::string sent(200'000, 't');
  PseudoTerminal terminal;
  terminal.TurnOffOutputProcessing();
  ASSERT_EQ(fcntl(terminal.device(), F_SETFL, O_NONBLOCK), 0);
  StreamReader screen(terminal.controller());
  std::thread reader([&] {
    pollfd request{.fd = terminal.device(), .events = POLLOUT, .revents = 0};
    WaitUntil([&] { return poll(&request, 1, 0) == 0; });
    EXPECT_TRUE(screen.WaitForSize(sent.size()));
  });
  int32_t result = -1;
  {
    const ReplacedDescriptor output(STDOUT_FILENO, terminal.device());
    result = Write(sent);
  }
  reader.join();
  EXPECT_EQ(result, 0);
  EXPECT_TRUE(screen.text() == sent);
}

// ---- SYS_ConsoleWrite: signals ----

std::atomic<int> signals_handled = 0;

// True when the main thread waits in a system call.
bool MainThreadSleeps() {
  std::ifstream file("/proc/self/task/" + std::to_string(getpid()) + "/stat");
  std::string text;
  std::getline(file, text);
  const size_t name_end = text.rfind(')');
  return name_end != std::string::npos && text.substr(name_end, 3) == ") S";
}

// Interrupts the main thread's write and returns when the signal was handled.
void InterruptMainThread(pthread_t main_thread) {
  EXPECT_TRUE(WaitUntil(MainThreadSleeps));
  const int before = signals_handled;
  pthread_kill(main_thread, SIGUSR1);
  EXPECT_TRUE(WaitUntil([&] { return signals_handled > before; }));
}

void ExpectNothingLostDespiteSignals(int pipe_flags) {
  struct sigaction action {};
  action.sa_handler = [](int) { ++signals_handled; };  // no SA_RESTART
  sigaction(SIGUSR1, &action, nullptr);
  const std::string sent = Pattern(200'000);
  const Pipe pipe(pipe_flags);
  Fill(pipe);
  const std::string filling(BytesIn(pipe), 'f');
  PipeReader reader(pipe);
  const auto interrupt_and_read = [&, main_thread = pthread_self()] {
    // While the pipe is full the write takes nothing.
    for (int i = 0; i < 3; ++i) InterruptMainThread(main_thread);
    // Now it takes a part and then waits.
    reader.ReadSome(filling.size() / 2);
    EXPECT_TRUE(WaitUntil([&] { return pipe.IsFull(); }));
    InterruptMainThread(main_thread);
    while (reader.ReadSome(SIZE_MAX)) continue;
  };
  EXPECT_EQ(reader.Run(interrupt_and_read, sent), 0);
  EXPECT_TRUE(reader.received() == filling + sent) << reader.received().size() << " bytes arrived";
  EXPECT_EQ(signals_handled, 4);
}

TEST(SysConsoleWrite, GoesOnAfterASignal) { ExpectNothingLostDespiteSignals(0); }

TEST(SysConsoleWrite, GoesOnAfterASignalWhileWaitingForRoom) {
  ExpectNothingLostDespiteSignals(O_NONBLOCK);
}

// ---- SYS_ConsoleWrite: output that refuses ----

int32_t WriteTo(int descriptor) {
  const ReplacedDescriptor output(STDOUT_FILENO, descriptor);
  return Write("refused");
}

TEST(SysConsoleWrite, ClosedOutputGivesMinusOne) { EXPECT_EQ(WriteTo(-1), -1); }

TEST(SysConsoleWrite, OutputWithoutAReaderGivesMinusOne) {
  signal(SIGPIPE, SIG_IGN);
  Pipe pipe;
  pipe.CloseReading();
  EXPECT_EQ(WriteTo(pipe.writing), -1);
}

TEST(SysConsoleWrite, HungUpTerminalGivesMinusOne) {
  PseudoTerminal terminal;
  terminal.CloseController();
  EXPECT_EQ(WriteTo(terminal.device()), -1);
}

TEST(SysConsoleWrite, FullDeviceGivesMinusOne) {
  const int full_device = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full_device, 0);
  EXPECT_EQ(WriteTo(full_device), -1);
  close(full_device);
}

TEST(SysConsoleWrite, OutputThatLosesItsReaderOnTheWayGivesMinusOne) {
  signal(SIGPIPE, SIG_IGN);
  Pipe pipe;
  std::thread reader([&] {
    WaitUntil([&] { return pipe.IsFull(); });
    pipe.CloseReading();
  });
  int32_t result = 0;
  {
    const ReplacedDescriptor output(STDOUT_FILENO, pipe.writing);
    result = Write(Pattern(1'000'000));
  }
  reader.join();
  EXPECT_EQ(result, -1);
}

TEST(SysConsoleWrite, RefusedBytesAreDropped) {
  EXPECT_EQ(WriteTo(-1), -1);
  Packets packets;
  Write("later");
  EXPECT_EQ(packets.End(), Lines{"later"});
}

}  // namespace
