// SPDX-License-Identifier: MIT

#include "util/quartiles.h"

#include <algorithm>
#include <bit>
#include <span>

#include "util/byte_order.h"
#include "util/truncation.h"

namespace {

struct Range {
  uint64_t low;
  uint64_t high;
};

// ---- The samples ----

// Whether no sample is less than the one before it. Four comparisons a step, since one alone takes
// less time than a step does.
bool AreAscending(std::span<const uint64_t> samples) {
  size_t i = 1;
  for (; i + 4 <= samples.size(); i += 4) {
    if (samples[i] < samples[i - 1] || samples[i + 1] < samples[i] ||
        samples[i + 2] < samples[i + 1] || samples[i + 3] < samples[i + 2]) {
      return false;
    }
  }
  for (; i < samples.size(); ++i) {
    if (samples[i] < samples[i - 1]) return false;
  }
  return true;
}

struct Samples {
  std::span<const uint64_t> all;
  bool are_ascending = AreAscending(all);

  uint64_t Smallest() const { return all.empty() ? UINT64_MAX : std::ranges::min(all); }
  uint64_t Largest() const { return all.empty() ? 0 : std::ranges::max(all); }
};

// What to find: the place, in the order of the samples, where so many of them are reached.
struct Search {
  Samples samples;
  uint64_t resolution;
  uint64_t target;
};

// ---- Counting ----

// How the samples spread over a range.
struct Histogram {
  Range range;
  std::span<uint64_t> buckets;
  double width;        // of a bucket
  uint64_t below = 0;  // how many samples are; those above the range need no count

  uint64_t WholeWidth() const { return std::max<uint64_t>(truncation::ToUnsigned(width), 1); }
};

double BucketWidth(Range range, size_t bucket_count) {
  const uint64_t values = range.high - range.low + 1;
  // All 2^64 values are one more than their count can say.
  return (values == 0 ? 0x1p64 : static_cast<double>(values)) / static_cast<double>(bucket_count);
}

// The bucket of an offset that is so many widths. In a wide range an offset may be rounded up to the
// end.
inline size_t BucketAt(double widths, size_t bucket_count) {
  // They are hardly more than the buckets, and processors convert signed numbers sooner.
  return std::min(static_cast<size_t>(static_cast<int64_t>(widths)), bucket_count - 1);
}

// Counts samples one by one. What it needs of the histogram it has in members of its own: those of
// the histogram would be read again after each count, which might have changed them.
class Counter {
 public:
  // REQUIRES: the range is not empty.
  explicit Counter(const Histogram& histogram)
      : low_(histogram.range.low),
        span_(histogram.range.high - histogram.range.low),
        width_(histogram.width),
        buckets_(histogram.buckets) {}

  // How many samples were below the range.
  uint64_t below() const { return below_; }

  [[gnu::always_inline]] void CountOne(uint64_t sample) {
    uint64_t offset;
    below_ += __builtin_sub_overflow(sample, low_, &offset) ? 1 : 0;
    if (offset <= span_) Count(static_cast<double>(offset) / width_);
  }

  // Divides both at once if both are in the range. REQUIRES: MayCountTwo().
  [[gnu::always_inline]] void CountTwo(const uint64_t* samples) {
    if (samples[0] - low_ > span_ || samples[1] - low_ > span_) {
      CountOne(samples[0]);
      CountOne(samples[1]);
      return;
    }
    const Doubles widths = Offsets(samples) / width_;
    Count(widths[0]);
    Count(widths[1]);
  }

  bool MayCountTwo() const { return span_ <= kFraction; }

 private:
  using Doubles [[gnu::vector_size(16)]] = double;
  using Words [[gnu::vector_size(16)]] = uint64_t;

  static constexpr uint64_t kFraction = (uint64_t{1} << 52) - 1;

  // Put into the fraction of 2^52, a number is converted without being looked at.
  Doubles Offsets(const uint64_t* samples) const {
    const Words offsets = byte_order::LoadLittle<Words>(samples) - low_;
    return std::bit_cast<Doubles>(offsets | std::bit_cast<uint64_t>(0x1p52)) - 0x1p52;
  }

  [[gnu::always_inline]] void Count(double widths) {
    ++buckets_[BucketAt(widths, buckets_.size())];
  }

