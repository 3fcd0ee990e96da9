// The wide searches against their plain forms: generated texts and needles, every alignment of the
// range's beginning and end, and texts that end where memory does; for each kind of registers that
// the processor has.
#include "regexp/wide_search.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace qxut::regexp {
namespace {

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}
    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }

    // Few different units, so that nearly everything nearly matches; among them some that are alike
    // in their low bytes.
    char16_t unit() {
        constexpr char16_t kUnits[] = {u'a', u'b',  u'e',  u'A',   u' ',   u'\n',  0x80,
                                       0xE1, 0x161, 0x461, 0x4E61, 0xD861, 0xDC61, 0xFFFF};
        return below(3) != 0 ? kUnits[below(4)] : kUnits[below(std::size(kUnits))];
    }
    // In memory of its own, so that a sanitizer sees a read behind it.
    std::vector<char16_t> text(size_t length) {
        std::vector<char16_t> result(length);
        for (char16_t& u : result) u = unit();
        result.shrink_to_fit();
        return result;
    }
    UnitVariants variants(uint32_t most) {
        UnitVariants result{};
        const uint32_t count = 1 + below(most);
        for (uint32_t i = 0; i < 4; ++i) result.units[i] = i < count ? unit() : result.units[i - 1];
        return result;
    }

  private:
    std::mt19937 random_;
};

// Every beginning near the text's own, every end near its end.
template <class Search>
void at_every_alignment(size_t length, size_t shortest, Search search) {
    if (length < shortest || ::testing::Test::HasFatalFailure()) return;
    const size_t last = length - shortest + 1;
    for (size_t from = 0; from <= std::min<size_t>(last, 70); ++from) {
        for (size_t cut = 0; cut < 5 && from + cut <= last; ++cut) search(from, last - cut);
        if (from % 16 == 3) search(from, from + (last - from) / 2);
    }
}

class WideSearch : public ::testing::TestWithParam<int64_t> {
  protected:
    void SetUp() override { hwy::GetChosenTarget().Update(GetParam()); }
    void TearDown() override { hwy::GetChosenTarget().Update(hwy::SupportedTargets()); }
};

std::vector<int64_t> targets() {
    std::vector<int64_t> result;
    for (int64_t rest = hwy::SupportedTargets(); rest != 0; rest &= rest - 1)
        result.push_back(rest & -rest);
    return result;
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, WideSearch, ::testing::ValuesIn(targets()),
                         [](const auto& target) {
                             return std::string(hwy::TargetName(target.param));
                         });

TEST_P(WideSearch, FindsLiteralsAsThePlainFormDoes) {
    Generator generate(1);
    for (int round = 0; round < 400; ++round) {
        const size_t length = 1 + generate.below(6);
        std::vector<UnitVariants> units;
        std::u16string plain;
        const uint32_t most = round % 3 == 0 ? 1 : round % 3 == 1 ? 2 : 4;
        for (size_t i = 0; i < length; ++i) {
            units.push_back(generate.variants(most));
            plain += units.back().units[0];
        }
        const LiteralSearch literal{round % 6 == 0 ? nullptr : units.data(),
                                    length,
                                    {generate.below(static_cast<uint32_t>(length)),
                                     generate.below(static_cast<uint32_t>(length))},
                                    most == 1 ? plain.data() : nullptr};
        const auto text = generate.text(generate.below(200));
        at_every_alignment(text.size(), length, [&](size_t from, size_t end) {
            ASSERT_EQ(find_literal(text.data(), from, end, literal),
                      find_literal_plainly(text.data(), from, end, literal))
                << round << ' ' << from << ' ' << end;
        });
    }
}

void put(UnitSet& set, char16_t unit) {
    uint8_t* const rows = unit % 16 < 8 ? set.even : set.odd;
    rows[unit / 16] |= static_cast<uint8_t>(1U << unit % 8);
}

