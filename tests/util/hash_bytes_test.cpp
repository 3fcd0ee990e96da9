#include <qxut/util/hash_bytes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <random>
#include <string>
#include <vector>

#include "util/byte_step.h"

namespace {

// The step by its polynomial, without any table.
uint32_t bitwise(uint32_t h, const std::string& bytes) {
    for (const char byte : bytes) {
        h ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) h = (h >> 1) ^ ((h & 1) != 0 ? 0xEDB88320u : 0u);
    }
    return h;
}

std::string random_bytes(size_t n) {
    std::mt19937 random(static_cast<uint32_t>(n) + 1);
    std::string bytes(n, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() & 0xFF);
    return bytes;
}

std::string nul(const std::string& text) { return text + '\0'; }

constexpr uint32_t kSeeds[] = {0, 1, 0x80000000, 0xDEADBEEF, 0xFFFFFFFF};

TEST(HashBytes, FastFormsGiveTheValuesOfThePlainOne) {
    for (size_t n = 0; n <= 300; ++n) {
        const std::string bytes = random_bytes(n);
        for (size_t start = 0; start < 17; ++start) {
            // A block of exactly this size, so that a read past either end is found.
            const std::vector<char> block = [&] {
                std::vector<char> padded(start + n);
                std::copy(bytes.begin(), bytes.end(),
                          padded.begin() + static_cast<std::ptrdiff_t>(start));
                return padded;
            }();
            const auto* at = reinterpret_cast<const unsigned char*>(block.data()) + start;
            for (const uint32_t seed : kSeeds) {
                const uint32_t expected = bitwise(seed, bytes);
                ASSERT_EQ(qxut::byte_steps_plain(seed, at, n), expected) << n;
                ASSERT_EQ(qxut::byte_steps_by_table(seed, at, n), expected) << n;
                ASSERT_EQ(ut_hash_n_bytes(seed, n, at), expected)
                    << n << " bytes at " << start << ", seed " << seed;
            }
        }
    }
}

TEST(HashBytes, LongRunsAndRunsInParts) {
    const std::string bytes = random_bytes(100000);
    for (const size_t n : {1023u, 1024u, 1025u, 4096u, 65537u, 100000u}) {
        const std::string run = bytes.substr(0, n);
        const uint32_t expected = bitwise(7, run);
        EXPECT_EQ(ut_hash_n_bytes(7, n, run.data()), expected) << n;
        const size_t part = n / 3;
        EXPECT_EQ(
            ut_hash_n_bytes(ut_hash_n_bytes(7, part, run.data()), n - part, run.data() + part),
            expected)
            << n;
    }
}

TEST(HashBytes, CheckValueOfTheStandardPolynomial) {
    EXPECT_EQ(~ut_hash_n_bytes(0xFFFFFFFF, 9, "123456789"), 0xCBF43926u);
    EXPECT_EQ(ut_hash_n_bytes(5, 0, nullptr), 5u);
    EXPECT_EQ(ut_hash_byte(0, 1), 0x77073096u);
}

TEST(HashBytes, NumbersFeedNoMoreBytesThanTheyNeed) {
    struct Case {
        uint32_t value;
        std::string fed;
    };
    const Case cases[] = {
        {0, std::string(1, '\0')},
        {0xFF, "\xFF"},
        {0x100, std::string("\0\x01", 2)},
        {0xFFFF, "\xFF\xFF"},
        {0x10000, std::string("\0\0\x01", 3)},
        {0xFFFFFF, "\xFF\xFF\xFF"},
        {0x1000000, std::string("\0\0\0\x01", 4)},
        {0xFFFFFFFF, "\xFF\xFF\xFF\xFF"},
    };
    for (const auto& [value, fed] : cases) {
        for (const uint32_t seed : kSeeds) {
            const uint32_t expected = bitwise(seed, fed);
            EXPECT_EQ(ut_hash_uint(seed, value), expected) << value;
            EXPECT_EQ(ut_hash_int(seed, static_cast<int32_t>(value)), expected) << value;
            EXPECT_EQ(ut_hash_float(seed, std::bit_cast<float>(value)), expected) << value;
            // The high half of an address does not count.
            const uintptr_t address = (uintptr_t{0x7FFF} << 32) | value;
            EXPECT_EQ(ut_hash_pointer(seed, reinterpret_cast<const void*>(address)), expected);
            const double number = std::bit_cast<double>((uint64_t{value} << 32) | value);
            EXPECT_EQ(ut_hash_double(seed, number), bitwise(expected, fed)) << value;
        }
    }
}

TEST(HashBytes, Texts) {
    struct Case {
        std::string text, lowered, reversed;
    };
    const Case cases[] = {
        {"", "", ""},
        {"a", "a", "a"},
        {"AZ@[az", "az@[az", "za[@ZA"},
        // Bytes above 127 are themselves in lower case.
        {"\xC4pfel \x80\xFF", "\xC4pfel \x80\xFF", "\xFF\x80 lefp\xC4"},
        {"A name of more than sixteen bytes", "a name of more than sixteen bytes",
         "setyb neetxis naht erom fo eman A"},
    };
    for (const auto& [text, lowered, reversed] : cases) {
        SCOPED_TRACE(text);
        for (const uint32_t seed : kSeeds) {
            EXPECT_EQ(ut_hash_string(seed, text.c_str()), bitwise(seed, nul(text)));
            EXPECT_EQ(ut_hash_reverse_string(seed, text.c_str()), bitwise(seed, nul(reversed)));
            EXPECT_EQ(ut_hash_lower_string(seed, text.c_str()), bitwise(seed, nul(lowered)));
            EXPECT_EQ(ut_hash_stringi(seed, text.c_str()), bitwise(seed, nul(lowered)));
        }
    }
}

}  // namespace
