// SPDX-License-Identifier: MIT

#include "sys/process.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/replaced_descriptor.h"
#include "tests/support/stream_reader.h"
#include "tests/support/temporary_folder.h"

namespace {

using support::GuardedBuffer;
using support::ReplacedDescriptor;
using support::StreamReader;
using testing::ElementsAre;

// What the functions below were asked for, while somebody listens.
bool is_listening = false;
std::vector<std::string> calls;

constexpr size_t kNoLimit = SIZE_MAX;
size_t longest_read = kNoLimit;
int result_of_close = 0;

uint32_t next_assertion = 0;

}  // namespace

// They take the places of the functions without "__wrap_" for everything linked into this program.
extern "C" {

int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int descriptor, void* buffer, size_t length);
int __real_close(int descriptor);
void __real__ZN8platform24CreateIdleSleepAssertionEPj(uint32_t* assertion);
void __real__ZN8platform25ReleaseIdleSleepAssertionEj(uint32_t assertion);

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (is_listening) {
    calls.push_back(std::string("open ") + path +
                    (flags == (O_RDONLY | O_CLOEXEC) ? " read-only, close-on-exec" : " otherwise"));
  }
  return __real_open(path, flags, mode);
}

ssize_t __wrap_read(int descriptor, void* buffer, size_t length) {
  if (!is_listening) return __real_read(descriptor, buffer, length);
  calls.push_back("read " + std::to_string(length));
  return __real_read(descriptor, buffer, std::min(length, longest_read));
}

int __wrap_close(int descriptor) {
  const int result = __real_close(descriptor);
  if (!is_listening) return result;
  calls.push_back("close");
  return result_of_close == 0 ? result : result_of_close;
}

// On Linux the real functions do nothing that could be seen.
void __wrap__ZN8platform24CreateIdleSleepAssertionEPj(uint32_t* assertion) {
  calls.push_back("create");
  __real__ZN8platform24CreateIdleSleepAssertionEPj(assertion);
  if (next_assertion != 0) *assertion = next_assertion++;
}

void __wrap__ZN8platform25ReleaseIdleSleepAssertionEj(uint32_t assertion) {
  calls.push_back("release " + std::to_string(assertion));
  __real__ZN8platform25ReleaseIdleSleepAssertionEj(assertion);
}

}  // extern "C"

