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
void CallClock(benchmark::State& state) {
  auto function = Find<Clock>("MBOLTARM_Clock");
  for (auto _ : state) {
    benchmark::DoNotOptimize(function);
    benchmark::DoNotOptimize(function());
  }
}

void CallSetWatchpoint(benchmark::State& state) {
  auto function = Find<SetWatchpoint>("MBOLTARM_SetWP");
  for (auto _ : state) {
    benchmark::DoNotOptimize(function);
    benchmark::DoNotOptimize(function(1, 2, 3, 4, 5, 6));
  }
}

}  // namespace

void bench::AddRows() {
  Row("bound entry point", "no arguments")
      .Project([] { benchmark::DoNotOptimize(MBOLTARM_Clock()); })
      .Limit("dlsym'ed pointer", 1.05, CallClock);
  Row("bound entry point", "six arguments")
      .Project([] { benchmark::DoNotOptimize(MBOLTARM_SetWP(1, 2, 3, 4, 5, 6)); })
      .Limit("dlsym'ed pointer", 1.05, CallSetWatchpoint);
}
