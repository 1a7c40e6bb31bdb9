// SPDX-License-Identifier: MIT

#include "util/quartiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "util/truncation.h"

namespace {

using support::GuardedBuffer;
using testing::ElementsAre;

constexpr uint64_t kUnset = 0xA5A5A5A5A5A5A5A5;
constexpr uint64_t kHighest = UINT64_MAX;
constexpr uint64_t kTopBit = uint64_t{1} << 63;

// What a call has left. The buckets start with rubbish in them and end before a forbidden page.
struct Estimate {
  int32_t result;
  uint64_t first = kUnset;
  uint64_t median = kUnset;
  uint64_t third = kUnset;
  std::vector<uint64_t> buckets = {};
};

struct Range {
  uint64_t low;
  uint64_t high;
};

Estimate Quartiles(Range range, const std::vector<uint64_t>& samples, uint32_t bucket_count,
                   uint64_t resolution) {
  GuardedBuffer buckets(bucket_count * sizeof(uint64_t));
  auto* const counters = reinterpret_cast<uint64_t*>(buckets.data());
  Estimate estimate;
  estimate.result = UTIL_GetQuartiles(
      range.low, range.high, samples.data(), static_cast<uint32_t>(samples.size()), counters,
      bucket_count, resolution, &estimate.first, &estimate.median, &estimate.third);
  estimate.buckets.assign(counters, counters + bucket_count);
  return estimate;
}

void ExpectQuartiles(const Estimate& estimate, uint64_t first, uint64_t median, uint64_t third) {
  EXPECT_EQ(estimate.result, 0);
  EXPECT_EQ(estimate.first, first);
  EXPECT_EQ(estimate.median, median);
  EXPECT_EQ(estimate.third, third);
}

// ---- Within one count ----

TEST(UtilGetQuartiles, GivesTheMiddlesOfTheBucketsThatReachThem) {
  // One sample in each bucket of 10; the targets are 2, 5 and 8 samples.
  const Estimate estimate = Quartiles({0, 99}, {95, 5, 85, 15, 75, 25, 65, 35, 55, 45}, 10, 10);
  ExpectQuartiles(estimate, 15, 45, 75);
  EXPECT_THAT(estimate.buckets, ElementsAre(1, 1, 1, 1, 1, 1, 1, 1, 1, 1));
}

TEST(UtilGetQuartiles, BucketsNeedNotBeWholeNumbersWide) {
  // Four buckets of 2.5: 0 to 2, 3 and 4, 5 to 7, 8 and 9. Middles at 1.25, 3.75 and 6.25.
  const Estimate estimate = Quartiles({0, 9}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 4, 2);
  ExpectQuartiles(estimate, 1, 3, 6);
  EXPECT_THAT(estimate.buckets, ElementsAre(3, 2, 3, 2));
}

TEST(UtilGetQuartiles, BucketsMayBeNarrowerThanOne) {
  // Eight buckets of a half: the samples fall into 0, 2, 4 and 6. Middles at 10.25, 11.25, 12.25.
  const Estimate estimate = Quartiles({10, 13}, {10, 11, 12, 13}, 8, 1);
  ExpectQuartiles(estimate, 10, 11, 12);
  EXPECT_THAT(estimate.buckets, ElementsAre(1, 0, 1, 0, 1, 0, 1, 0));
}

TEST(UtilGetQuartiles, TargetsAreQuartersRoundedDown) {
  // Seven samples: the targets are 1, 3 and 7 - 1 = 6.
  ExpectQuartiles(Quartiles({0, 69}, {5, 15, 25, 35, 45, 55, 65}, 7, 10), 5, 25, 55);
  // Four samples: 1, 2 and 3.
  ExpectQuartiles(Quartiles({0, 39}, {5, 15, 25, 35}, 4, 10), 5, 15, 25);
}

TEST(UtilGetQuartiles, RangeStartsAtLow) {
  ExpectQuartiles(Quartiles({1000, 1039}, {1000, 1010, 1020, 1039}, 4, 10), 1005, 1015, 1025);
}

TEST(UtilGetQuartiles, CountsWhatLiesBelowTowardsTheTargets) {
  // One of eight lies below: with the range's first sample it makes the two of the first target.
  const Estimate estimate = Quartiles({100, 199}, {1, 105, 115, 125, 135, 145, 155, 165}, 10, 10);
  ExpectQuartiles(estimate, 105, 125, 145);  // targets 2, 4 and 6
  EXPECT_THAT(estimate.buckets, ElementsAre(1, 1, 1, 1, 1, 1, 1, 0, 0, 0));
}

TEST(UtilGetQuartiles, LeavesOutWhatIsNotAskedFor) {
  const std::vector<uint64_t> samples = {5, 15, 25, 35};
  uint64_t buckets[4];
  uint64_t median = kUnset;
  EXPECT_EQ(UTIL_GetQuartiles(0, 39, samples.data(), 4, buckets, 4, 10, nullptr, &median, nullptr),
            0);
  EXPECT_EQ(median, 15U);
  EXPECT_EQ(UTIL_GetQuartiles(0, 39, samples.data(), 4, buckets, 4, 10, nullptr, nullptr, nullptr),
            0);
}

// ---- Counting again ----

TEST(UtilGetQuartiles, WideBucketsAreCountedAgain) {
  const std::vector<uint64_t> samples = {12345, 12345, 12345, 12345};
  // Buckets of 8000: the middle of 8000 to 15999 will do.
  ExpectQuartiles(Quartiles({0, 79999}, samples, 10, 8000), 12000, 12000, 12000);
  // Counted again over 8000 to 16000 in buckets of 10.00125: bucket 434, whose middle is at
  // 8000 + 4340.5425 + 5.000625.
  ExpectQuartiles(Quartiles({0, 79999}, samples, 10, 7999), 12345, 12345, 12345);
  ExpectQuartiles(Quartiles({0, 79999}, samples, 10, 10), 12345, 12345, 12345);
  // And once more over 12340 to 12350 in buckets of 0.01375: bucket 363, middle at 12344.998.
  ExpectQuartiles(Quartiles({0, 79999}, samples, 10, 9), 12344, 12344, 12344);
}

TEST(UtilGetQuartiles, EachQuartileIsCountedAgainForItself) {
  // Buckets of 1000, then over 1000 to 2000 and so on in buckets of 1.25125. Samples at 500 fall into
  // bucket 399, whose middle is at 499.24875 + 0.625625.
  ExpectQuartiles(Quartiles({0, 9999}, {1500, 3500, 5500, 7500}, 10, 1), 1499, 3499, 5499);
}

TEST(UtilGetQuartiles, TheNextRangeHasBothItsEnds) {
  // Buckets of 1000 again: 3000 is the low end of 3000 to 4000, in bucket 0.
  ExpectQuartiles(Quartiles({0, 9999}, {3000, 3000, 3000, 3000}, 10, 1), 3000, 3000, 3000);
}

TEST(UtilGetQuartiles, FollowsAQuartileOutOfABucketRoundedDown) {
  // Buckets of 2.9: 28 is in the last, which counts as 18 to 20. Above that, 20 to 28 is counted in
  // buckets of 0.01125: bucket 711, middle at 20 + 7.99875 + 0.005625.
  const std::vector<uint64_t> samples = {28, 28, 28, 28};
  ExpectQuartiles(Quartiles({0, 28}, samples, 10, 1), 28, 28, 28);
  // The middle of the last of the ten is at 26.1 + 1.45.
  ExpectQuartiles(Quartiles({0, 28}, samples, 10, 2), 27, 27, 27);
}

TEST(UtilGetQuartiles, BucketsAreCountedAgainAtAPlaceRoundedDown) {
  // As before, but 20 to 100100 is counted above, in buckets of 125.10125, and of these the first from
  // 20 to 145 in buckets of 0.1575: bucket 50, middle at 20 + 7.875 + 0.07875. Over the true place of
  // the bucket, 26.1 to 29, it would have been 28.
  const std::vector<uint64_t> samples = {28, 28, 28, 28, 28, 28, 100100, 100100};
  ExpectQuartiles(Quartiles({0, 28}, samples, 10, 1), 27, 27, 27);
}

TEST(UtilGetQuartiles, QuartilesBelowTheRangeAreFound) {
  // All below: counted from 10 to 1000 in buckets of 1.23875, of which they are in 0, 8, 16 and 24.
  ExpectQuartiles(Quartiles({1000, 1999}, {40, 30, 20, 10}, 10, 1), 10, 20, 30);
}

TEST(UtilGetQuartiles, QuartilesAboveTheRangeAreFound) {
  // All above: counted from 9 to 400 in buckets of 0.49, of which they are in 185, 389, 593 and 797.
  ExpectQuartiles(Quartiles({0, 9}, {400, 300, 200, 100}, 10, 1), 99, 199, 299);
}

TEST(UtilGetQuartiles, SamplesAtBothEndsLieInTheRange) {
  const Estimate estimate = Quartiles({10, 19}, {10, 10, 19, 19}, 2, 5);
  EXPECT_THAT(estimate.buckets, ElementsAre(2, 2));
  ExpectQuartiles(estimate, 12, 12, 17);
  EXPECT_THAT(Quartiles({10, 19}, {9, 9, 20, 20}, 2, 5).buckets, ElementsAre(0, 0));
}

TEST(UtilGetQuartiles, CountsAgainAsOftenAsAWideRangeTakes) {
  // Seven counts lead from all numbers there are to 994 to 1001.
  const Estimate estimate = Quartiles({0, kHighest}, {1000, 1000, 1000, 1000}, 10, 1);
  ExpectQuartiles(estimate, 1000, 1000, 1000);
}

// ---- Large numbers ----

TEST(UtilGetQuartiles, TakesTheWholeRangeOfNumbers) {
  const std::vector<uint64_t> samples = {kTopBit + 5, kTopBit + 5, kTopBit + 5, kTopBit + 5};
  const Estimate estimate = Quartiles({0, kHighest}, samples, 2, kTopBit);
  EXPECT_THAT(estimate.buckets, ElementsAre(0, 4));
  ExpectQuartiles(estimate, 0xC000000000000000, 0xC000000000000000, 0xC000000000000000);
}

TEST(UtilGetQuartiles, OffsetsRoundedUpStayInTheLastBucket) {
  // In double precision 2^64 - 2 is 2^64, three buckets of a third from the start.
  const std::vector<uint64_t> samples(4, kHighest - 1);
  const Estimate estimate = Quartiles({0, kHighest - 1}, samples, 3, kTopBit);
  EXPECT_THAT(estimate.buckets, ElementsAre(0, 0, 4));
  EXPECT_EQ(estimate.result, 0);
}

TEST(UtilGetQuartiles, ResultsAbove63BitsAreWhole) {
  // Four buckets of 2^61 from 2^63 on, middles at 2^60 behind their starts.
  const uint64_t step = uint64_t{1} << 61;
  const std::vector<uint64_t> samples = {kTopBit, kTopBit + step, kTopBit + 2 * step,
                                         kTopBit + 3 * step};
  ExpectQuartiles(Quartiles({kTopBit, kHighest}, samples, 4, step), 0x9000000000000000,
                  0xB000000000000000, 0xD000000000000000);
}

// ---- What cannot be located ----

TEST(UtilGetQuartiles, NoSamplesHaveNoQuartiles) {
  const Estimate estimate = Quartiles({0, 99}, {}, 10, 10);
  EXPECT_EQ(estimate.result, -1);
  EXPECT_EQ(estimate.first, kUnset);
  EXPECT_EQ(estimate.median, kUnset);
  EXPECT_EQ(estimate.third, kUnset);
  EXPECT_THAT(estimate.buckets, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(UtilGetQuartiles, FewerThanFourSamplesHaveNoFirstQuartile) {
  const Estimate estimate = Quartiles({0, 99}, {15, 25, 35}, 10, 10);
  EXPECT_EQ(estimate.result, -1);
  EXPECT_EQ(estimate.first, kUnset);
  EXPECT_EQ(estimate.median, kUnset);  // what follows the first failure is not tried
  EXPECT_EQ(estimate.third, kUnset);
}

TEST(UtilGetQuartiles, OneSampleHasAThirdQuartileAlone) {
  const uint64_t sample = 15;
  uint64_t buckets[10];
  uint64_t median = kUnset;
  uint64_t third = kUnset;
  EXPECT_EQ(UTIL_GetQuartiles(0, 99, &sample, 1, buckets, 10, 10, nullptr, &median, &third), -1);
  EXPECT_EQ(median, kUnset);
  EXPECT_EQ(third, kUnset);
  EXPECT_EQ(UTIL_GetQuartiles(0, 99, &sample, 1, buckets, 10, 10, nullptr, nullptr, &third), 0);
  EXPECT_EQ(third, 15U);
}

TEST(UtilGetQuartiles, NoBucketIsNarrowEnoughForResolutionZero) {
  uint64_t buckets[10];
  const uint64_t samples[] = {5, 15, 25, 35};
  uint64_t third = kUnset;
  EXPECT_EQ(UTIL_GetQuartiles(0, 39, samples, 4, buckets, 10, 0, nullptr, nullptr, &third), -1);
  EXPECT_EQ(third, kUnset);
}

TEST(UtilGetQuartiles, NoBucketsLocateNothing) {
  EXPECT_EQ(Quartiles({0, 39}, {5, 15, 25, 35}, 0, 10).result, -1);
}

// ---- Any samples ----

// Counts the samples one by one, each quartile for itself.
class SimpleEstimate {
 public:
  SimpleEstimate(const std::vector<uint64_t>& samples, uint64_t resolution)
      : samples_(samples), resolution_(resolution) {}

  std::vector<uint64_t> Buckets(Range range, size_t count) const {
    std::vector<uint64_t> buckets(count);
    for (const uint64_t sample : samples_) {
      if (sample < range.low || sample > range.high) continue;
      const double widths = static_cast<double>(sample - range.low) / Width(range, count);
      ++buckets[std::min(static_cast<size_t>(widths), count - 1)];
    }
    return buckets;
  }

  // False when it cannot be located.
  bool Locate(Range range, size_t bucket_count, uint64_t target, uint64_t* quartile) const {
    for (int counts = 0; counts < 12; ++counts) {
      if (CountOnce(&range, counts == 0 ? bucket_count : 800, target, quartile)) return true;
    }
    return false;
  }

 private:
  static double Width(Range range, size_t count) {
    const uint64_t values = range.high - range.low + 1;
    return (values == 0 ? 0x1p64 : static_cast<double>(values)) / static_cast<double>(count);
  }

  // True when the quartile is found; else the range is the next one.
  bool CountOnce(Range* range, size_t bucket_count, uint64_t target, uint64_t* quartile) const {
    const std::vector<uint64_t> buckets = Buckets(*range, bucket_count);
    const double width = Width(*range, bucket_count);
    const uint64_t whole_width = std::max<uint64_t>(truncation::ToUnsigned(width), 1);
    uint64_t total = 0;
    for (const uint64_t sample : samples_) total += sample < range->low ? 1 : 0;
    if (total >= target) {
      const auto smallest = std::min_element(samples_.begin(), samples_.end());
      *range = {samples_.empty() ? kHighest : *smallest, range->low};
      return false;
    }
    size_t i = 0;
    while (i < bucket_count && total < target) total += buckets[i++];
    if (total < target) {
      const auto largest = std::max_element(samples_.begin(), samples_.end());
      *range = {range->high, *largest};
      return false;
    }
    if (whole_width <= resolution_) {
      *quartile = truncation::ToUnsigned(static_cast<double>(range->low) +
                                         static_cast<double>(i - 1) * width + width / 2);
      return true;
    }
    range->low += (i - 1) * whole_width;
    range->high = range->low + whole_width;
    return false;
  }

  const std::vector<uint64_t>& samples_;
  const uint64_t resolution_;
};

void ExpectSimpleEstimate(Range range, const std::vector<uint64_t>& samples, uint32_t bucket_count,
                          uint64_t resolution) {
  const SimpleEstimate simple(samples, resolution);
  const size_t count = samples.size();
  Estimate expected = {};
  expected.buckets = simple.Buckets(range, bucket_count);
  const bool are_located = simple.Locate(range, bucket_count, count / 4, &expected.first) &&
                           simple.Locate(range, bucket_count, count / 2, &expected.median) &&
                           simple.Locate(range, bucket_count, count - count / 4, &expected.third);
  const Estimate estimate = Quartiles(range, samples, bucket_count, resolution);
  EXPECT_EQ(estimate.result, are_located ? 0 : -1);
  EXPECT_EQ(estimate.first, expected.first);
  EXPECT_EQ(estimate.median, expected.median);
  EXPECT_EQ(estimate.third, expected.third);
  EXPECT_EQ(estimate.buckets, expected.buckets);
}

// The samples as they are, in ascending and descending order, and ascending but for one.
void ExpectSimpleEstimatesInAnyOrder(Range range, std::vector<uint64_t> samples,
                                     uint32_t bucket_count, uint64_t resolution) {
  SCOPED_TRACE(testing::Message() << samples.size() << " samples, " << bucket_count
                                  << " buckets from " << range.low << " to " << range.high
                                  << ", resolution " << resolution);
  ExpectSimpleEstimate(range, samples, bucket_count, resolution);
  std::sort(samples.begin(), samples.end());
  ExpectSimpleEstimate(range, samples, bucket_count, resolution);
  for (size_t i = 1; i < samples.size(); i += samples.size() / 5 + 1) {
    std::swap(samples[i - 1], samples[i]);
    ExpectSimpleEstimate(range, samples, bucket_count, resolution);
    std::swap(samples[i - 1], samples[i]);
  }
  std::reverse(samples.begin(), samples.end());
  ExpectSimpleEstimate(range, samples, bucket_count, resolution);
}

TEST(UtilGetQuartiles, OrderAndNumberOfSamplesChangeNothing) {
  std::mt19937_64 random(20240229);
  for (size_t count = 0; count <= 100; ++count) {
    std::vector<uint64_t> samples(count);
    for (uint64_t& sample : samples) sample = random() % 1000;
    ExpectSimpleEstimatesInAnyOrder({0, 999}, samples, 37, 1);
    ExpectSimpleEstimatesInAnyOrder({250, 749}, samples, 10, 5);  // about half of them outside
    ExpectSimpleEstimatesInAnyOrder({400, 410}, samples, 10, 1);  // nearly all
    ExpectSimpleEstimatesInAnyOrder({2000, 2010}, samples, 3, 1);
    for (uint64_t& sample : samples) sample %= 3;
    ExpectSimpleEstimatesInAnyOrder({0, 2}, samples, 4, 1);
  }
}

TEST(UtilGetQuartiles, BucketsOfAnyWidthAreCountedAlike) {
  std::mt19937_64 random(20240229);
  for (int width = 0; width < 64; ++width) {
    for (const uint32_t bucket_count : {1U, 2U, 3U, 10U, 800U}) {
      const uint64_t span = kHighest >> width;
      const uint64_t low = random() % (kHighest - span + 1 != 0 ? kHighest - span + 1 : kHighest);
      std::vector<uint64_t> samples(61);
      for (uint64_t& sample : samples)
        sample = low + (span == kHighest ? random() : random() % (span + 1));
      ExpectSimpleEstimatesInAnyOrder({low, low + span}, samples, bucket_count, 1 + span / 1000);
    }
  }
}

TEST(UtilGetQuartiles, TheFirstAndLastNumberOfEachBucketAreInIt) {
  // Neighbours of all places where a bucket may end, exactly or after rounding.
  for (const uint64_t values :
       {uint64_t{29}, uint64_t{1000}, uint64_t{1} << 40, (uint64_t{1} << 52) - 1, uint64_t{1} << 52,
        (uint64_t{1} << 52) + 1, (uint64_t{1} << 53) + 1, (uint64_t{1} << 60) + 12345, kHighest}) {
    for (const uint32_t bucket_count : {1U, 3U, 7U, 10U}) {
      std::vector<uint64_t> samples;
      for (uint64_t bucket = 0; bucket <= bucket_count; ++bucket) {
        const auto end = static_cast<uint64_t>(static_cast<long double>(values) *
                                               static_cast<long double>(bucket) / bucket_count);
        for (uint64_t i = 0; i < 7; ++i) samples.push_back(std::min(end - 3 + i, values - 1));
        for (uint64_t step = 8; step < 8192; step *= 2) {
          samples.push_back(std::min(end - step, values - 1));
          samples.push_back(std::min(end + step, values - 1));
        }
      }
      ExpectSimpleEstimatesInAnyOrder({0, values - 1}, samples, bucket_count, values / 5 + 1);
    }
  }
}

TEST(UtilGetQuartiles, RangesThatEndBeforeTheyBeginHoldNothing) {
  std::vector<uint64_t> samples;
  for (uint64_t i = 0; i < 40; ++i) samples.push_back(i * 37 % 40);
  ExpectSimpleEstimatesInAnyOrder({20, 10}, samples, 10, 1);
  ExpectSimpleEstimatesInAnyOrder({20, 19}, samples, 10, 1);
  ExpectSimpleEstimatesInAnyOrder({kHighest, 0}, samples, 10, 1);
}

TEST(UtilGetQuartiles, LongRunsInOneBucketAreCountedWhole) {
  for (const size_t count : {15U, 16U, 17U, 31U, 33U, 48U, 49U, 500U, 5000U}) {
    std::vector<uint64_t> samples(count, 123456);
    ExpectSimpleEstimatesInAnyOrder({0, 999999}, samples, 1000, 1);
    samples.insert(samples.begin(), 17, 5);
    samples.insert(samples.end(), count / 3, 123999);
    samples.insert(samples.end(), count / 2, 124000);
    ExpectSimpleEstimatesInAnyOrder({0, 999999}, samples, 1000, 1);
  }
}

}  // namespace
