// What counts as memory that is kept.
#include "check/heap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

namespace {

using namespace kzfi_simhost;

/// Blocks that are there until the end.
class Kept {
  public:
    Kept() = default;
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;
    ~Kept() {
        for (void* const block : blocks) {
            std::free(block);
        }
    }

    void keep(std::size_t size) { blocks.push_back(std::malloc(size)); }

  private:
    std::deque<void*> blocks;
};

TEST(HeapTest, NothingIsKeptByWhatIsGivenBack) {
    EXPECT_EQ(keptPerTurn({5, 20}, [] { std::free(std::malloc(5000)); }), 0U);
}

TEST(HeapTest, OneBlockATurnIsSeen) {
    Kept kept;
    const std::size_t bytes = keptPerTurn({5, 20}, [&] { kept.keep(100); });
    EXPECT_GE(bytes, 100U);
    EXPECT_LT(bytes, 200U);
}

TEST(HeapTest, BlocksThatAreNotOnTheHeapAreSeen) {
    Kept kept;
    EXPECT_GE(keptPerTurn({5, 20}, [&] { kept.keep(1 << 20); }), std::size_t(1) << 20);
}

TEST(HeapTest, AListThatDoublesItsRoomIsSeen) {
    std::vector<std::string> list;
    EXPECT_GT(keptPerTurn({20, 80}, [&] { list.emplace_back("short"); }), 0U);
}

TEST(HeapTest, WhatGrowsOnceIsNotSeen) {
    Kept kept;
    int turn = 0;
    const auto fillUp = [&] {
        if (++turn == 15 || turn == 40) {
            kept.keep(20000);
        }
    };
    EXPECT_EQ(keptPerTurn({5, 20}, fillUp), 0U);
    EXPECT_GT(turn, 40);
}

TEST(HeapTest, SoManyAllocationsATurnAreAllowed) {
    Kept kept;
    const auto keepTen = [&] {
        for (int i = 0; i < 10; ++i) {
            kept.keep(24);
        }
    };
    EXPECT_EQ(keptPerTurn({1, 1, 1000}, keepTen), 0U);
    EXPECT_GT(keptPerTurn({1, 1, 5}, keepTen), 0U);
}

} // namespace
