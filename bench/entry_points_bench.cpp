// A bound call through an entry point, beside the same call through a pointer that the caller got
// from dlsym itself; and what the first call of an entry point costs.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <iterator>

#include "probe/mbolt_api.h"
#include "probe/parameters.h"
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

// ---- No arguments ----

void EntryPointWithoutArguments(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(MBOLTARM_Clock());
}
BENCHMARK(EntryPointWithoutArguments);

void PointerWithoutArguments(benchmark::State& state) {
  auto function = Find<Clock>("MBOLTARM_Clock");
  for (auto _ : state) {
    benchmark::DoNotOptimize(function);
    benchmark::DoNotOptimize(function());
  }
}
BENCHMARK(PointerWithoutArguments);

// ---- Six arguments ----

void EntryPointWithSixArguments(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(MBOLTARM_SetWP(1, 2, 3, 4, 5, 6));
}
BENCHMARK(EntryPointWithSixArguments);

void PointerWithSixArguments(benchmark::State& state) {
  auto function = Find<SetWatchpoint>("MBOLTARM_SetWP");
  for (auto _ : state) {
    benchmark::DoNotOptimize(function);
    benchmark::DoNotOptimize(function(1, 2, 3, 4, 5, 6));
  }
}
BENCHMARK(PointerWithSixArguments);

// ---- First calls ----

constexpr uintptr_t a = 1, b = 2, c = 3, d = 4, e = 5, f = 6;
intptr_t (*const kCalls[])() = {
#define ENTRY_POINT(name, argument_count) [] { return name(ARGUMENTS_##argument_count); },
#include "probe/entry_points.def"
#undef ENTRY_POINT
};

// Each iteration binds another entry point, with the library open already: a process has no more
// first calls than that, so this runs once.
void FirstCall(benchmark::State& state) {
  if (PROBELIB_Open() != 0) std::abort();
  const auto* next = kCalls;
  for (auto _ : state) benchmark::DoNotOptimize((*next++)());
}
BENCHMARK(FirstCall)->Iterations(std::size(kCalls))->Repetitions(1);

void LookUpAlone(benchmark::State& state) {
  if (PROBELIB_Open() != 0) std::abort();
  const char* const names[] = {
#define ENTRY_POINT(name, argument_count) #name,
#include "probe/entry_points.def"
#undef ENTRY_POINT
  };
  const char* const* next = names;
  for (auto _ : state) benchmark::DoNotOptimize(dlsym(PROBELIB_hLib, *next++));
}
BENCHMARK(LookUpAlone)->Iterations(std::size(kCalls))->Repetitions(1);

}  // namespace
