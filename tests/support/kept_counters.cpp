// SPDX-License-Identifier: MIT

// In a coverage build, part of every program: a process that ends by _exit, or by the signal tests end
// their programs with, writes down what it has counted, as one that returns from main does.
#include <csignal>

extern "C" {
void __gcov_dump();
// The linker's names.
// NOLINTBEGIN(bugprone-reserved-identifier)
[[noreturn]] void __real__exit(int status);
[[noreturn]] void __wrap__exit(int status);
// NOLINTEND(bugprone-reserved-identifier)
}

void __wrap__exit(int status) {
  __gcov_dump();
  __real__exit(status);
}

namespace {

void DumpAndEnd(int signal_number) {
  __gcov_dump();
  std::signal(signal_number, SIG_DFL);
  std::raise(signal_number);
}

// A program that sets a handler of its own has the last word, and so has one that was started with the
// signal ignored.
[[gnu::constructor]] void DumpAtSignal() {
  if (std::signal(SIGTERM, DumpAndEnd) == SIG_IGN) std::signal(SIGTERM, SIG_IGN);
}

}  // namespace
