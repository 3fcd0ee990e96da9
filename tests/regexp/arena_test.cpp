// Vectors that share an arena, against plain ones, while they grow past its end and shrink.
#include "regexp/arena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <random>
#include <vector>

using namespace qxut::regexp;

namespace {

TEST(Arena, VectorsKeepWhatIsInThem) {
    std::mt19937 random(7);  // NOLINT(cert-msc51-cpp): the same vectors every time
    for (int round = 0; round < 50; ++round) {
        Arena arena;
        std::vector<Working<uint64_t>> vectors(4, Working<uint64_t>(arena));
        Working<bool> bits(arena);
        std::vector<std::vector<uint64_t>> expected(4);
        std::vector<bool> expected_bits;
        for (int step = 0; step < 2000; ++step) {
            const size_t i = random() % 4;
            const uint64_t value = random();
            if (value % 64 == 0) {
                vectors[i].clear();
                vectors[i].shrink_to_fit();
                expected[i].clear();
            }
            vectors[i].push_back(value);
            expected[i].push_back(value);
            bits.push_back(value % 2 != 0);
            expected_bits.push_back(value % 2 != 0);
        }
        for (size_t i = 0; i < 4; ++i)
            EXPECT_TRUE(std::equal(vectors[i].begin(), vectors[i].end(), expected[i].begin(),
                                   expected[i].end()));
        EXPECT_TRUE(
            std::equal(bits.begin(), bits.end(), expected_bits.begin(), expected_bits.end()));
    }
}

TEST(Arena, GivesAgainWhatWasTakenLast) {
    Arena arena;
    void* const first = arena.allocate(3, 5);
    void* const second = arena.allocate(1, 100);
    arena.free(second, 1, 100);
    EXPECT_EQ(arena.allocate(2, 8), second);
    void* const large = arena.allocate(Arena::kBytes, 1);
    EXPECT_NE(large, nullptr);
    arena.free(large, Arena::kBytes, 1);
    EXPECT_THROW(arena.allocate(SIZE_MAX / 2, 8), std::bad_alloc);
    arena.free(second, 2, 8);
    arena.free(first, 3, 5);
    EXPECT_EQ(arena.allocate(Arena::kBytes, 1), first);
}

}  // namespace
