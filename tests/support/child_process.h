// SPDX-License-Identifier: MIT

// Programs and functions that run in a process of their own.
#ifndef TARVEN_TESTS_SUPPORT_CHILD_PROCESS_H_
#define TARVEN_TESTS_SUPPORT_CHILD_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/stream_reader.h"

namespace support {

// Both ends close on exec; whoever makes a pipe closes them.
struct Pipe {
  int reading;
  int writing;
};
Pipe MakePipe();

// The descriptors that become 0, 1 and 2 in the child; -1 leaves that one closed there.
struct StandardStreams {
  int input = 0;
  int output = 1;
  int error = 2;
};

struct ChildOptions {
  StandardStreams streams = {};
  // The file to run, where the name the program is started under, arguments[0], is to be another.
  std::string program = {};
  // Starts a session of its own with standard input as its controlling terminal, so that the
  // terminal's control keys raise signals there.
  bool controls_terminal = false;
  // "NAME=value" pairs added to this process's environment.
  std::vector<std::string> environment = {};
  // Called in the child just before the program starts, e.g. to set a limit.
  std::function<void()> prepare = {};
};

// A running program. With the object it is asked to end, and killed when it does not within a second.
class ChildProcess {
 public:
  // Starts arguments[0], looked up in PATH when it has no slash. Descriptors above 2 stay behind.
  explicit ChildProcess(const std::vector<std::string>& arguments,
                        const ChildOptions& options = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  void Signal(int signal_number) const;
  bool IsRunning();

  // Waits for the end and returns the exit status, or minus the signal's number when a signal ended
  // it; nothing when the time passes first.
  std::optional<int> WaitForExit(std::chrono::milliseconds patience = kPatience);

 private:
  bool Reap(int flags);

  pid_t pid_;
  std::optional<int> exit_status_;
};

// Runs a function in a forked child and returns its result as the exit status (0 to 255), or minus
// the signal's number. For tests that close standard streams, lower limits or drop privileges.
int RunInChild(const std::function<int()>& function);

}  // namespace support

#endif
