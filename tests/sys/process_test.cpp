#include "sys/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "tests/support/child_process.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/open_descriptors.h"

namespace {

using std::chrono::milliseconds;
using support::GuardedBuffer;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// ---- Idle sleep ----

TEST(SysPreventIdleSleep, AnyOrderOfCallsIsFine) {
  SYS_AllowIdleSleep();
  SYS_PreventIdleSleep();
  SYS_PreventIdleSleep();
  SYS_AllowIdleSleep();
  SYS_AllowIdleSleep();
}

// ---- Random bytes ----

TEST(SysGetRandomBytes, FillsExactlyTheBuffer) {
  GuardedBuffer first(256);
  GuardedBuffer second(256);
  EXPECT_EQ(SYS_GetRandomBytes(first.data(), 256), 0);
  EXPECT_EQ(SYS_GetRandomBytes(second.data(), 256), 0);
  EXPECT_FALSE(first.IsUntouched(0, 256));
  EXPECT_FALSE(std::equal(first.bytes(), first.bytes() + 256, second.bytes()));
}

TEST(SysGetRandomBytes, LengthZeroTouchesNothing) {
  GuardedBuffer buffer(4);
  EXPECT_EQ(SYS_GetRandomBytes(buffer.data(), 0), 0);
  EXPECT_TRUE(buffer.IsUntouched(0, 4));
}

TEST(SysGetRandomBytes, TouchesOnlyItsLength) {
  GuardedBuffer buffer(64);
  EXPECT_EQ(SYS_GetRandomBytes(buffer.data(), 16), 0);
  EXPECT_TRUE(buffer.IsUntouched(16, 64));
}

TEST(SysGetRandomBytes, LeavesNoDescriptorOpen) {
  const auto before = support::OpenDescriptors();
  char bytes[8];
  SYS_GetRandomBytes(bytes, sizeof bytes);
  EXPECT_EQ(support::OpenDescriptors(), before);
}

TEST(SysGetRandomBytes, DeviceThatCannotBeOpenedGivesMinusOneAndTouchesNothing) {
  GuardedBuffer buffer(16);
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{.rlim_cur = 0, .rlim_max = limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_EQ(SYS_GetRandomBytes(buffer.data(), 16), -1);
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_TRUE(buffer.IsUntouched(0, 16));
}

// ---- Child processes ----

// A folder that goes away with the test.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "tarven-process-XXXXXX";
    path_ = mkdtemp(name.data());
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// An executable script that writes what a line of shell prints into the file "report" beside it.
std::string MakeScript(const std::filesystem::path& folder, const std::string& line) {
  const std::filesystem::path script = folder / "script";
  std::ofstream(script) << "#!/bin/sh\n{ " << line << "; } >" << folder.string()
                        << "/report.new\nmv " << folder.string() << "/report.new "
                        << folder.string() << "/report\n";
  chmod(script.c_str(), 0755);
  return script;
}

std::string AwaitReport(const std::filesystem::path& folder) {
  const auto deadline = std::chrono::steady_clock::now() + support::kPatience;
  while (!std::filesystem::exists(folder / "report")) {
    if (std::chrono::steady_clock::now() > deadline) return "no report";
    std::this_thread::sleep_for(milliseconds(5));
  }
  std::ostringstream text;
  text << std::ifstream(folder / "report").rdbuf();
  wait(nullptr);  // nobody else does
  return text.str();
}

TEST(SysStartProcess, PassesThePathAsTheOnlyArgument) {
  const TemporaryFolder folder;
  const std::string script = MakeScript(folder.path(), "echo \"$# $0\"");
  EXPECT_EQ(SYS_StartProcess(nullptr, script.c_str()), 0);
  EXPECT_EQ(AwaitReport(folder.path()), "0 " + script + "\n");
}

TEST(SysStartProcess, PassesTheEnvironment) {
  const TemporaryFolder folder;
  setenv("TARVEN_TEST_MARK", "passed on", 1);
  SYS_StartProcess("not read", MakeScript(folder.path(), "echo \"$TARVEN_TEST_MARK\"").c_str());
  EXPECT_EQ(AwaitReport(folder.path()), "passed on\n");
}

TEST(SysStartProcess, NoDescriptorReachesTheChildNotEvenTheStandardStreams) {
  const TemporaryFolder folder;
  const int open_here = open("/dev/null", O_RDONLY);  // not close-on-exec
  const int far_away = support::DuplicateAtOrAbove(open_here, 500);
  fcntl(far_away, F_SETFD, 0);
  // The shell asks itself; what it opened is the script (10 or above) and the report (1).
  const std::string script = MakeScript(
      folder.path(), "for n in 0 2 3 4 5 6 7 8 9 " + std::to_string(open_here) + " " +
                         std::to_string(far_away) +
                         "; do [ -e /proc/$$/fd/$n ] && readlink /proc/$$/fd/$n; done; echo end");
  EXPECT_EQ(SYS_StartProcess(nullptr, script.c_str()), 0);
  const std::string report = AwaitReport(folder.path());
  EXPECT_EQ(report.find("/dev/null"), std::string::npos) << report;
  EXPECT_EQ(report.find("pipe:"), std::string::npos) << report;
  EXPECT_EQ(report.find("/dev/pts"), std::string::npos) << report;
  EXPECT_NE(report.find("end"), std::string::npos);
  close(open_here);
  close(far_away);
}

TEST(SysStartProcess, DoesNotWaitForTheChild) {
  const TemporaryFolder folder;
  const std::string script = MakeScript(folder.path(), "while [ ! -e " + folder.path().string() +
                                                           "/go ]; do sleep 0.01; done; echo gone");
  EXPECT_EQ(SYS_StartProcess(nullptr, script.c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "report"));
  std::ofstream(folder.path() / "go") << "";
  EXPECT_EQ(AwaitReport(folder.path()), "gone\n");
}

TEST(SysStartProcess, MissingOrUnusableExecutableGivesAnError) {
  const TemporaryFolder folder;
  EXPECT_EQ(SYS_StartProcess(nullptr, (folder.path() / "missing").c_str()), ENOENT);
  std::ofstream(folder.path() / "plain") << "text";
  EXPECT_EQ(SYS_StartProcess(nullptr, (folder.path() / "plain").c_str()), EACCES);
}

// ---- Host ----

TEST(SysGetNumCPUs, CountsTheLogicalProcessors) {
  EXPECT_EQ(SYS_GetNumCPUs(), sysconf(_SC_NPROCESSORS_ONLN));
  EXPECT_GE(SYS_GetNumCPUs(), 1);
}

TEST(SysGetOSType, IsTheCodeOfMacOs) { EXPECT_EQ(SYS_GetOSType(), 0x3000u); }

TEST(SysGetLastError, IsTheThreadsErrno) {
  errno = ENOTDIR;
  EXPECT_EQ(SYS_GetLastError(), ENOTDIR);
  std::thread([] { EXPECT_EQ(SYS_GetLastError(), 0); }).join();
}

// ---- System log ----

// What a message looks like in the log, behind the program's name and a colon.
std::string Logged(const std::string& message) {
  openlog("test", LOG_PERROR, LOG_MAIL);  // also to standard error; the facility is not taken over
  CaptureStderr();
  SYS_SysLog(message.c_str());
  return GetCapturedStderr();
}

TEST(SysSysLog, ShortMessagesArePaddedTo128CharactersOnTheLeft) {
  EXPECT_EQ(Logged("abc"), "test: " + std::string(125, ' ') + "abc\n");
  EXPECT_EQ(Logged(""), "test: " + std::string(128, ' ') + "\n");
}

TEST(SysSysLog, LongMessagesAreWrittenWhole) {
  EXPECT_EQ(Logged(std::string(128, 'm')), "test: " + std::string(128, 'm') + "\n");
  EXPECT_EQ(Logged(std::string(300, 'm')), "test: " + std::string(300, 'm') + "\n");
}

TEST(SysSysLog, MessageIsNoFormat) {
  EXPECT_EQ(Logged("100%s%n"), "test: " + std::string(121, ' ') + "100%s%n\n");
}

TEST(SysSysLog, LevelIsDebug) {
  setlogmask(LOG_UPTO(LOG_INFO));
  EXPECT_EQ(Logged("hidden"), "");
  setlogmask(LOG_MASK(LOG_DEBUG));
  EXPECT_NE(Logged("shown"), "");
}

TEST(SysSysLog, ReachesTheLogWithPriority15) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  snprintf(address.sun_path, sizeof address.sun_path, "/dev/log");
  const int log = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (bind(log, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    close(log);
    GTEST_SKIP() << "/dev/log is taken by a log daemon, or not ours to make";
  }
  SYS_SysLog("abc");
  char message[512];
  const ssize_t length = recv(log, message, sizeof message, MSG_DONTWAIT);
  unlink("/dev/log");
  close(log);
  ASSERT_GT(length, 0);
  const std::string text(message, static_cast<size_t>(length));
  EXPECT_EQ(text.substr(0, 4), "<15>");
  EXPECT_NE(text.find(": " + std::string(125, ' ') + "abc"), std::string::npos) << text;
}

}  // namespace