namespace {

// ---- Idle sleep ----

class SysIdleSleep : public testing::Test {
 protected:
  SysIdleSleep() { next_assertion = 7; }
};

TEST_F(SysIdleSleep, PreventCreatesTheAssertion) {
  SYS_PreventIdleSleep();
  EXPECT_THAT(calls, ElementsAre("create"));
}

TEST_F(SysIdleSleep, SecondPreventDoesNothing) {
  SYS_PreventIdleSleep();
  SYS_PreventIdleSleep();
  EXPECT_THAT(calls, ElementsAre("create"));
}

TEST_F(SysIdleSleep, AllowReleasesTheAssertionThatWasCreated) {
  SYS_PreventIdleSleep();
  SYS_AllowIdleSleep();
  EXPECT_THAT(calls, ElementsAre("create", "release 7"));
}

TEST_F(SysIdleSleep, AllowWithoutPreventDoesNothing) {
  SYS_AllowIdleSleep();
  EXPECT_TRUE(calls.empty());
}

TEST_F(SysIdleSleep, OneAllowReleasesHoweverOftenItWasPrevented) {
  SYS_PreventIdleSleep();
  SYS_PreventIdleSleep();
  SYS_AllowIdleSleep();
  SYS_AllowIdleSleep();
  EXPECT_THAT(calls, ElementsAre("create", "release 7"));
}

TEST_F(SysIdleSleep, CanBePreventedAndAllowedAgain) {
  SYS_PreventIdleSleep();
  SYS_AllowIdleSleep();
  SYS_PreventIdleSleep();
  SYS_AllowIdleSleep();
  EXPECT_THAT(calls, ElementsAre("create", "release 7", "create", "release 8"));
}

TEST_F(SysIdleSleep, FailedCreationCountsAsHeld) {
  next_assertion = 0;  // nothing is stored, as when the system refuses
  SYS_PreventIdleSleep();
  SYS_PreventIdleSleep();
  SYS_AllowIdleSleep();
  EXPECT_THAT(calls, ElementsAre("create", "release 0"));
}

// ---- Random bytes ----

TEST(SysGetRandomBytes, FillsExactlyTheLength) {
  GuardedBuffer buffer(48);
  EXPECT_EQ(SYS_GetRandomBytes(buffer.data(), 32), 0);
  // Each half of the 32 stays at the fill once in 2 to the 128 runs.
  EXPECT_FALSE(buffer.IsUntouched(0, 16));
  EXPECT_FALSE(buffer.IsUntouched(16, 32));
  EXPECT_TRUE(buffer.IsUntouched(32, 48));
}

TEST(SysGetRandomBytes, StoresNothingBehindABufferOfThatLength) {
  GuardedBuffer buffer(4096);
  EXPECT_EQ(SYS_GetRandomBytes(buffer.data(), 4096), 0);
  EXPECT_FALSE(buffer.IsUntouched(4080, 4096));
}

TEST(SysGetRandomBytes, TwoDrawsDiffer) {
  uint8_t first[32] = {};
  uint8_t second[32] = {};
  EXPECT_EQ(SYS_GetRandomBytes(first, sizeof first), 0);
  EXPECT_EQ(SYS_GetRandomBytes(second, sizeof second), 0);
  EXPECT_NE(memcmp(first, second, sizeof first), 0);
}

TEST(SysGetRandomBytes, LengthZeroStoresNothing) {
  GuardedBuffer buffer(8);
  EXPECT_EQ(SYS_GetRandomBytes(buffer.data(), 0), 0);
  EXPECT_TRUE(buffer.IsUntouched(0, 8));
}

TEST(SysGetRandomBytes, LeavesNoDescriptorOpen) {
  const std::vector<int> before = support::OpenDescriptors();
  uint8_t bytes[8];
  SYS_GetRandomBytes(bytes, sizeof bytes);
  EXPECT_EQ(support::OpenDescriptors(), before);
}

TEST(SysGetRandomBytes, DeviceThatCannotBeOpenedGivesMinusOneAndLeavesTheBuffer) {
  EXPECT_EQ(support::RunInChild([] {
              const rlimit no_more{.rlim_cur = 0, .rlim_max = 0};
              setrlimit(RLIMIT_NOFILE, &no_more);
              GuardedBuffer buffer(16);
              if (SYS_GetRandomBytes(buffer.data(), 16) != -1) return 1;
              return buffer.IsUntouched(0, 16) ? 0 : 2;
            }),
            0);
}

TEST(SysGetRandomBytes, ReadsTheRandomDeviceOnceAndClosesIt) {
  uint8_t bytes[24];
  is_listening = true;
  SYS_GetRandomBytes(bytes, sizeof bytes);
  is_listening = false;
  EXPECT_THAT(calls, ElementsAre("open /dev/random read-only, close-on-exec", "read 24", "close"));
}

TEST(SysGetRandomBytes, ShortReadIsNeitherRepeatedNorReported) {
  GuardedBuffer buffer(64);
  longest_read = 32;
  is_listening = true;
  const int32_t result = SYS_GetRandomBytes(buffer.data(), 64);
  is_listening = false;
  EXPECT_EQ(result, 0);
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "read 64"), 1);
  EXPECT_FALSE(buffer.IsUntouched(0, 32));
  EXPECT_TRUE(buffer.IsUntouched(32, 64));
}

TEST(SysGetRandomBytes, GivesTheResultOfClosing) {
  uint8_t bytes[8];
  result_of_close = -1;
  is_listening = true;
  const int32_t result = SYS_GetRandomBytes(bytes, sizeof bytes);
  is_listening = false;
  EXPECT_EQ(result, -1);
}

// ---- Starting a program ----

