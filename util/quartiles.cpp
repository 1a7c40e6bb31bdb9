#include "util/quartiles.h"

#include <algorithm>
#include <span>

#include "util/truncation.h"

namespace {

using Samples = std::span<const uint64_t>;

struct Range {
  uint64_t low;
  uint64_t high;
};

// What to find: the place, in the order of the samples, where so many of them are reached.
struct Search {
  Samples samples;
  uint64_t resolution;
  uint64_t target;
};

// How the samples spread over a range.
struct Histogram {
  Range range;
  std::span<uint64_t> buckets;
  double width;        // of a bucket
  uint64_t below = 0;  // how many samples are; those above the range need no count
  uint64_t smallest = UINT64_MAX;
  uint64_t largest = 0;

  uint64_t WholeWidth() const { return std::max<uint64_t>(truncation::ToUnsigned(width), 1); }
};

double BucketWidth(Range range, size_t bucket_count) {
  const uint64_t values = range.high - range.low + 1;
  // All 2^64 values are one more than their count can say.
  return (values == 0 ? 0x1p64 : static_cast<double>(values)) / static_cast<double>(bucket_count);
}

void CountSample(Histogram& histogram, uint64_t sample) {
  histogram.smallest = std::min(histogram.smallest, sample);
  histogram.largest = std::max(histogram.largest, sample);
  if (sample < histogram.range.low) {
    ++histogram.below;
  } else if (sample <= histogram.range.high) {
    const auto offset = static_cast<double>(sample - histogram.range.low);
    const uint64_t bucket = truncation::ToUnsigned(offset / histogram.width);
    // In a wide range an offset may be rounded up to the end.
    ++histogram.buckets[std::min<uint64_t>(bucket, histogram.buckets.size() - 1)];
  }
}

Histogram Count(Samples samples, Range range, std::span<uint64_t> buckets) {
  Histogram histogram = {range, buckets, BucketWidth(range, buckets.size())};
  std::ranges::fill(buckets, 0);
  for (const uint64_t sample : samples) CountSample(histogram, sample);
  return histogram;
}

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
  if (total >= search.target) return {false, 0, {histogram.smallest, histogram.range.low}};
  for (size_t bucket = 0; bucket < histogram.buckets.size(); ++bucket) {
    total += histogram.buckets[bucket];
    if (total >= search.target) return FindInBucket(histogram, bucket, search.resolution);
  }
  // No target is beyond all the samples, so those that lack are above the range.
  return {false, 0, {histogram.range.high, histogram.largest}};
}

// ---- Counting again ----

constexpr uint32_t kGreatestDepth = 10;

// One table for all callers on purpose: whoever needs two counts at once has to wait.
uint64_t repeated_buckets[800];

int32_t LocateQuartile(const Search& search, const Histogram& histogram, uint64_t* quartile) {
  Finding finding = Find(search, histogram);
  for (uint32_t depth = 0; !finding.is_located; ++depth) {
    if (depth > kGreatestDepth) return -1;
    finding = Find(search, Count(search.samples, finding.next, repeated_buckets));
  }
  *quartile = finding.quartile;
  return 0;
}

}  // namespace

int32_t UTIL_GetQuartiles(uint64_t low, uint64_t high, const uint64_t* samples, uint32_t count,
                          uint64_t* buckets, uint32_t bucket_count, uint64_t resolution,
                          uint64_t* first_quartile, uint64_t* median, uint64_t* third_quartile) {
  if (bucket_count == 0) return -1;
  const Samples all(samples, count);
  const Histogram histogram = Count(all, {low, high}, {buckets, bucket_count});
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
