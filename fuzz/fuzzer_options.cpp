// What the sanitizers of a fuzzer are told. Millions of short runs an hour ask for less than a test
// does: a short memory of what was freed, and stacks that are quickly walked.

extern "C" {
const char* __asan_default_options();
const char* __ubsan_default_options();
}

const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=3072:quarantine_size_mb=16:"
         "malloc_context_size=8";
}

const char* __ubsan_default_options() { return "print_stacktrace=1"; }
