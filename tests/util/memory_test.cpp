// SPDX-License-Identifier: MIT

#include "util/memory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "tests/support/guarded_bytes.h"

namespace {

using support::Bytes;
using support::Contents;
using support::Counting;
using support::GuardedBuffer;
using support::GuardedBytes;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;

Bytes BytesOf(std::string_view text) { return {text.begin(), text.end()}; }

// ---- First difference ----

using FindDiff = int32_t (*)(const void*, const void*, int32_t);
constexpr FindDiff kBothFinders[] = {UTIL_FindFirstDiff, UTIL_FindFirstDiffNoCase};

TEST(UtilFindFirstDiff, GivesTheIndexOfTheFirstDifference) {
  EXPECT_EQ(UTIL_FindFirstDiff("abcd", "abXX", 4), 2);
  EXPECT_EQ(UTIL_FindFirstDiff("abcd", "Xbcd", 4), 0);
  EXPECT_EQ(UTIL_FindFirstDiff("abcd", "abcX", 4), 3);
  EXPECT_EQ(UTIL_FindFirstDiff("abcd", "abcX", 3), -1);
  EXPECT_EQ(UTIL_FindFirstDiff("a\0c", "a\0d", 3), 2);
  EXPECT_EQ(UTIL_FindFirstDiff("abc", "abC", 3), 2);
}

TEST(UtilFindFirstDiff, CountsBelowOneGiveMinusOne) {
  for (const FindDiff find : kBothFinders) {
    EXPECT_EQ(find("a", "b", 0), -1);
    EXPECT_EQ(find("a", "b", -1), -1);
    EXPECT_EQ(find("a", "b", INT32_MIN), -1);
  }
}

TEST(UtilFindFirstDiff, FindsADifferenceAtEveryPlaceInEveryLength) {
  for (const FindDiff find : kBothFinders) {
    for (int32_t length = 0; length <= 150; ++length) {
      GuardedBytes first(Bytes(static_cast<size_t>(length), 0x41));
      GuardedBytes second(Bytes(static_cast<size_t>(length), 0x41));
      EXPECT_EQ(find(first.bytes(), second.bytes(), length), -1) << length;
      for (int32_t i = length - 1; i >= 0; --i) {
        second.bytes()[i] = 0x43;  // those behind it stay different
        EXPECT_EQ(find(first.bytes(), second.bytes(), length), i) << length;
        EXPECT_EQ(find(second.bytes(), first.bytes(), length), i) << length;
      }
    }
  }
}

TEST(UtilFindFirstDiff, SeesEverySingleBit) {
  for (const int32_t place : {0, 7, 8, 15, 16, 63, 64, 70, 79}) {
    for (int bit = 0; bit < 8; ++bit) {
      SCOPED_TRACE(testing::Message() << "bit " << bit << " of byte " << place);
      GuardedBuffer first(80);
      GuardedBuffer second(80);
      second.bytes()[place] ^= static_cast<uint8_t>(1 << bit);
      EXPECT_EQ(UTIL_FindFirstDiff(first.bytes(), second.bytes(), 80), place);
    }
  }
}

TEST(UtilFindFirstDiff, DoesNotLookBehindTheCount) {
  GuardedBytes first(Bytes(100, 'a'));
  GuardedBytes second(Bytes(100, 'b'));
  for (const FindDiff find : kBothFinders) {
    for (int32_t count = 1; count < 100; ++count) {
      std::fill_n(second.bytes(), count, uint8_t{'a'});
      EXPECT_EQ(find(first.bytes(), second.bytes(), count), -1) << count;
      EXPECT_EQ(find(first.bytes(), second.bytes(), count + 1), count);
    }
    std::fill_n(second.bytes(), 100, uint8_t{'b'});
  }
}

TEST(UtilFindFirstDiffNoCase, FoldsTheLettersAToZ) {
  EXPECT_EQ(UTIL_FindFirstDiffNoCase("aBcD", "AbCd", 4), -1);
  EXPECT_EQ(UTIL_FindFirstDiffNoCase("aBcD", "AbXd", 4), 2);
  EXPECT_EQ(UTIL_FindFirstDiffNoCase("A\0b", "a\0C", 3), 2);
}

uint8_t Folded(uint32_t byte) {
  return static_cast<uint8_t>(byte >= 0x41 && byte <= 0x5A ? byte + 0x20 : byte);
}

// All pairs of byte values: in a group of blocks, in a single block and in the rest behind it.
TEST(UtilFindFirstDiffNoCase, FoldsNothingElse) {
  GuardedBytes first(Bytes(64 + 16 + 1));
  GuardedBytes second(Bytes(64 + 16 + 1));
  for (uint32_t a = 0; a < 256; ++a) {
    for (uint32_t b = 0; b < 256; ++b) {
      for (const int32_t place : {32, 37, 64, 70, 80}) {
        first.bytes()[place] = static_cast<uint8_t>(a);
        second.bytes()[place] = static_cast<uint8_t>(b);
        const int32_t expected = Folded(a) == Folded(b) ? -1 : place;
        ASSERT_EQ(UTIL_FindFirstDiffNoCase(first.bytes(), second.bytes(), 81), expected)
            << a << " and " << b;
        first.bytes()[place] = second.bytes()[place] = 0;
      }
    }
  }
}

// ---- Comparison ----

TEST(UtilMemcmp, GivesTheDifferenceOfTheFirstDifferingBytes) {
  EXPECT_EQ(UTIL_memcmp("abc", "abd", 3), -1);
  EXPECT_EQ(UTIL_memcmp("abd", "abc", 3), 1);
  EXPECT_EQ(UTIL_memcmp("aZz", "aBa", 3), 24);  // Z minus B
  EXPECT_EQ(UTIL_memcmp("a", "A", 1), 32);
  EXPECT_EQ(UTIL_memcmp("a\0c", "a\0e", 3), -2);
}

TEST(UtilMemcmp, BytesAreUnsigned) {
  EXPECT_EQ(UTIL_memcmp("\x80", "\x01", 1), 127);
  EXPECT_EQ(UTIL_memcmp("\x01", "\xFF", 1), -254);
  EXPECT_EQ(UTIL_memcmp("\xFF", "\0", 1), 255);
}

TEST(UtilMemcmp, EqualBuffersAndCountsBelowOneGiveZero) {
  EXPECT_EQ(UTIL_memcmp("abc", "abc", 3), 0);
  EXPECT_EQ(UTIL_memcmp("abc", "abd", 2), 0);
  EXPECT_EQ(UTIL_memcmp("a", "b", 0), 0);
  EXPECT_EQ(UTIL_memcmp("a", "b", -5), 0);
}

TEST(UtilMemicmp, GivesTheDifferenceOfTheFirstDifferingFoldedBytes) {
  EXPECT_EQ(UTIL_memicmp("abc", "ABD", 3), -1);
  EXPECT_EQ(UTIL_memicmp("On", "Off", 2), 8);
  EXPECT_EQ(UTIL_memicmp("Z", "_", 1), 27);  // 0x7A minus 0x5F
}

TEST(UtilMemicmp, FoldedBytesAreSignedAndTheirDifferenceIsNotClamped) {
  EXPECT_EQ(UTIL_memicmp("\xFF", "\x01", 1), -2);
  EXPECT_EQ(UTIL_memicmp("\x80", "\x7F", 1), -255);
  EXPECT_EQ(UTIL_memicmp("\x7F", "\x80", 1), 255);
  EXPECT_EQ(UTIL_memicmp("\0", "\x80", 1), 128);
}

TEST(UtilMemicmp, DoesNotStopAtAZeroByte) {
  EXPECT_EQ(UTIL_memicmp("a\0b", "A\0C", 3), -1);
  EXPECT_EQ(UTIL_memicmp("a\0b", "A\0B", 3), 0);
}

TEST(UtilMemicmp, EqualBuffersAndCountZeroGiveZero) {
  EXPECT_EQ(UTIL_memicmp("-LocalEcho", "-LOCALECHO", 10), 0);
  EXPECT_EQ(UTIL_memicmp("abcX", "ABCY", 3), 0);
  EXPECT_EQ(UTIL_memicmp("a", "b", 0), 0);
}

TEST(UtilMemicmp, ReadsExactlyTheCount) {
  for (uint32_t length = 0; length <= 100; ++length) {
    GuardedBytes first(Bytes(length, 'q'));
    GuardedBytes second(Bytes(length, 'Q'));
    EXPECT_EQ(UTIL_memicmp(first.bytes(), second.bytes(), length), 0) << length;
    if (length == 0) continue;
    second.bytes()[length - 1] = 'P';
    EXPECT_EQ(UTIL_memicmp(first.bytes(), second.bytes(), length), 1) << length;
  }
}

// ---- Search ----

TEST(UtilFindNotByte, FindsTheFirstOtherByteAtEveryPlaceInEveryLength) {
  for (uint32_t length = 0; length <= 150; ++length) {
    GuardedBytes buffer(Bytes(length, 0xFF));
    EXPECT_EQ(UTIL_FindNotByte(buffer.bytes(), 0xFF, length), -1) << length;
    for (int32_t i = static_cast<int32_t>(length) - 1; i >= 0; --i) {
      buffer.bytes()[i] = 0x7F;  // those behind it stay so
      EXPECT_EQ(UTIL_FindNotByte(buffer.bytes(), 0xFF, length), i) << length;
    }
  }
}

TEST(UtilFindNotByte, EqualBytesThatAreNotTheGivenOneAreFoundAtOnce) {
  const Bytes bytes(40, 0x00);
  EXPECT_EQ(UTIL_FindNotByte(bytes.data(), 0xFF, 40), 0);
  EXPECT_EQ(UTIL_FindNotByte(bytes.data(), 0x01, 1), 0);
}

TEST(UtilFindNotByte, CountZeroGivesMinusOne) {
  EXPECT_EQ(UTIL_FindNotByte("x", 'y', 0), -1);
  EXPECT_EQ(UTIL_FindNotByte(nullptr, 0, 0), -1);
}

// Zeros that take up addresses, but hardly any memory.
class HugeZeros {
 public:
  explicit HugeZeros(size_t size) : size_(size) {
    memory_ =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON | MAP_NORESERVE, -1, 0);
    if (memory_ == MAP_FAILED) abort();
  }
  ~HugeZeros() { munmap(memory_, size_); }
  HugeZeros(const HugeZeros&) = delete;
  HugeZeros& operator=(const HugeZeros&) = delete;

