// SPDX-License-Identifier: MIT

// What the sanitizers of a test program are told, however the program is started.

extern "C" {
const char* __asan_default_options();
const char* __lsan_default_options();
const char* __lsan_default_suppressions();
const char* __tsan_default_options();
const char* __ubsan_default_options();
}

// A failed allocation gives null, as it does without a sanitizer, and one of more than 3 GiB fails
// on every machine. Stacks are walked through libraries without frame pointers, so that leaks are
// told by their callers.
const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=3072:detect_stack_use_after_return=1:"
         "fast_unwind_on_malloc=0";
}

const char* __lsan_default_options() { return "print_suppressions=0"; }

// Lines that enter the history are handed over to it and not freed, on purpose.
const char* __lsan_default_suppressions() { return "leak:SYS_ConsoleReadLine\n"; }

const char* __tsan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=3072";
}

const char* __ubsan_default_options() { return "print_stacktrace=1"; }
