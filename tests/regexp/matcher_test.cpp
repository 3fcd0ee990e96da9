// matcher_test.cpp - matches, with and without short cuts; what a match may cost.
#include <gtest/gtest.h>

#include "regexp/matched.h"

namespace {

using qxut::regexp::kUnset;
using qxut_test::Matched;
using Extents = std::vector<size_t>;
constexpr size_t kNone = kUnset;

struct Case {
    const char16_t* pattern;
    const char16_t* text;
    Extents expected;  // empty: no match
    RE_Flags flags = RE_NO_FLAGS;
};

TEST(Matcher, FindsTheLeftmostMatchByPriority) {
    const Case cases[] = {
        {u"abc", u"xabcabc", {1, 4}},
        {u"a|ab", u"ab", {0, 1}},
        {u"(?:a|ab)(?:c|bcd)(d*)", u"abcd", {0, 4, 4, 4}},
        {u"x*", u"aaa", {0, 0}},
        {u"a{2,3}?a", u"aaaa", {0, 3}},
        {u"[^a]+", u"aabcda", {2, 5}},
        {u"(a)|b", u"b", {0, 1, kNone, kNone}},
        {u"(b\\1|a)+", u"aba", {0, 3, 1, 3}},
        {u"(?:a|ab)++c", u"abc", {}},
        {u"(?>a+)b", u"aaab", {0, 4}},
        {u"(?>a|ab)c", u"abc", {}},
        {u"foo(?=bar)", u"foobarfoo", {0, 3}},
        {u"foo(?!bar)", u"foobarfoo", {6, 9}},
        {u"(?<=a{2,3})b", u"abaab", {4, 5}},
        {u"(?<!a)b", u"abcb", {3, 4}},
        {u"(?<=(?>a|ab))c", u"abc", {}},
        {u"(?<=a+)b", u"caab", {3, 4}},
        {u"(?<=^(?:ab|a)+)c", u"aabac", {4, 5}},
        {u"(?<=^(?:ab|a)+)c", u"aabbc", {}},
        {u"(?<!x(?:ab{1,7}|c)*)d", u"xabbcd dd", {7, 8}},
        {u"(?<=(?:a|){2,9}b*c(?=d)(?<=c).)e", u"abcde", {4, 5}},
        {u"(?<=(?i:ka+)\\x{1F600}[^y]*)z", u"K\u0041\xD83D\xDE00xz", {5, 6}},
        {u"(?<=(?:aa){1500,}b)c", u"aabc", {}},
        {u"^(?:a|aa){0,3}b", u"aaaaab", {0, 6}},
        {u"^(a)?a?(?(1)b|c)", u"ac", {0, 2, kNone, kNone}},
        {u"^(?:a|)(?>a?b|abcd)$", u"abcd", {}},
        {u"(?(?=a)ab|cd)", u"xcdab", {1, 3}},
        {u"^b$", u"a\nb\n", {2, 3}, RE_MULTI_LINE},
        {u"^", u"a\n", {0, 0}, RE_MULTI_LINE},
        {u"b$", u"b\n", {}},
        {u"\\<b+\\>", u"ab bb b", {3, 5}},
        {u"(?:a*)*b", u"aaab", {0, 4}},
        {u"(?:a|b*)*c", u"abbac", {0, 5}},
        {u"(?:a|b*){2,5}c", u"abbac", {0, 5}},
        {u"(?:ab){3000}", u"abab", {}},
        {u"HeLLo", u"say hEllO", {4, 9}, RE_IGNORE_CASE},
        {u"k", u"\u212A", {0, 1}, RE_IGNORE_CASE},
        {u"[^k]", u"kK\u212Ax", {3, 4}, RE_IGNORE_CASE},
        {u"(stra\u00DF)\\1", u"STRA\u00DFstra\u1E9E", {0, 10, 0, 5}, RE_IGNORE_CASE},
        {u".", u"\xD83D\xDE00", {0, 2}},
        {u"\\x{D83D}", u"\xD83D\xDE00", {}},
        {u"\\x{DE00}", u"\xD83D\xDE00", {}},
        {u"\\x{D83D}", u"\xD83Dx", {0, 1}},
        {u"[\\x{1F600}-\\x{1F610}]{2}", u"a\xD83D\xDE00\xD83D\xDE05", {1, 5}},
        {u"(?<=\\x{1F600})b",
         u"\xD83D\xDE00"
         u"b",
         {2, 3}},
        {u".*?foo", u"ab foo foo", {0, 6}},
        {u"a.*c", u"abc abc\nabc", {0, 7}},
        {u"a.*c", u"abc abc\nabc", {0, 11}, RE_DOT_ALL},
        {u"(?<n>a)|(?<n>b)\\k<n>", u"bb", {0, 2, kNone, kNone, 0, 1}},
        {u"\\2a", u"a", {}},
    };
    for (const Case& c : cases) {
        Matched matched(c.pattern, c.flags);
        EXPECT_EQ(matched.find(c.text), c.expected) << testing::PrintToString(c.pattern);
        matched.request().plain = true;
        EXPECT_EQ(matched.find(c.text), c.expected)
            << testing::PrintToString(c.pattern) << " plainly";
    }
}

}  // namespace
