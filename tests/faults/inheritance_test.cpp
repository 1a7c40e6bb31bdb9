// SPDX-License-Identifier: MIT

// Which descriptors a program that is started gets along: of one of each kind that the system layer
// and the probe binding open.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <map>
#include <set>
#include <string>

#include "probe/probelib.h"
#include "sys/sys.h"
#include "tests/support/child_process.h"
#include "tests/support/loopback.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/stream_reader.h"
#include "tests/support/temporary_home.h"

namespace {

// Starts the program as any code of this process would, and returns the descriptors it found.
std::set<int> FoundInChild() {
  const support::Pipe pipe = support::MakePipe();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe.writing, STDOUT_FILENO);
  char name[] = CHILD_PROGRAM;
  char* const arguments[] = {name, nullptr};
  pid_t child = 0;
  EXPECT_EQ(posix_spawn(&child, name, &actions, nullptr, arguments, environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  close(pipe.writing);
  std::string text;
  char buffer[256];
  for (ssize_t got = 0; (got = read(pipe.reading, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<size_t>(got));
  }
  close(pipe.reading);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  std::set<int> found;
  for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
    found.insert(atoi(text.c_str() + at));
  }
  return found;
}

// Calls open and returns the descriptors that are there afterwards and were not before.
template <typename Open>
std::set<int> NewDescriptors(Open open) {
  const auto before = support::OpenDescriptors();
  open();
  std::set<int> now;
  for (const int descriptor : support::OpenDescriptors()) now.insert(descriptor);
  for (const int descriptor : before) now.erase(descriptor);
  return now;
}

class Inheritance : public testing::Test {
 protected:
  // Opens one descriptor of this kind.
  template <typename Open>
  void Add(const char* kind, Open open) {
    const auto descriptors = NewDescriptors(open);
    EXPECT_EQ(descriptors.size(), 1U) << kind;
    for (const int descriptor : descriptors) kinds_[descriptor] = kind;
  }

  void ExpectNoneInChild() const {
    const std::set<int> found = FoundInChild();
    EXPECT_TRUE(found.contains(STDOUT_FILENO));
    for (const auto& [descriptor, kind] : kinds_) EXPECT_FALSE(found.contains(descriptor)) << kind;
  }

  void CloseAll() const {
    for (const auto& [descriptor, kind] : kinds_) close(descriptor);
  }

  std::map<int, const char*> kinds_;
  const support::TemporaryHome home_;
};

TEST_F(Inheritance, LeavesFilesAndDevicesBehind) {
  const std::string path = home_.Write("file", "text");
  const support::PseudoTerminal device;
  SYS_COM_PORT* port = nullptr;
  Add("a file", [&] { SYS_FILE_Open(path.c_str(), SYS_FILE_FLAG_READ); });
  Add("a new file",
      [&] { SYS_FILE_OpenEx("~/new/file", SYS_FILE_FLAG_WRITE | SYS_FILE_FLAG_CREATE); });
  Add("a file that was waited for",
      [&] { SYS_FILE_OpenRetry(path.c_str(), SYS_FILE_FLAG_READ, 1, 0); });
  // The call keeps it for the life of the process.
  Add("the file of a unique name", [] {
    char folder[SYS_PATH_CAPACITY];
    SYS_GetTempDir(folder, sizeof folder);
  });
  Add("a serial port",
      [&] { port = SYS_COM_Open(device.device_path().substr(strlen("/dev/")).c_str(), 115200); });
  ExpectNoneInChild();
  ASSERT_NE(port, nullptr);
  kinds_.erase(port->descriptor);
  SYS_COM_Close(port);
  CloseAll();
}

// What is opened and closed inside one call leaves nothing that could be inherited afterwards.
TEST_F(Inheritance, FindsNothingOfCallsThatOpenForAMoment) {
  char text[SYS_PATH_CAPACITY];
  uint32_t address = 0;
  SYS_SOCKET_INTERFACE interfaces[4];
  const auto descriptors = NewDescriptors([&] {
    SYS_GetRandomBytes(text, 16);
    SYS_FILE_Exists("/");
    SYS_SOCKET_GetInterfaces(interfaces, 4, 0);
    SYS_SOCKET_Resolve("127.0.0.1", nullptr, &address);
    SYS_COM_EnumPorts(nullptr, 0);
    SYS_StartProcess(nullptr, "/bin/true");
    PROBELIB_Open();
  });
  EXPECT_TRUE(descriptors.empty());
}

// The C library's connection to the log, where there is a log.
TEST_F(Inheritance, LeavesTheLogBehind) {
  const auto descriptors = NewDescriptors([] { SYS_SysLog("message"); });
  const std::set<int> found = FoundInChild();
  for (const int descriptor : descriptors) EXPECT_FALSE(found.contains(descriptor));
  closelog();
}

TEST_F(Inheritance, LeavesSocketsBehind) {
  const support::Listener listener;
  const support::Peer client = support::ConnectTo(listener.port());
  const support::Listener target;
  Add("a stream socket", [] { SYS_SOCKET_Create(); });
  Add("a datagram socket", [] { SYS_SOCKET_CreateUDP(); });
  Add("an accepted connection", [&] { SYS_SOCKET_Accept(listener.descriptor()); });
  Add("a timed connection",
      [&] { SYS_SOCKET_ConnectTimeout(support::kLoopbackAddress, target.port(), 5000, nullptr); });
  if (support::HasIpv6Loopback()) {
    Add("a stream socket of IPv6", [] { SYS_SOCKET_Create6(0); });
    Add("a datagram socket of IPv6", [] { SYS_SOCKET_CreateUDP6(0); });
  }
  ExpectNoneInChild();
  CloseAll();
}

}  // namespace