  uint8_t* bytes() { return static_cast<uint8_t*>(memory_); }

 private:
  size_t size_;
  void* memory_;
};

TEST(UtilMemory, CountsAbove31BitsAreNotNegative) {
  HugeZeros zeros(0x80000040);
  zeros.bytes()[1000] = 5;
  EXPECT_EQ(UTIL_FindNotByte(zeros.bytes(), 0, 0x80000000), 1000);
  EXPECT_EQ(UTIL_memicmp(zeros.bytes() + 1, zeros.bytes(), 0x80000030), 5);
}

// ---- Reversal ----

TEST(UtilReverse, ReversesTheOrderInPlace) {
  GuardedBytes buffer(BytesOf("abcde"));
  UTIL_Reverse(buffer.bytes(), 5);
  EXPECT_EQ(Contents(buffer), BytesOf("edcba"));
  UTIL_Reverse(buffer.bytes() + 1, 2);
  EXPECT_EQ(Contents(buffer), BytesOf("ecdba"));
}

TEST(UtilReverse, ReversesEveryLengthAtAnyAlignment) {
  for (size_t length = 0; length <= 100; ++length) {
    for (size_t offset = 0; offset < 3; ++offset) {
      SCOPED_TRACE(testing::Message() << length << " bytes, offset " << offset);
      GuardedBuffer buffer(length + offset);
      for (size_t i = 0; i < length; ++i) buffer.bytes()[i] = static_cast<uint8_t>(i);
      UTIL_Reverse(buffer.bytes(), static_cast<uint32_t>(length));
      for (size_t i = 0; i < length; ++i) EXPECT_EQ(buffer.bytes()[i], length - 1 - i);
      EXPECT_TRUE(buffer.IsUntouched(length, length + offset));
    }
  }
}