  const uint64_t low_;
  const uint64_t span_;
  const double width_;
  const std::span<uint64_t> buckets_;
  uint64_t below_ = 0;
};

// For samples that mostly are in the range. Returns how many are below.
uint64_t CountMost(Counter counter, std::span<const uint64_t> samples) {
  size_t i = 0;
  for (; i + 2 <= samples.size(); i += 2) counter.CountTwo(&samples[i]);
  if (i < samples.size()) counter.CountOne(samples[i]);
  return counter.below();
}

// For samples that mostly are outside: four a step, since one of those takes less time than a step.
uint64_t CountFew(Counter counter, std::span<const uint64_t> samples) {
  size_t i = 0;
  for (; i + 4 <= samples.size(); i += 4) {
    counter.CountOne(samples[i]);
    counter.CountOne(samples[i + 1]);
    counter.CountOne(samples[i + 2]);
    counter.CountOne(samples[i + 3]);
  }
  for (; i < samples.size(); ++i) counter.CountOne(samples[i]);
  return counter.below();
}

// The first of ascending samples behind a limit; searched from the start in growing steps, as it
// mostly is near.
const uint64_t* FirstAbove(uint64_t limit, const uint64_t* start, const uint64_t* end) {
  constexpr ptrdiff_t kGrowth = 16;
  ptrdiff_t step = kGrowth;
  for (; end - start > step && start[step] <= limit; step += kGrowth) start += step;
  return std::upper_bound(start, start + std::min(step, end - start), limit);
}

// Counts ascending samples bucket by bucket, not one by one. Returns how many are below.
uint64_t CountRuns(const Histogram& histogram, std::span<const uint64_t> samples) {
  const auto [low, high] = histogram.range;
  const uint64_t* const all = samples.data();
  const uint64_t* const first = std::lower_bound(all, all + samples.size(), low);
  const uint64_t* const end = std::upper_bound(first, all + samples.size(), high);
  for (const uint64_t* next = first; next != end;) {
    const uint64_t* const run = next;
    const double widths = static_cast<double>(*run - low) / histogram.width;
    const size_t bucket = BucketAt(widths, histogram.buckets.size());
    // Up to the limit samples are in the bucket for sure: what the divisions of two offsets round
    // differs by far less than the margin. The few behind it start a run of their own.
    constexpr double kMargin = 1 - 0x1p-50;
    const double bucket_end = static_cast<double>(bucket + 1) * histogram.width;
    const uint64_t limit = low + truncation::ToUnsigned(bucket_end * kMargin);
    next = FirstAbove(limit, run + 1, end);
    histogram.buckets[bucket] += static_cast<uint64_t>(next - run);
  }
  return static_cast<uint64_t>(first - all);
}

uint64_t CountBelow(uint64_t low, std::span<const uint64_t> samples) {
  return static_cast<uint64_t>(
      std::ranges::count_if(samples, [low](uint64_t sample) { return sample < low; }));
}

// How many samples a count expects in its range. It decides about the time alone.
enum class Expected { kMost, kFew };

uint64_t CountInto(const Histogram& histogram, const Samples& samples, Expected expected) {
  if (samples.are_ascending) return CountRuns(histogram, samples.all);
  const auto [low, high] = histogram.range;
  if (high < low) return CountBelow(low, samples.all);
  const Counter counter(histogram);
  return expected == Expected::kMost && counter.MayCountTwo() ? CountMost(counter, samples.all)
                                                              : CountFew(counter, samples.all);
}

Histogram Count(const Samples& samples, Range range, std::span<uint64_t> buckets,
                Expected expected) {
  Histogram histogram = {range, buckets, BucketWidth(range, buckets.size())};
  std::ranges::fill(buckets, 0);
  histogram.below = CountInto(histogram, samples, expected);
  return histogram;
}

// ---- Finding ----

uint64_t MiddleOfBucket(const Histogram& histogram, uint64_t bucket) {
  return truncation::ToUnsigned(static_cast<double>(histogram.range.low) +
                                static_cast<double>(bucket) * histogram.width +
                                histogram.width / 2);
}

// What one count tells: the quartile, or the range to count over next.
struct Finding {
  bool is_located;
  uint64_t quartile;
  Range next;
};

Finding FindInBucket(const Histogram& histogram, uint64_t bucket, uint64_t resolution) {
  const uint64_t whole_width = histogram.WholeWidth();
  if (whole_width <= resolution) return {true, MiddleOfBucket(histogram, bucket), {}};
  // Here the bucket's place counts in whole widths: the next range may lie below the bucket, and the
  // quartile then is followed out of it. Kept on purpose.
  const uint64_t low = histogram.range.low + bucket * whole_width;
  return {false, 0, {low, low + whole_width}};
}

Finding Find(const Search& search, const Histogram& histogram) {
  uint64_t total = histogram.below;
  if (total >= search.target) return {false, 0, {search.samples.Smallest(), histogram.range.low}};
  for (size_t bucket = 0; bucket < histogram.buckets.size(); ++bucket) {
    total += histogram.buckets[bucket];
    if (total >= search.target) return FindInBucket(histogram, bucket, search.resolution);
  }
  // No target is beyond all the samples, so those that lack are above the range.
  return {false, 0, {histogram.range.high, search.samples.Largest()}};
}

// ---- Counting again ----

constexpr uint32_t kGreatestDepth = 10;

// One table for all callers on purpose: whoever needs two counts at once has to wait.
uint64_t repeated_buckets[800];

int32_t LocateQuartile(const Search& search, const Histogram& histogram, uint64_t* quartile) {
  Finding finding = Find(search, histogram);
  for (uint32_t depth = 0; !finding.is_located; ++depth) {
    if (depth > kGreatestDepth) return -1;
    finding = Find(search, Count(search.samples, finding.next, repeated_buckets, Expected::kFew));
  }
  *quartile = finding.quartile;
  return 0;
}

}  // namespace

int32_t UTIL_GetQuartiles(uint64_t low, uint64_t high, const uint64_t* samples, uint32_t count,
                          uint64_t* buckets, uint32_t bucket_count, uint64_t resolution,
                          uint64_t* first_quartile, uint64_t* median, uint64_t* third_quartile) {
  if (bucket_count == 0) return -1;
  const Samples all = {{samples, count}};
  const Histogram histogram = Count(all, {low, high}, {buckets, bucket_count}, Expected::kMost);
  const struct {
    uint64_t* quartile;
    uint32_t target;
  } requests[] = {
      {first_quartile, count / 4}, {median, count / 2}, {third_quartile, count - count / 4}};
  for (const auto& request : requests) {
    if (request.quartile == nullptr) continue;
    const Search search = {all, resolution, request.target};
    if (LocateQuartile(search, histogram, request.quartile) != 0) return -1;
  }
  return 0;
}