// A folder for the report of the program that was started.
class SysStartProcess : public testing::Test {
 protected:
  SysStartProcess() { setenv("PROCESS_TEST_REPORT", report_path_.c_str(), 1); }

  // Waits for the program's end and returns the lines it wrote. That this can be done at all shows
  // that nobody else has waited for it.
  std::vector<std::string> ReportOfChild() {
    int status = 0;
    EXPECT_GT(waitpid(-1, &status, 0), 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 17);
    std::vector<std::string> lines;
    std::ifstream file(report_path_);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }

  const support::TemporaryFolder folder_;
  const std::string report_path_ = folder_.path() / "report";
};

TEST_F(SysStartProcess, ProgramGetsThePathAloneNoDescriptorAndTheEnvironment) {
  setenv("PROCESS_TEST_MARKER", "handed down", 1);
  EXPECT_EQ(SYS_StartProcess(nullptr, CHILD_PROGRAM), 0);
  EXPECT_THAT(ReportOfChild(),
              ElementsAre("arguments: 1", "argument: " CHILD_PROGRAM, "marker: handed down"));
}

TEST_F(SysStartProcess, OpenDescriptorsStayBehindWhateverTheirNumber) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);  // both survive an exec
  const int large = fcntl(ends[0], F_DUPFD, 1500);
  ASSERT_GE(large, 1500);
  EXPECT_EQ(SYS_StartProcess(nullptr, CHILD_PROGRAM), 0);
  EXPECT_THAT(ReportOfChild(), testing::Not(testing::Contains(testing::HasSubstr("descriptor"))));
  close(large);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(SysStartProcess, EnvironmentIsTheCurrentOne) {
  setenv("PROCESS_TEST_MARKER", "old", 1);
  setenv("PROCESS_TEST_MARKER", "new", 1);
  EXPECT_EQ(SYS_StartProcess(nullptr, CHILD_PROGRAM), 0);
  EXPECT_THAT(ReportOfChild(), testing::Contains("marker: new"));
}

TEST_F(SysStartProcess, FirstArgumentIsNotRead) {
  const auto* const nowhere = reinterpret_cast<const void*>(uintptr_t{1});
  EXPECT_EQ(SYS_StartProcess(nowhere, CHILD_PROGRAM), 0);
  EXPECT_THAT(ReportOfChild(), testing::Contains("arguments: 1"));
}

TEST_F(SysStartProcess, PathThatDoesNotExistGivesAnError) {
  EXPECT_NE(SYS_StartProcess(nullptr, (folder_.path() / "missing").c_str()), 0);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was left";
}

TEST_F(SysStartProcess, FileThatIsNoProgramGivesAnError) {
  std::ofstream(report_path_) << "text";
  EXPECT_NE(SYS_StartProcess(nullptr, report_path_.c_str()), 0);
}

TEST_F(SysStartProcess, PathIsNotLookedUp) { EXPECT_NE(SYS_StartProcess(nullptr, "sh"), 0); }

TEST_F(SysStartProcess, ReturnsBeforeTheProgramEnds) {
  // The program waits until somebody reads its report.
  ASSERT_EQ(mkfifo(report_path_.c_str(), 0600), 0);
  EXPECT_EQ(SYS_StartProcess(nullptr, CHILD_PROGRAM), 0);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), 0);
  std::ifstream report(report_path_);
  std::string line;
  std::getline(report, line);
  EXPECT_EQ(line, "arguments: 1");
  while (std::getline(report, line)) continue;
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

// ---- The machine ----

TEST(SysGetNumCPUs, IsTheNumberOfLogicalProcessors) {
  ASSERT_GT(std::thread::hardware_concurrency(), 0U);
  EXPECT_EQ(SYS_GetNumCPUs(), static_cast<int32_t>(std::thread::hardware_concurrency()));
}

TEST(SysGetOSType, IsTheCodeOfMacOsEverywhere) { EXPECT_EQ(SYS_GetOSType(), 12288U); }

// ---- The system log ----