// ---- Records ----

TEST(UtilCopyRecords, EqualSizesAreCopiedAsTheyAre) {
  GuardedBytes source(Counting(12));
  GuardedBuffer destination(12);
  UTIL_CopyRecords(destination.bytes(), 4, source.bytes(), 4, 3);
  EXPECT_EQ(Contents(destination), Counting(12));
}

TEST(UtilCopyRecords, LargerSourceRecordsAreCut) {
  GuardedBytes source({1, 2, 3, 4, 5, 6, 7, 8, 9});
  GuardedBuffer destination(6);
  UTIL_CopyRecords(destination.bytes(), 2, source.bytes(), 3, 3);
  EXPECT_THAT(Contents(destination), ElementsAre(1, 2, 4, 5, 7, 8));
}

TEST(UtilCopyRecords, SmallerSourceRecordsAreFilledUpWithZeros) {
  GuardedBytes source({1, 2, 3, 4, 5, 6});
  GuardedBuffer destination(12);
  UTIL_CopyRecords(destination.bytes(), 4, source.bytes(), 2, 3);
  EXPECT_THAT(Contents(destination), ElementsAre(1, 2, 0, 0, 3, 4, 0, 0, 5, 6, 0, 0));
}

TEST(UtilCopyRecords, SourceSizeZeroClearsTheDestination) {
  GuardedBytes source({1});
  GuardedBuffer destination(12);
  UTIL_CopyRecords(destination.bytes(), 4, source.bytes(), 0, 3);
  EXPECT_THAT(Contents(destination), Each(0));
}

