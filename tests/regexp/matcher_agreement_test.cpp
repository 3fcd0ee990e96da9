// matcher_agreement_test.cpp - short cuts and recorded failures never change an answer: over
// generated patterns and texts, a plain search, a usual one and one that records from the first
// step on agree, match after match.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "regexp/matched.h"

namespace {

using qxut::regexp::kUnset;
using qxut_test::Matched;

class Patterns {
  public:
    Patterns(uint32_t seed, int depth) : random_(seed), depth_(depth) {}

    std::u16string pattern() { return alternatives(depth_, true); }
    std::u16string text() {
        std::u16string made;
        for (size_t i = pick(24); i != 0; --i) made += u"aabbc\nA"[pick(7)];
        return made;
    }
    size_t pick(size_t count) {
        return std::uniform_int_distribution<size_t>(0, count - 1)(random_);
    }

  private:
    std::u16string alternatives(int depth, bool captures) {
        std::u16string made = sequence(depth, captures);
        for (size_t i = pick(3); i > 1; --i) made += u"|" + sequence(depth, captures);
        if (pick(12) == 0) made += u"|";
        return made;
    }
    std::u16string sequence(int depth, bool captures) {
        std::u16string made;
        for (size_t i = pick(3) + 1; i != 0; --i) made += piece(depth, captures);
        return made;
    }
    std::u16string piece(int depth, bool captures) {
        static const char16_t* const kLooks[] = {u"(?=", u"(?!", u"(?<=", u"(?<!"};
        switch (depth == 0 ? 0 : pick(captures ? 10 : 8)) {
            case 0:
            case 1:
            case 2:
                return atom() + quantifier();
            case 3:
                return u"(?:" + alternatives(depth - 1, false) + u")" + quantifier();
            case 4:
                return u"(?>" + alternatives(depth - 1, false) + u")" + quantifier();
            case 5:
                return kLooks[pick(4)] + alternatives(depth - 1, false) + u")";
            case 6:
                return u"(?:" + alternatives(depth - 1, false) + u")" + quantifier();
            case 7:
                return u"(?(" + std::u16string(pick(2) == 0 ? u"1" : u"?=" + atom()) + u")" +
                       sequence(depth - 1, false) + u"|" + sequence(depth - 1, false) + u")";
            default:
                return u"(" + alternatives(depth - 1, false) + u")" + quantifier();
        }
    }
    std::u16string atom() {
        static const char16_t* const kAtoms[] = {u"a", u"b",    u"c",   u"ab", u".",   u"[ab]",
                                                 u"^", u"[^a]", u"\\<", u"$",  u"\\w", u"(?i:a)",
                                                 u"a", u"b",    u"\\>", u"aa"};
        return kAtoms[pick(16)];
    }
    std::u16string quantifier() {
        static const char16_t* const kQuantifiers[] = {
            u"*",  u"+",  u"?",      u"{2}", u"{1,3}", u"{2,}", u"{0,2}",  u"*?",
            u"+?", u"??", u"{1,3}?", u"*+",  u"++",    u"?+",   u"{1,2}+", u"{2}+"};
        return pick(2) == 0 ? u"" : kQuantifiers[pick(16)];
    }

    std::mt19937 random_;
    int depth_;
};

std::vector<std::vector<size_t>> all_matches(Matched& matched, const std::u16string& text) {
    std::vector<std::vector<size_t>> found;
    size_t start = 0;
    matched.request().not_empty_at = kUnset;
    const std::unique_ptr<qxut::regexp::Iteration, void (*)(qxut::regexp::Iteration*)> iteration(
        qxut::regexp::new_iteration(0), qxut::regexp::delete_iteration);
    matched.request().iteration = iteration.get();
    while (start <= text.size()) {
        const std::vector<size_t> extents = matched.find(text, start);
        if (extents.empty()) break;
        found.push_back(extents);
        start = extents[1];
        matched.request().not_empty_at = extents[0] == extents[1] ? start : kUnset;
    }
    matched.request().iteration = nullptr;
    return found;
}

TEST(MatcherAgreement, ShortCutsChangeNoAnswer) {
    for (uint32_t seed = 0; seed < 6000; ++seed) {
        Patterns patterns(seed, 1 + static_cast<int>(seed / 2000));
        const std::u16string pattern = patterns.pattern();
        const RE_Flags flags = seed % 3 == 0 ? RE_MULTI_LINE : RE_NO_FLAGS;
        Matched matched(pattern, flags);
        matched.request().limits.steps = 2'000'000;
        for (int i = 0; i < 8; ++i) {
            const std::u16string text = patterns.text();
            SCOPED_TRACE(testing::PrintToString(pattern) + " on " + testing::PrintToString(text));
            matched.request().plain = true;
            matched.request().records_at_once = false;
            std::vector<std::vector<size_t>> expected;
            try {
                expected = all_matches(matched, text);
            } catch (const std::exception&) {
                continue;  // the plain search may take its time
            }
            matched.request().plain = false;
            EXPECT_NO_THROW(EXPECT_EQ(all_matches(matched, text), expected));
            matched.request().records_at_once = true;
            EXPECT_NO_THROW(EXPECT_EQ(all_matches(matched, text), expected)) << "recorded";
        }
        if (HasFailure()) break;
    }
}

}  // namespace
