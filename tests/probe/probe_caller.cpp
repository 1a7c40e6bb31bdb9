// SPDX-License-Identifier: MIT

// A program that calls the probe. Its arguments are commands, carried out in order; each prints one
// line of its own to standard output, after what the called function printed.
//
//   open                 PROBELIB_Open
//   load FLAG            PROBELIB_Load
//   handle               is the library's handle set?
//   rename FROM TO       renames a file
//   module PATH          loads a module and takes the entry points from it from now on
//   call NAME ARGUMENT...  calls an entry point with as many numbers as it takes
//   call-all ROUNDS      calls every entry point, each time with other arguments (patterns.h)
//   callback             passes functions and an object of this program to the library
//   race THREADS         calls every entry point from that many threads at once
//
// A race prints nothing but what differed from the right value.
#include <dlfcn.h>

#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "probe/mbolt_api.h"
#include "probe/probelib.h"
#include "tests/probe/callback_object.h"
#include "tests/probe/entry_point_list.h"

namespace {

using probe_test::EntryPoint;
using probe_test::kEntryPoints;

using Function = void (*)();
std::map<std::string, Function> linked_functions = {
#define ENTRY_POINT(name, argument_count) {#name, reinterpret_cast<Function>(name)},
#include "probe/entry_points.def"
#undef ENTRY_POINT
};
void* module = nullptr;

Function FindFunction(const char* name) {
  if (module == nullptr) return linked_functions.at(name);
  return reinterpret_cast<Function>(dlsym(module, name));
}

intptr_t Call(const EntryPoint& entry_point, const std::vector<uintptr_t>& arguments) {
  const Function function = FindFunction(entry_point.name);
  const uintptr_t* a = arguments.data();
  using P = uintptr_t;
  switch (entry_point.argument_count) {
    case 0:
      return reinterpret_cast<intptr_t (*)()>(function)();
    case 1:
      return reinterpret_cast<intptr_t (*)(P)>(function)(a[0]);
    case 2:
      return reinterpret_cast<intptr_t (*)(P, P)>(function)(a[0], a[1]);
    case 3:
      return reinterpret_cast<intptr_t (*)(P, P, P)>(function)(a[0], a[1], a[2]);
    case 4:
      return reinterpret_cast<intptr_t (*)(P, P, P, P)>(function)(a[0], a[1], a[2], a[3]);
    case 5:
      return reinterpret_cast<intptr_t (*)(P, P, P, P, P)>(function)(a[0], a[1], a[2], a[3], a[4]);
    case 6:
      return reinterpret_cast<intptr_t (*)(P, P, P, P, P, P)>(function)(a[0], a[1], a[2], a[3],
                                                                        a[4], a[5]);
    default:
      abort();
  }
}

const EntryPoint& Find(const std::string& name) {
  for (const EntryPoint& entry_point : kEntryPoints) {
    if (entry_point.name == name) return entry_point;
  }
  abort();
}

void CallAll(int rounds) {
  for (int round = 0; round < rounds; ++round) {
    for (const EntryPoint& entry_point : kEntryPoints) {
      const intptr_t result = Call(entry_point, probe_test::PatternsFor(entry_point, round));
      printf("0x%" PRIxPTR "\n", static_cast<uintptr_t>(result));
    }
  }
}

void CallBack() {
  probe_test::CallbackObject object{.fill = "before"};
  const auto changes = [](probe_test::CallbackObject* of_caller) { of_caller->calls += 1; };
  const intptr_t result = MBOLT_SetWaitFunction(reinterpret_cast<uintptr_t>(+changes),
                                                reinterpret_cast<uintptr_t>(&object));
  printf("result %d, called %d times, object %s\n", static_cast<int>(result), object.calls,
         object.fill);
}

// Every thread makes the first calls of all entry points as nearly at the same time as can be.
void Race(int thread_count) {
  std::atomic<int> arrived = 0;
  const auto call_all = [&] {
    int expected_arrivals = 0;
    for (const EntryPoint& entry_point : kEntryPoints) {
      expected_arrivals += thread_count;
      arrived.fetch_add(1);
      while (arrived.load() < expected_arrivals) std::this_thread::yield();
      const intptr_t result = Call(entry_point, probe_test::PatternsFor(entry_point, 0));
      if (result != probe_test::ValueOf(entry_point.name)) printf("%s differs\n", entry_point.name);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < thread_count; ++i) threads.emplace_back(call_all);
  for (std::thread& thread : threads) thread.join();
}

// Carries out the command at the cursor and moves it behind.
void CarryOut(char**& cursor) {
  const std::string command = *cursor++;
  if (command == "open") {
    printf("open: %d\n", PROBELIB_Open());
  } else if (command == "load") {
    const int32_t flag = static_cast<int32_t>(strtol(*cursor++, nullptr, 0));
    printf("load: %d\n", PROBELIB_Load(flag));
  } else if (command == "handle") {
    printf("handle: %s\n", PROBELIB_hLib == nullptr ? "null" : "set");
  } else if (command == "rename") {
    printf("rename: %d\n", rename(cursor[0], cursor[1]));
    cursor += 2;
  } else if (command == "module") {
    module = dlopen(*cursor++, RTLD_NOW);
    printf("module: %s\n", module == nullptr ? dlerror() : "loaded");
  } else if (command == "call") {
    const EntryPoint& entry_point = Find(*cursor++);
    std::vector<uintptr_t> arguments;
    for (int i = 0; i < entry_point.argument_count; ++i) {
      arguments.push_back(strtoull(*cursor++, nullptr, 0));
    }
    const auto result = static_cast<uintptr_t>(Call(entry_point, arguments));
    printf("%s: 0x%" PRIxPTR "\n", entry_point.name, result);
  } else if (command == "call-all") {
    CallAll(atoi(*cursor++));
  } else if (command == "callback") {
    CallBack();
  } else if (command == "race") {
    Race(atoi(*cursor++));
  } else {
    abort();
  }
}

}  // namespace

int main(int, char** argv) {
  for (char** cursor = argv + 1; *cursor != nullptr;) CarryOut(cursor);
}