TEST(UtilCopyRecords, NothingHappensWithoutRecords) {
  GuardedBytes source(Counting(8));
  GuardedBuffer destination(8);
  UTIL_CopyRecords(nullptr, 4, source.bytes(), 4, 2);
  UTIL_CopyRecords(nullptr, 4, source.bytes(), 0, 2);
  UTIL_CopyRecords(destination.bytes(), 4, nullptr, 4, 2);
  UTIL_CopyRecords(destination.bytes(), 4, nullptr, 0, 2);
  UTIL_CopyRecords(destination.bytes(), 0, source.bytes(), 4, 2);
  UTIL_CopyRecords(destination.bytes(), 0, source.bytes(), 0, 2);
  UTIL_CopyRecords(destination.bytes(), 4, source.bytes(), 4, 0);
  UTIL_CopyRecords(destination.bytes(), 4, source.bytes(), 0, 0);
  UTIL_CopyRecords(destination.bytes(), 4, source.bytes(), 2, 0);
  EXPECT_TRUE(destination.IsUntouched(0, 8));
}

// ---- Structures with a size field ----

// A structure of that many bytes which declares another size if need be. Its payload is 1, 2, 3 and
// so on.
Bytes Structure(size_t size, uint32_t declared_size) {
  Bytes structure = Counting(size);
  for (size_t i = 4; i < size; ++i) structure[i] = static_cast<uint8_t>(i - 3);
  memcpy(structure.data(), &declared_size, sizeof declared_size);
  return structure;
}

// A structure that waits for its payload.
class Destination : public GuardedBuffer {
 public:
  Destination(size_t size, uint32_t declared_size) : GuardedBuffer(size) {
    memcpy(bytes(), &declared_size, sizeof declared_size);
  }
  explicit Destination(uint32_t size) : Destination(size, size) {}

