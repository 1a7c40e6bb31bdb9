// SPDX-License-Identifier: MIT

// The rows of the table that scripts/bench.sh prints. A row is one piece of work, done by this
// project and by its rivals: the libraries that a user would take instead, and the limit that the
// work itself sets. Every program of this folder defines AddRows and gets its main function here.
//
//   bench::Row("numbers to text", "%d, small")
//       .Project([] { UTIL_snprintf(text, sizeof text, "%d", 7); })
//       .Peer("snprintf", 0.95, [] { snprintf(text, sizeof text, "%d", 7); });
//
// Work is what is timed: either a function without parameters, done once an iteration, or one that
// takes a benchmark::State and has its own loop. It outlives the call of AddRows, so it captures
// by value.
#ifndef TARVEN_BENCH_ROWS_H_
#define TARVEN_BENCH_ROWS_H_

#include <benchmark/benchmark.h>

#include <string>
#include <type_traits>
#include <utility>

namespace bench {

class Row {
 public:
  // The workload has no slash.
  Row(const std::string& path, const std::string& workload) : name_(path + "/" + workload) {}

  // Work that has its own loop of so many iterations and says itself how long each one took
  // (SetIterationTime), instead of the processor's time being counted: for work that waits.
  Row& OwnClock(int64_t iterations) {
    iterations_ = iterations;
    return *this;
  }

  template <typename Work>
  Row& Project(Work work) {
    return Add("project", 0, std::move(work));
  }

  // The target is the time that the project may take at most, in times of this rival's; with 0 the
  // rival is only told of.
  template <typename Work>
  Row& Peer(const std::string& who, double target, Work work) {
    return Add("peer " + who, target, std::move(work));
  }

  template <typename Work>
  Row& Limit(const std::string& who, double target, Work work) {
    return Add("limit " + who, target, std::move(work));
  }

 private:
  template <typename Work>
  Row& Add(const std::string& role, double target, Work work) {
    auto* const benchmark = benchmark::RegisterBenchmark(
        (name_ + "/" + role).c_str(), [target, work](benchmark::State& state) {
          if constexpr (std::is_invocable_v<Work, benchmark::State&>) {
            work(state);
          } else {
            for (auto _ : state) {
              work();
              benchmark::ClobberMemory();
            }
          }
          if (target != 0) state.counters["target"] = target;
        });
    if (iterations_ != 0) benchmark->UseManualTime()->Iterations(iterations_);
    return *this;
  }

  std::string name_;
  int64_t iterations_ = 0;
};

// Registers the program's rows.
void AddRows();

}  // namespace bench

#endif