// What goes to standard error when the log is copied there.
std::string LoggedTo(const char* message) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  {
    const ReplacedDescriptor error(STDERR_FILENO, ends[1]);
    openlog("name", LOG_PERROR, LOG_LOCAL0);
    SYS_SysLog(message);
    closelog();
  }
  close(ends[1]);
  StreamReader reader(ends[0]);
  EXPECT_TRUE(reader.WaitForEnd());
  close(ends[0]);
  return reader.text();
}

TEST(SysSysLog, ShortMessageIsPaddedOnTheLeftTo128) {
  EXPECT_EQ(LoggedTo("abc"), "name: " + std::string(125, ' ') + "abc\n");
}

TEST(SysSysLog, EmptyMessageIs128Spaces) {
  EXPECT_EQ(LoggedTo(""), "name: " + std::string(128, ' ') + "\n");
}

TEST(SysSysLog, LongMessageGoesOutWhole) {
  for (const size_t length : {127U, 128U, 129U, 700U}) {
    SCOPED_TRACE(length);
    const std::string message(length, 'm');
    const std::string padding = length == 127 ? " " : "";
    EXPECT_EQ(LoggedTo(message.c_str()), "name: " + padding + message + "\n");
  }
}

TEST(SysSysLog, MessageIsNoFormat) {
  EXPECT_EQ(LoggedTo("%d%s%n%%"), "name: " + std::string(120, ' ') + "%d%s%n%%\n");
}

TEST(SysSysLog, LevelIsDebug) {
  const int all = setlogmask(LOG_MASK(LOG_DEBUG));
  EXPECT_NE(LoggedTo("x"), "");
  setlogmask(all & ~LOG_MASK(LOG_DEBUG));
  EXPECT_EQ(LoggedTo("x"), "");
}

// Listens in the place of the system's log, in a view of the file system that nobody else has, and
// sends on what arrives; runs in a child. Returns the step that failed, or 0.
int ForwardOneLogMessage(int forward_to) {
  if (unshare(CLONE_NEWNS) != 0) return 1;
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 2;
  if (mount("none", "/dev", "tmpfs", 0, nullptr) != 0) return 3;
  const int listener = socket(AF_UNIX, SOCK_DGRAM, 0);
  const sockaddr_un address{.sun_family = AF_UNIX, .sun_path = "/dev/log"};
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return 4;
  openlog("name", 0, LOG_LOCAL0);
  SYS_SysLog("abc");
  char message[1024];
  const ssize_t size = recv(listener, message, sizeof message, MSG_DONTWAIT);
  if (size <= 0) return 5;
  support::WriteAll(forward_to, std::string_view(message, static_cast<size_t>(size)));
  return 0;
}

TEST(SysSysLog, FacilityIsUserAndLevelIsDebug) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const int failed_step = support::RunInChild([&] { return ForwardOneLogMessage(ends[1]); });
  close(ends[1]);
  StreamReader reader(ends[0]);
  EXPECT_TRUE(reader.WaitForEnd());
  close(ends[0]);
  if (failed_step >= 1 && failed_step <= 3) {
    GTEST_SKIP() << "a /dev/log of its own needs root and the right to mount (step " << failed_step
                 << ")";
  }
  ASSERT_EQ(failed_step, 0);
  EXPECT_THAT(reader.text(), testing::StartsWith("<15>"));
  EXPECT_THAT(reader.text(), testing::HasSubstr("name: " + std::string(125, ' ') + "abc"));
}

// ---- The last error ----

TEST(SysGetLastError, IsErrno) {
  errno = 0;
  EXPECT_EQ(SYS_GetLastError(), 0);
  open("/nowhere/at/all", O_RDONLY);
  EXPECT_EQ(SYS_GetLastError(), ENOENT);
}

TEST(SysGetLastError, IsTheCallingThreadsOwn) {
  errno = EDOM;
  int32_t of_other_thread = -1;
  std::thread([&] {
    errno = ERANGE;
    of_other_thread = SYS_GetLastError();
  }).join();
  EXPECT_EQ(of_other_thread, ERANGE);
  EXPECT_EQ(SYS_GetLastError(), EDOM);
}

}  // namespace
