// SPDX-License-Identifier: MIT

#include "tests/support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tests/support/open_descriptors.h"

namespace support {

namespace {

constexpr std::chrono::milliseconds kEndPatience(1000);

int ExitStatus(int wait_status) {
  return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : -WTERMSIG(wait_status);
}

// Moves the three streams out of each other's way first, then into place.
void PlaceStreams(const StandardStreams& streams) {
  const int wanted[3] = {streams.input, streams.output, streams.error};
  int moved[3];
  for (int i = 0; i < 3; ++i) moved[i] = wanted[i] < 0 ? -1 : fcntl(wanted[i], F_DUPFD, 64);
  for (int i = 0; i < 3; ++i) {
    if (moved[i] < 0) {
      close(i);
    } else {
      dup2(moved[i], i);
    }
  }
}

[[noreturn]] void BecomeProgram(const std::vector<std::string>& arguments,
                                const ChildOptions& options) {
  PlaceStreams(options.streams);
  for (const int descriptor : OpenDescriptors()) {
    if (descriptor > 2) close(descriptor);
  }
  if (options.controls_terminal) {
    setsid();
    ioctl(0, TIOCSCTTY, 0);
  }
  for (const std::string& pair : options.environment) {
    const size_t equals = pair.find('=');
    setenv(pair.substr(0, equals).c_str(), pair.substr(equals + 1).c_str(), 1);
  }
  if (options.prepare) options.prepare();
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  execvp(options.program.empty() ? argv[0] : options.program.c_str(), argv.data());
  _exit(127);
}

}  // namespace

Pipe MakePipe() {
  int ends[2];
  if (pipe(ends) != 0) abort();
  for (const int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
  return {ends[0], ends[1]};
}

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const ChildOptions& options)
    : pid_(fork()) {
  if (pid_ < 0) abort();
  if (pid_ == 0) BecomeProgram(arguments, options);
}

// Asked first: some write down what they have counted.
ChildProcess::~ChildProcess() {
  if (IsRunning()) Signal(SIGTERM);
  if (!WaitForExit(kEndPatience)) {
    Signal(SIGKILL);
    Reap(0);
  }
}

void ChildProcess::Signal(int signal_number) const { kill(pid_, signal_number); }

bool ChildProcess::IsRunning() { return !exit_status_ && !Reap(WNOHANG); }

bool ChildProcess::Reap(int flags) {
  int wait_status = 0;
  if (waitpid(pid_, &wait_status, flags) != pid_) return false;
  exit_status_ = ExitStatus(wait_status);
  return true;
}

std::optional<int> ChildProcess::WaitForExit(std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!exit_status_ && !Reap(WNOHANG)) {
    if (std::chrono::steady_clock::now() > deadline) return std::nullopt;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return exit_status_;
}

int RunInChild(const std::function<int()>& function) {
  fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) abort();
  if (pid == 0) {
    const int result = function();
    fflush(nullptr);
    _exit(result);
  }
  int wait_status = 0;
  waitpid(pid, &wait_status, 0);
  return ExitStatus(wait_status);
}

}  // namespace support
