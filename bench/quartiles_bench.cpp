// SPDX-License-Identifier: MIT

// Quartiles of many samples beside those that std::nth_element selects.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bench/rows.h"
#include "util/quartiles.h"

namespace {

using Samples = std::vector<uint64_t>;

constexpr uint32_t kSamples = 100'000;
constexpr uint64_t kHighest = 999'999;
constexpr uint32_t kBuckets = 1000;

struct Quartiles {
  uint64_t first;
  uint64_t median;
  uint64_t third;
};

// To one whole number, which is what there is to find.
Quartiles Project(const Samples& samples, Samples& buckets) {
  Quartiles quartiles;
  if (UTIL_GetQuartiles(0, kHighest, samples.data(), static_cast<uint32_t>(samples.size()),
                        buckets.data(), static_cast<uint32_t>(buckets.size()), 1, &quartiles.first,
                        &quartiles.median, &quartiles.third) != 0) {
    std::abort();
  }
  return quartiles;
}

// The first quartile is reached by a quarter of the samples, so by the one before that index, in the
// order of the samples, and so on. The samples stay as they are here as well.
Quartiles NthElements(const Samples& samples, Samples& copy) {
  std::copy(samples.begin(), samples.end(), copy.begin());
  const auto quarter = static_cast<Samples::difference_type>(samples.size() / 4);
  const auto half = static_cast<Samples::difference_type>(samples.size() / 2);
  const auto first = copy.begin() + quarter - 1;
  const auto median = copy.begin() + half - 1;
  const auto third = copy.end() - quarter - 1;
  // What each call has parted the next one need not look at again.
  std::nth_element(copy.begin(), median, copy.end());
  std::nth_element(copy.begin(), first, median);
  std::nth_element(median + 1, third, copy.end());
  return {*first, *median, *third};
}

bool IsNear(uint64_t estimate, uint64_t exact) {
  return estimate + 1 >= exact && estimate <= exact + 1;
}

// Selects again and again, with the work space of one user.
template <typename Select>
auto SelectAgain(const Samples& samples, size_t space, Select select) {
  return [=](benchmark::State& state) {
    Samples work_space(space);
    for (auto _ : state) {
      Quartiles quartiles = select(samples, work_space);
      benchmark::DoNotOptimize(quartiles);
      benchmark::ClobberMemory();
    }
  };
}

void AddRow(const std::string& workload, const Samples& samples) {
  Samples buckets(kBuckets);
  Samples copy(samples.size());
  const Quartiles estimate = Project(samples, buckets);
  const Quartiles exact = NthElements(samples, copy);
  if (!IsNear(estimate.first, exact.first) || !IsNear(estimate.median, exact.median) ||
      !IsNear(estimate.third, exact.third)) {
    std::abort();
  }
  bench::Row("quartiles", workload)
      .Project(SelectAgain(samples, kBuckets, Project))
      .Peer("three std::nth_element", 0.2, SelectAgain(samples, samples.size(), NthElements));
}

}  // namespace

void bench::AddRows() {
  std::mt19937_64 random(20240229);
  std::uniform_int_distribution<uint64_t> spread(0, kHighest);
  Samples samples(kSamples);
  for (uint64_t& sample : samples) sample = spread(random);
  AddRow("100,000 samples, random", samples);
  std::ranges::sort(samples);
  AddRow("100,000 samples, sorted", samples);
  std::ranges::fill(samples, 123'456);
  AddRow("100,000 samples, equal", samples);
}