  uint32_t declared_size() {
    uint32_t size = 0;
    memcpy(&size, bytes(), sizeof size);
    return size;
  }
  Bytes payload() { return {bytes() + 4, bytes() + size()}; }
};

Bytes CopiedPayload(uint32_t destination_size, const Bytes& source) {
  Destination destination(destination_size);
  GuardedBytes guarded_source(source);
  UTIL_CopyAPIStruct(destination.bytes(), guarded_source.bytes(), "NAME");
  EXPECT_EQ(destination.declared_size(), destination_size);
  EXPECT_EQ(Contents(guarded_source), source);
  return destination.payload();
}

TEST(UtilCopyAPIStruct, CutsALargerSource) {
  EXPECT_THAT(CopiedPayload(12, Structure(20, 20)), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(UtilCopyAPIStruct, FillsUpASmallerSourceWithZeros) {
  EXPECT_THAT(CopiedPayload(20, Structure(12, 12)),
              ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(CopiedPayload(12, Structure(10, 10)), ElementsAre(1, 2, 3, 4, 5, 6, 0, 0));
  EXPECT_THAT(CopiedPayload(12, Structure(4, 4)), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(UtilCopyAPIStruct, CopiesEqualSizesWhole) {
  EXPECT_THAT(CopiedPayload(12, Structure(12, 12)), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(UtilCopyAPIStruct, SourceSizeBelowFourMeansAllThatTheDestinationTakes) {
  for (uint32_t size = 0; size < 4; ++size) {
    SCOPED_TRACE(size);
    EXPECT_THAT(CopiedPayload(12, Structure(12, size)), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  }
}

TEST(UtilCopyAPIStruct, AcceptsDestinationsOfFourTo4100Bytes) {
  EXPECT_THAT(CopiedPayload(4, Structure(20, 20)), ElementsAre());
  EXPECT_THAT(CopiedPayload(8, Structure(20, 20)), ElementsAre(1, 2, 3, 4));
  const Bytes largest = Structure(4100, 4100);
  EXPECT_THAT(CopiedPayload(4100, largest), ElementsAreArray(largest.begin() + 4, largest.end()));
}

TEST(UtilCopyAPIStruct, RefusesOtherDestinationsInSilence) {
  const struct {
    size_t size;
    uint32_t declared_size;
  } cases[] = {{10, 10},     {5, 5},           {13, 13},         {14, 14},         {15, 15},
               {4104, 4104}, {4101, 4101},     {20, 0},          {20, 1},          {20, 2},
               {20, 3},      {20, 0x80000000}, {20, 0xFFFFFFFC}, {20, 0xFFFFFFFF}, {20, 0x10000C}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.declared_size);
    Destination destination(c.size, c.declared_size);
    GuardedBytes source(Structure(20, 20));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    UTIL_CopyAPIStruct(destination.bytes(), source.bytes(), "NAME");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(destination.declared_size(), c.declared_size);
    EXPECT_TRUE(destination.IsUntouched(4, c.size));
  }
}

TEST(UtilCopyAPIStruct, TakesNamesOfAnyLength) {
  Destination destination(10);
  GuardedBytes source(Structure(20, 20));
  UTIL_CopyAPIStruct(destination.bytes(), source.bytes(), std::string(1000, 'N').c_str());
  EXPECT_TRUE(destination.IsUntouched(4, 10));
}

TEST(UtilCopyAPIStruct, CopiesAtAnyAlignment) {
  for (size_t offset = 1; offset < 4; ++offset) {
    GuardedBytes source(Structure(12, 12));
    GuardedBuffer destination(12 + offset);
    const uint32_t size = 12;
    memcpy(destination.bytes(), &size, sizeof size);
    UTIL_CopyAPIStruct(destination.bytes(), source.bytes(), "NAME");
    EXPECT_THAT(Bytes(destination.bytes() + 4, destination.bytes() + 12),
                ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  }
}

}  // namespace
