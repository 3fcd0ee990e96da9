// records_test.cpp - recorded failures: the table against a set, and what they save.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <tuple>

#include "regexp/matched.h"
#include "regexp/records.h"

namespace {

using qxut::regexp::Records;
using qxut_test::Matched;

TEST(Records, HoldWhatWasAdded) {
    std::mt19937 random(1);
    const auto pick = [&](size_t count) {
        return std::uniform_int_distribution<size_t>(0, count - 1)(random);
    };
    Records records;
    std::set<std::tuple<uint32_t, uint64_t, size_t>> expected;
    for (int i = 0; i < 3000; ++i) {
        const Records::Point point{static_cast<uint32_t>(pick(4)), pick(3)};
        const size_t first = pick(5000);
        const size_t last = first + pick(200);
        records.add(point, first, last, 0, size_t{1} << 20);
        for (size_t k = first; k <= last; ++k) expected.emplace(point.instruction, point.state, k);
    }
    for (uint32_t instruction = 0; instruction < 5; ++instruction) {
        for (uint64_t state = 0; state < 4; ++state) {
            for (size_t position = 0; position < 5300; ++position) {
                ASSERT_EQ(records.has({instruction, state}, position),
                          expected.count({instruction, state, position}) != 0);
            }
        }
    }
}

TEST(Records, ForgetWhatDoesNotFit) {
    constexpr size_t kRoom = 64 * 1024;
    Records records;
    for (size_t i = 0; i < 100000; ++i) {
        records.add({1, i}, i, i, i, kRoom);
        ASSERT_LE(records.bytes(), kRoom);
        ASSERT_TRUE(records.has({1, i}, i)) << i;
    }
    // The room for the least table is less than that.
    Records none;
    none.add({1, 0}, 0, 0, 0, 100);
    EXPECT_EQ(none.bytes(), 0U);
    EXPECT_FALSE(none.has({1, 0}, 0));
}

// Steps, which are the same on every machine, for a character of a long text and of a short one.
TEST(Records, MakeTheTimeLinear) {
    const char16_t* const patterns[] = {
        u"(x+x+)+y",
        u"^(x+)+$",
        u"(x|x)*y",
        u"(?=(?:x+x+)+y)",
        u"(?!(?:x|xx)+y)x",
        u"(?<=^(?:x|xx)+y)z",
        u"(?<!(?:x+x+)+y)z",
        u"^(?:x?)*(?:x*)*y",
        u"(?:(?:x|xx)+|x*)*y",
        u"^(?:x|xx){2,30}y",
        u"(?:x{1,3}){3,}y",
        u"x*x*x*y",
        u"(?>x*)y",
        u"x*+y",
        u"^(?:x|xy?)*+y",
        u"x*?x*?x*?y",
        u"x{2,9}?x{2,9}y",
        u"(?(?=x*y)z|x+)+y",
    };
    for (const char16_t* pattern : patterns) {
        SCOPED_TRACE(testing::PrintToString(pattern));
        Matched matched(pattern);
        const auto steps = [&](size_t length) {
            (void)matched.find(std::u16string(length, u'x') + u"z");
            return static_cast<double>(matched.request().steps_used) / static_cast<double>(length);
        };
        const double of_short = steps(1000);
        EXPECT_LT(steps(30), 200);
        EXPECT_NO_THROW(EXPECT_LT(steps(30000), 2 * of_short + 1));
    }
}

TEST(Records, EndWithAnErrorWhereTheyDoNotFit) {
    Matched matched(u"(?:(x+x+)+y|\\1z)");  // a back-reference: nothing is recorded
    EXPECT_THROW((void)matched.find(std::u16string(40, u'x')), std::exception);
    matched.request().limits.memory = 100'000;
    Matched deep(u"(?:xy|x)*z");
    deep.request().limits.memory = 100'000;
    EXPECT_THROW((void)deep.find(std::u16string(100'000, u'x')), std::exception);
    EXPECT_EQ(deep.find(u"xyxz"), (std::vector<size_t>{0, 4}));
}

}  // namespace
