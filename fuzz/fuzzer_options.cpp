// SPDX-License-Identifier: MIT

// How a fuzzer runs: what its sanitizers are told, and for how long.

#include <csignal>
#include <cstdlib>
#include <ctime>

extern "C" {
const char* __asan_default_options();
const char* __ubsan_default_options();
int LLVMFuzzerInitialize(int* argument_count, char*** arguments);
}

// Millions of short runs an hour ask for less than a test does: a short memory of what was freed, and
// stacks that are quickly walked.
const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=3072:quarantine_size_mb=16:"
         "malloc_context_size=8";
}

const char* __ubsan_default_options() { return "print_stacktrace=1"; }

// Ends the search, in libFuzzer's own orderly way, once it has had as many seconds of processor time as
// the environment's PROCESSOR_SECONDS says; without that it has no end. Time on the wall would promise
// more on an idle machine than on a busy one.
int LLVMFuzzerInitialize(int* /*argument_count*/, char*** /*arguments*/) {
  const char* seconds = std::getenv("PROCESSOR_SECONDS");
  if (seconds == nullptr) {
    return 0;
  }
  sigevent asks_to_end = {};
  asks_to_end.sigev_notify = SIGEV_SIGNAL;
  asks_to_end.sigev_signo = SIGUSR1;
  itimerspec end = {};
  end.it_value.tv_sec = std::strtol(seconds, nullptr, 10);
  timer_t timer = {};
  if (timer_create(CLOCK_PROCESS_CPUTIME_ID, &asks_to_end, &timer) != 0 ||
      timer_settime(timer, 0, &end, nullptr) != 0) {
    std::abort();
  }
  return 0;
}
