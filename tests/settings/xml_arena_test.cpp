// SPDX-License-Identifier: MIT

#include "settings/xml_arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "tests/support/failing_allocation.h"

namespace {

using support::FailingAllocation;
using xml_arena::Carve;
using xml_arena::kBlockCapacity;

class XmlArena : public testing::Test {
 protected:
  ~XmlArena() override { xml_arena::Free(arena_); }

  // Carves and writes every byte, which the sanitizers watch.
  uint8_t* CarveAndFill(uint64_t size) {
    void* const place = Carve(arena_, size);
    if (place != nullptr) memset(place, 0xA5, size);
    return static_cast<uint8_t*>(place);
  }

  XML_ARENA* arena_ = xml_arena::Create();
};

TEST_F(XmlArena, BeginsAsOneEmptyBlockOf4MiB) {
  EXPECT_EQ(arena_->capacity, 4194304U);
  EXPECT_EQ(arena_->used, 0U);
  EXPECT_EQ(arena_->next, nullptr);
  EXPECT_EQ(arena_->data, reinterpret_cast<uint8_t*>(arena_ + 1));
}

TEST_F(XmlArena, CarvesBackToBackWithoutGaps) {
  uint8_t* const first = CarveAndFill(3);
  EXPECT_EQ(first, arena_->data);
  EXPECT_EQ(CarveAndFill(1), first + 3);
  EXPECT_EQ(CarveAndFill(56), first + 4);
  EXPECT_EQ(CarveAndFill(1), first + 60);
  EXPECT_EQ(arena_->used, 61U);
}

TEST_F(XmlArena, FillsABlockToItsLastByte) {
  CarveAndFill(kBlockCapacity - 10);
  CarveAndFill(10);
  EXPECT_EQ(arena_->used, kBlockCapacity);
  EXPECT_EQ(arena_->next, nullptr);
}

TEST_F(XmlArena, LinksABlockAtTheEndWhenNoneHasRoom) {
  CarveAndFill(kBlockCapacity - 10);
  uint8_t* const place = CarveAndFill(11);
  ASSERT_NE(arena_->next, nullptr);
  EXPECT_EQ(place, arena_->next->data);
  EXPECT_EQ(arena_->next->capacity, 4194304U);
  EXPECT_EQ(arena_->next->used, 11U);
  CarveAndFill(kBlockCapacity - 11);
  CarveAndFill(11);
  ASSERT_NE(arena_->next->next, nullptr);
  EXPECT_EQ(arena_->next->next->used, 11U);
}

TEST_F(XmlArena, TakesTheFirstBlockWithRoom) {
  uint8_t* const first = CarveAndFill(kBlockCapacity - 10);
  uint8_t* const second = CarveAndFill(20);
  EXPECT_EQ(CarveAndFill(10), first + kBlockCapacity - 10);
  EXPECT_EQ(CarveAndFill(1), second + 20);
}

TEST_F(XmlArena, GivesABlockOfItsOwnFrom4MiBOn) {
  CarveAndFill(8);
  for (const uint32_t size : {kBlockCapacity, kBlockCapacity + 1}) {
    XML_ARENA* last = arena_;
    while (last->next != nullptr) last = last->next;
    uint8_t* const place = CarveAndFill(size);
    ASSERT_NE(last->next, nullptr);
    EXPECT_EQ(place, last->next->data);
    EXPECT_EQ(last->next->capacity, size);
    EXPECT_EQ(last->next->used, size);
  }
  EXPECT_EQ(CarveAndFill(1), arena_->data + 8);
}

TEST_F(XmlArena, GivesABlockOfItsOwnEvenWhenTheFirstIsEmpty) {
  CarveAndFill(kBlockCapacity);
  EXPECT_EQ(arena_->used, 0U);
  ASSERT_NE(arena_->next, nullptr);
  EXPECT_EQ(arena_->next->used, kBlockCapacity);
}

TEST_F(XmlArena, TakesRequestsBelow4MiBFromANormalBlock) {
  CarveAndFill(kBlockCapacity - 1);
  EXPECT_EQ(arena_->used, kBlockCapacity - 1);
  EXPECT_EQ(arena_->next, nullptr);
}

TEST_F(XmlArena, GivesNullWithoutMemoryAndStaysUsable) {
  CarveAndFill(kBlockCapacity - 10);
  {
    const FailingAllocation failing(1, FailingAllocation::Extent::kFromThenOn);
    EXPECT_EQ(CarveAndFill(11), nullptr);
    EXPECT_EQ(CarveAndFill(kBlockCapacity), nullptr);
  }
  EXPECT_EQ(arena_->next, nullptr);
  EXPECT_NE(CarveAndFill(10), nullptr);
  EXPECT_NE(CarveAndFill(11), nullptr);
}

TEST_F(XmlArena, GivesNullForWhat32BitsCannotCount) {
  const FailingAllocation counted(UINT32_MAX);
  for (const uint64_t size :
       {0xFFFFFFFFULL, 0x100000000ULL, 0x100000001ULL, 0x7FFFFFFFFFFFFFFFULL}) {
    SCOPED_TRACE(size);
    EXPECT_EQ(Carve(arena_, size), nullptr);
  }
  EXPECT_EQ(FailingAllocation::Calls(), 0U);
  EXPECT_EQ(arena_->next, nullptr);
}

TEST(XmlArenaCreate, GivesNullWithoutMemory) {
  const FailingAllocation failing(1);
  EXPECT_EQ(xml_arena::Create(), nullptr);
}

TEST(XmlArenaFree, TakesNull) { xml_arena::Free(nullptr); }

}  // namespace
