// Byte-swapped copies of arrays, beside the plain copy that no swap can beat.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "util/bytes.h"

namespace {

constexpr int64_t kSizes[] = {4 << 10, 4 << 20};

void EachSize(benchmark::internal::Benchmark* benchmark) {
  for (const int64_t size : kSizes) benchmark->Arg(size);
}

template <typename CopyFunction>
void Copy(benchmark::State& state, CopyFunction copy) {
  const auto size = static_cast<uint32_t>(state.range(0));
  std::vector<uint8_t> source(size, 1);
  std::vector<uint8_t> destination(size);
  for (auto _ : state) {
    copy(destination.data(), source.data(), size);
    benchmark::ClobberMemory();
  }
}

void Swap16(benchmark::State& state) {
  Copy(state,
       [](void* to, const void* from, uint32_t size) { UTIL_SwapArray16(to, from, size / 2); });
}
BENCHMARK(Swap16)->Apply(EachSize);

void Swap32(benchmark::State& state) {
  Copy(state,
       [](void* to, const void* from, uint32_t size) { UTIL_SwapArray32(to, from, size / 4); });
}
BENCHMARK(Swap32)->Apply(EachSize);

void Swap64(benchmark::State& state) {
  Copy(state,
       [](void* to, const void* from, uint32_t size) { UTIL_SwapArray64(to, from, size / 8); });
}
BENCHMARK(Swap64)->Apply(EachSize);

void PlainCopy(benchmark::State& state) { Copy(state, memcpy); }
BENCHMARK(PlainCopy)->Apply(EachSize);

}  // namespace
