#include <qxut/util/md5.hpp>

#include <gtest/gtest.h>

#include <new>
#include <random>
#include <string>

#include "support/failing_malloc.h"
#include "util/md5_state.h"

namespace {

std::string hex(const ut_md5ChecksumValue& value) {
    std::string text;
    for (const unsigned char byte : value.bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

void add(ut_md5ChecksumRec& record, const std::string& text) {
    record.addn(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

std::string digest(const std::string& text) {
    ut_md5ChecksumRec record;
    add(record, text);
    return hex(record.getValueAndReset());
}

const char* const kEmpty = "d41d8cd98f00b204e9800998ecf8427e";

TEST(Md5, Rfc1321TestSuite) {
    struct Case {
        std::string text;
        const char* expected;
    };
    const Case cases[] = {
        {"", kEmpty},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        // Where the padding and the length fit into the last block, and where they do not.
        {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
        {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
        {std::string(63, 'a'), "b06521f39153d618550606be297466d5"},
        {std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
        {std::string(65, 'a'), "c743a45e0d2e6a95cb859adae0248435"},
        {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(digest(text), expected) << text.size() << " bytes: " << text.substr(0, 80);
    }
}

TEST(Md5, ResetsWithTheValueAndOnDemand) {
    ut_md5ChecksumRec record;
    EXPECT_EQ(hex(record.getValueAndReset()), kEmpty);
    add(record, "abc");
    record.addn(nullptr, 0);
    EXPECT_EQ(hex(record.getValueAndReset()), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(hex(record.getValueAndReset()), kEmpty);
    add(record, std::string(100, 'x'));
    record.clear();
    add(record, "abc");
    EXPECT_EQ(hex(record.getValueAndReset()), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(Md5, EverySplitGivesTheSameDigest) {
    std::mt19937 random(5);
    std::string text(200, '\0');
    for (char& byte : text) byte = static_cast<char>(random() & 0xFF);
    ut_md5ChecksumRec record;
    for (size_t n = 0; n <= text.size(); ++n) {
        const std::string whole = text.substr(0, n);
        const std::string expected = digest(whole);
        for (size_t split = 0; split <= n; ++split) {
            add(record, whole.substr(0, split));
            add(record, whole.substr(split));
            ASSERT_EQ(hex(record.getValueAndReset()), expected) << split << " of " << n;
        }
        for (size_t at = 0; at < n;) {
            const size_t part = random() % 7;
            add(record, whole.substr(at, part));
            at += part;
        }
        ASSERT_EQ(hex(record.getValueAndReset()), expected) << n << " in small parts";
    }
}

TEST(Md5, LengthInBitsCarriesAndWraps) {
    struct Case {
        uint64_t bits, bytes, expected;
    };
    const Case cases[] = {
        {0xFFFFFFF8, 1, 0x100000000},
        {0xFFFFFFF8, 0x20000000, 0x1FFFFFFF8},
        {0, uint64_t{1} << 29, uint64_t{1} << 32},
        {0, (uint64_t{1} << 61) - 1, 0xFFFFFFFFFFFFFFF8},
        {8, (uint64_t{1} << 61) - 1, 0},
        {0x123456780, uint64_t{1} << 63, 0x123456780},
        {0, ~uint64_t{0}, 0xFFFFFFFFFFFFFFF8},
    };
    for (const auto& [bits, bytes, expected] : cases) {
        ut_md5ChecksumState state;
        state.bits_low = static_cast<uint32_t>(bits);
        state.bits_high = static_cast<uint32_t>(bits >> 32);
        state.count(bytes);
        EXPECT_EQ((uint64_t{state.bits_high} << 32) | state.bits_low, expected)
            << bits << " bits, " << bytes << " bytes more";
    }
}

// A stream of 2^61 bytes has a length of 0 bits, so its last block is that of an empty stream.
TEST(Md5, BothWordsOfTheLengthReachTheDigest) {
    const auto digest_with_length = [](uint32_t low, uint32_t high) {
        ut_md5ChecksumState state;
        state.bits_low = low;
        state.bits_high = high;
        return hex(state.finish());
    };
    EXPECT_EQ(digest_with_length(0, 0), kEmpty);
    EXPECT_NE(digest_with_length(0, 1), kEmpty);
    EXPECT_NE(digest_with_length(0, 0x80000000), digest_with_length(0, 1));
}

TEST(Md5, ARecordWithoutMemoryStaysWithoutState) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP() << "the sanitizer's heap cannot be made to fail";
    alignas(ut_md5ChecksumRec) unsigned char storage[sizeof(ut_md5ChecksumRec)];
    ut_md5ChecksumRec* made = nullptr;
    {
        const qxut_test::FailingMalloc failing(0);
        made = new (storage) ut_md5ChecksumRec;
    }
    ASSERT_TRUE(qxut_test::FailingMalloc::has_failed());
    add(*made, "abc");
    made->clear();
    EXPECT_EQ(hex(made->getValueAndReset()), std::string(32, '0'));
    made->~ut_md5ChecksumRec();
}

}  // namespace