TEST_P(WideSearch, FindsMembersOfSetsAsThePlainFormDoes) {
    Generator generate(2);
    for (int round = 0; round < 400; ++round) {
        UnitSet set;
        set.by_ranges = round % 2 == 0;
        set.range_count =
            static_cast<int>(generate.below(UnitSet::kRanges)) + (set.by_ranges ? 1 : 0);
        for (int i = 0; i < set.range_count; ++i) {
            char16_t a = generate.unit();
            char16_t b = generate.below(2) != 0 ? a : generate.unit();
            if (!set.by_ranges) a = std::max<char16_t>(a, 0x100), b = std::max<char16_t>(b, 0x100);
            set.first[i] = std::min(a, b);
            set.last[i] = std::max(a, b);
        }
        if (!set.by_ranges) {
            for (uint32_t i = generate.below(6); i > 0; --i) {
                const char16_t unit = generate.unit() % 0x100;
                put(set, unit);
            }
            set.all_others = generate.below(4) == 0;
        }
        const auto text = generate.text(generate.below(200));
        at_every_alignment(text.size(), 1, [&](size_t from, size_t end) {
            ASSERT_EQ(find_in_set(text.data(), from, end, set),
                      find_in_set_plainly(text.data(), from, end, set))
                << round << ' ' << from << ' ' << end;
            ASSERT_EQ(find_outside_set(text.data(), from, end, set),
                      find_outside_set_plainly(text.data(), from, end, set))
                << round << ' ' << from << ' ' << end;
            const size_t stop = std::min(end, from + kMemberBits);
            ASSERT_EQ(members_in(text.data(), from, stop, set),
                      members_in_plainly(text.data(), from, stop, set))
                << round << ' ' << from << ' ' << stop;
        });
    }
}

TEST_P(WideSearch, FindsEachUnitBelow256) {
    const std::vector<char16_t> padding(100, u'\u1234');
    for (char16_t unit = 0; unit < 0x100; ++unit) {
        UnitSet set;
        put(set, unit);
        for (char16_t other = 0; other < 0x100; ++other) {
            auto text = padding;
            text[40] = other;
            ASSERT_EQ(find_in_set(text.data(), 0, text.size(), set),
                      other == unit ? 40 : text.size());
        }
    }
}

TEST_P(WideSearch, FindsDoubledUnitsAsThePlainFormDoes) {
    Generator generate(4);
    for (int round = 0; round < 200; ++round) {
        auto text = generate.text(2 + generate.below(200));
        for (size_t i = 1; i < text.size(); ++i) {  // mostly different neighbours
            if (text[i] == text[i - 1] && generate.below(20) != 0)
                text[i] = static_cast<char16_t>(0x300 + i);
        }
        at_every_alignment(text.size(), 2, [&](size_t from, size_t end) {
            ASSERT_EQ(find_doubled(text.data(), from, end),
                      find_doubled_plainly(text.data(), from, end));
        });
    }
}

TEST_P(WideSearch, FindsWordsAsThePlainFormDoes) {
    Generator generate(3);
    for (int round = 0; round < 400; ++round) {
        const size_t count = 1 + generate.below(20);
        std::vector<std::vector<UnitVariants>> units(count);
        WordSearch words;
        words.shortest = SIZE_MAX;
        for (auto& word : units) {
            for (uint32_t i = 1 + generate.below(4); i > 0; --i)
                word.push_back(generate.variants(round % 2 == 0 ? 1 : 3));
            words.shortest = std::min(words.shortest, word.size());
        }
        words.width = std::min<size_t>(words.shortest, 1 + generate.below(3));
        std::vector<WordSearch::Word> list;
        for (size_t i = 0; i < count; ++i) {
            list.push_back({units[i].data(), units[i].size()});
            const size_t bucket = i * WordSearch::kBuckets / count;
            const auto bit = static_cast<uint8_t>(1U << bucket);
            for (size_t b = bucket; b < WordSearch::kBuckets; ++b) words.bucket_end[b] = i + 1;
            for (size_t at = 0; at < words.width; ++at) {
                for (const char16_t unit : units[i][at].units) {
                    words.low_half[at][unit & 15] |= bit;
                    words.high_half[at][unit >> 4 & 15] |= bit;
                }
            }
        }
        words.words = list.data();
        const auto text = generate.text(generate.below(300));
        at_every_alignment(text.size(), words.shortest, [&](size_t from, size_t end) {
            ASSERT_EQ(find_word(text.data(), from, end, text.size(), words),
                      find_word_plainly(text.data(), from, end, text.size(), words))
                << round << ' ' << from << ' ' << end;
        });
    }
}

}  // namespace
}  // namespace qxut::regexp
