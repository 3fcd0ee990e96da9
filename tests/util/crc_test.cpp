#include <qxut/util/crc.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <qxut/util/crc_initializer.hpp>

namespace {

// The definition: one bit at a time.
uint32_t bitwise(uint32_t crc, const std::string& bytes) {
    uint32_t h = ~crc;
    for (const char byte : bytes) {
        h ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) h = (h >> 1) ^ ((h & 1) != 0 ? 0xEDB88320u : 0u);
    }
    return ~h;
}

std::string random_bytes(size_t n) {
    std::mt19937 random(static_cast<uint32_t>(n) + 1);
    std::string bytes(n, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() & 0xFF);
    return bytes;
}

uint32_t crc_of(uint32_t crc, const std::string& bytes) {
    return ut_crc_update(crc, bytes.data(), static_cast<uint32_t>(bytes.size()));
}

TEST(Crc, CheckValueChainsAndEmptyInput) {
    EXPECT_EQ(ut_crc_update(0, "123456789", 9), 0xCBF43926u);
    EXPECT_EQ(ut_crc_update(ut_crc_update(0, "1234", 4), "56789", 5), 0xCBF43926u);
    EXPECT_EQ(ut_crc_update(7, nullptr, 0), 7u);
    EXPECT_EQ(ut_crc_update(7, "x", 0), 7u);
}

TEST(Crc, AgreesWithTheDefinitionAtEveryLengthAndAlignment) {
    const std::string bytes = random_bytes(700);
    for (size_t n = 0; n <= 600; ++n) {
        const uint32_t seed = static_cast<uint32_t>(n) * 0x9E3779B1;
        for (size_t start = 0; start < 64; ++start) {
            const std::string run = bytes.substr(start, n);
            // A block that ends where the run does, so that a read past it is found.
            const std::vector<char> block(bytes.begin(),
                                          bytes.begin() + static_cast<ptrdiff_t>(start + n));
            ASSERT_EQ(ut_crc_update(seed, block.data() + start, static_cast<uint32_t>(n)),
                      bitwise(seed, run))
                << n << " bytes at " << start;
        }
    }
}

TEST(Crc, LongRunsChainWhereverTheyAreSplit) {
    std::mt19937 random(11);
    for (const size_t n : {1024u, 4095u, 65537u, 300001u}) {
        const std::string bytes = random_bytes(n);
        const uint32_t expected = bitwise(0xFEEDBEEF, bytes);
        EXPECT_EQ(crc_of(0xFEEDBEEF, bytes), expected) << n;
        for (int split = 0; split < 10; ++split) {
            uint32_t crc = 0xFEEDBEEF;
            for (size_t at = 0; at < n;) {
                const size_t part = std::min<size_t>(n - at, random() % (n / 3));
                crc = ut_crc_update(crc, bytes.data() + at, static_cast<uint32_t>(part));
                at += part;
            }
            EXPECT_EQ(crc, expected) << n;
        }
    }
}

TEST(Crc, TextsAreOneStream) {
    struct Case {
        std::vector<const char*> texts;
        uint32_t seed, expected;
    };
    const Case cases[] = {
        {{"1234", "56789", nullptr}, 0, 0xCBF43926},
        {{"", "1234", "", "56789", "", nullptr}, 0, 0xCBF43926},
        {{"56789", nullptr}, ut_crc_update(0, "1234", 4), 0xCBF43926},
        // Empty texts are texts: the seed comes back. No text at all gives 0.
        {{"", "", nullptr}, 7, 7},
        {{nullptr}, 7, 0},
        {{nullptr, "not reached"}, 7, 0},
    };
    for (const auto& [texts, seed, expected] : cases) {
        EXPECT_EQ(ut_crc_string_array(seed, texts.data()), expected) << texts.size();
    }
    EXPECT_EQ(ut_crc_string_array(7, nullptr), 0u);
}

TEST(Crc, InitialisationIsAlwaysDone) {
    EXPECT_TRUE(init_crc_i());
    EXPECT_TRUE(init_crc_i());
    EXPECT_NE(&crc_i, nullptr);
    [[maybe_unused]] const crc_initializer of_a_host;
    EXPECT_TRUE(init_crc_i());
}

}  // namespace
