#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "util/byte_step.h"
#include "util/byte_step_wide.h"
#include "util/carryless.h"

namespace {

std::vector<unsigned char> random_bytes(size_t n) {
    std::mt19937 random(static_cast<uint32_t>(n) + 3);
    std::vector<unsigned char> bytes(n);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random() & 0xFF);
    return bytes;
}

// Every form that this processor can run, whatever it would choose.
void expect_all_forms_agree(uint32_t h, const unsigned char* bytes, size_t n) {
    const uint32_t expected = qxut::byte_steps_plain(h, bytes, n);
    ASSERT_EQ(qxut::byte_steps(h, bytes, n), expected) << n;
    ASSERT_EQ(qxut::byte_steps_by_table(h, bytes, n), expected) << n;
#if defined(QXUT_CARRYLESS_MULTIPLICATION)
    const qxut::Carryless width = qxut::carryless_width();
    if (width >= qxut::Carryless::one_block) {
        ASSERT_EQ(qxut::byte_steps_by_folding(h, bytes, n), expected) << n;
    }
    if (n < qxut::kLeastForWide) return;
    if (width >= qxut::Carryless::two_blocks) {
        ASSERT_EQ(qxut::byte_steps_by_folding_2(h, bytes, n), expected) << n;
    }
    if (width >= qxut::Carryless::four_blocks) {
        ASSERT_EQ(qxut::byte_steps_by_folding_4(h, bytes, n), expected) << n;
    }
#endif
}

TEST(ByteStep, AllFormsAgreeAtEveryLength) {
    for (size_t n = 0; n <= 1200; ++n) {
        // A block of exactly this size, so that a read past its end is found.
        const std::vector<unsigned char> bytes = random_bytes(n);
        for (const uint32_t h : {0u, 1u, 0xDEADBEEFu, 0xFFFFFFFFu}) {
            expect_all_forms_agree(h, bytes.data(), n);
        }
    }
}

TEST(ByteStep, AllFormsAgreeOnLongRunsAtEveryAlignment) {
    const std::vector<unsigned char> bytes = random_bytes(70000);
    for (size_t start = 0; start < 64; ++start) {
        expect_all_forms_agree(0xFFFFFFFF, bytes.data() + start, bytes.size() - start);
        expect_all_forms_agree(0x12345678, bytes.data() + start, 4096 + start * 7);
    }
}

// What is chosen is what the processor has, and a processor without it goes by tables.
TEST(ByteStep, TheWidthDecidesTheForm) {
    const std::vector<unsigned char> bytes = random_bytes(3000);
    const qxut::Carryless found = qxut::detect_carryless();
    for (int width = static_cast<int>(qxut::Carryless::none); width <= static_cast<int>(found);
         ++width) {
        const auto forced = static_cast<qxut::Carryless>(width);
        SCOPED_TRACE(qxut::carryless_name(forced));
        qxut::carryless.store(forced);
        EXPECT_EQ(qxut::carryless_width(), forced);
        for (const size_t n : {0u, 7u, 16u, 127u, 128u, 3000u}) {
            EXPECT_EQ(qxut::byte_steps(9, bytes.data(), n),
                      qxut::byte_steps_plain(9, bytes.data(), n))
                << n;
        }
    }
    qxut::carryless.store(found);
}

}  // namespace
