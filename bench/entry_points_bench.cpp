// SPDX-License-Identifier: MIT

// A bound call through an entry point, beside the same call through a pointer that the caller got
// from dlsym itself.
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>

#include "bench/rows.h"
#include "probe/mbolt_api.h"
#include "probe/probelib.h"

namespace {

using Clock = intptr_t (*)();
using SetWatchpoint = intptr_t (*)(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t,
                                   uintptr_t);

template <typename Function>
Function Find(const char* name) {
  if (PROBELIB_Open() != 0) std::abort();
  return reinterpret_cast<Function>(dlsym(PROBELIB_hLib, name));
}

// The pointer is read anew for each call, as one that is kept in a variable of a program would be.
template <typename Function, int kCalls, typename... Arguments>
auto CallThroughPointer(const char* name, Arguments... arguments) {
  return [=](benchmark::State& state) {
    auto function = Find<Function>(name);
    for (auto _ : state) {
      for (int call = 0; call < kCalls; ++call) {
        benchmark::DoNotOptimize(function);
        benchmark::DoNotOptimize(function(arguments...));
      }
    }
  };
}

void CallSetWatchpoint() { benchmark::DoNotOptimize(MBOLTARM_SetWP(1, 2, 3, 4, 5, 6)); }

}  // namespace

// A loop around a single call shows the clock cycle that the forwarder's jump takes; between other
// calls it disappears.
void bench::AddRows() {
  Row("bound entry point", "no arguments")
      .Project([] { benchmark::DoNotOptimize(MBOLTARM_Clock()); })
      .Limit("dlsym'ed pointer", 1.05, CallThroughPointer<Clock, 1>("MBOLTARM_Clock"));
  Row("bound entry point", "six arguments")
      .Project([] { CallSetWatchpoint(); })
      .Limit("dlsym'ed pointer", 1.05,
             CallThroughPointer<SetWatchpoint, 1>("MBOLTARM_SetWP", 1, 2, 3, 4, 5, 6));
  Row("bound entry point", "six arguments, four calls in a row")
      .Project([] {
        for (int call = 0; call < 4; ++call) CallSetWatchpoint();
      })
      .Limit("dlsym'ed pointer", 1.05,
             CallThroughPointer<SetWatchpoint, 4>("MBOLTARM_SetWP", 1, 2, 3, 4, 5, 6));
}
