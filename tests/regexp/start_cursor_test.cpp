// The search for starts never steps over a start: compared with an attempt at every position, over
// patterns made for each way of searching, generated ones, and texts of few different characters.
#include "regexp/start_cursor.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace qxut::regexp {
namespace {

struct Compiled {
    explicit Compiled(const std::u16string& pattern, RE_Flags flags = RE_NO_FLAGS) {
        ParseOptions options;
        options.flags = flags;
        parse(pattern.data(), pattern.size(), options, parsed);
        program = lower(parsed);
        starts.reset(analyze(program));
    }
    // The end of the match from there; kUnset: none.
    size_t match_at(const std::u16string& text, size_t position) const {
        SearchRequest request;
        request.program = &program;
        request.text = text.data();
        request.length = text.size();
        request.start = position;
        request.anchored = true;
        request.plain = true;
        std::vector<size_t> extents(2 * (parsed.token_count + 1));
        return search(request, extents.data()) ? extents[1] : kUnset;
    }
    Pattern parsed;
    Program program;
    std::unique_ptr<StartSearch> starts;
};

bool is_boundary(const std::u16string& text, size_t p) {
    return p == 0 || p >= text.size() || (text[p] & 0xFC00) != 0xDC00 ||
           (text[p - 1] & 0xFC00) != 0xD800;
}

size_t next_boundary(const std::u16string& text, size_t p) {
    ++p;
    return is_boundary(text, p) ? p : p + 1;
}

// Asks for the first start from every position, in order and out of it, and goes from failure to
// failure; each answer must be a position, and no start may lie before it.
void check(const std::u16string& pattern, RE_Flags flags, const std::u16string& text) {
    const Compiled compiled(pattern, flags);
    std::vector<size_t> next(text.size() + 2, kUnset);  // true start from a position on
    std::vector<size_t> ends(text.size() + 2, kUnset);
    for (size_t p = text.size() + 1; p-- != 0;) {
        next[p] = next[p + 1];
        if (is_boundary(text, p)) ends[p] = compiled.match_at(text, p);
        if (ends[p] != kUnset) next[p] = p;
    }
    const std::string what = describe(*compiled.starts) + "pattern " +
                             std::string(pattern.begin(), pattern.end()) + "\ntext " +
                             std::string(text.begin(), text.end());
    StartCursor cursor(*compiled.starts, text.data(), text.size());
    const auto right = [&](size_t from, size_t found) {
        ASSERT_TRUE(found == kUnset || (found >= from && is_boundary(text, found))) << what;
        const size_t start = from <= text.size() ? next[from] : kUnset;
        ASSERT_TRUE(start == kUnset || (found != kUnset && found <= start))
            << what << "\nfrom " << from << " a start at " << start;
    };
    size_t p = cursor.first(0, {});
    right(0, p);
    while (p != kUnset && !::testing::Test::HasFatalFailure()) {
        const size_t from = p;
        p = next[p] == p ? cursor.first(next_boundary(text, p), {}) : cursor.after_failure(p, {});
        right(next_boundary(text, from), p);
    }
    std::mt19937 random(7);
    for (size_t i = 0; i < text.size() && !::testing::Test::HasFatalFailure(); ++i) {
        size_t from = random() % (text.size() + 1);
        if (!is_boundary(text, from)) --from;
        right(from, cursor.first(from, {}));
        if (compiled.starts->whole == StartSearch::Whole::unknown) continue;
        StartCursor::Match match{};
        const bool is_found = cursor.first_match(from, {}, match);
        ASSERT_EQ(is_found ? match.start : kUnset, next[from]) << what;
        ASSERT_TRUE(!is_found || match.end == ends[match.start]) << what;
    }
}

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}
    size_t below(size_t n) { return random_() % n; }

    std::u16string text(size_t length) {
        static const std::u16string kUnits = u"aaabbccd  \n\n-@A\u00E9\u0430";
        std::u16string result;
        while (result.size() < length) {
            if (below(20) == 0) {
                result += below(4) == 0 ? u"\xDC00" : below(3) == 0 ? u"\xD83D" : u"\U0001F600";
            } else {
                result += kUnits[below(kUnits.size())];
            }
        }
        return result;
    }

    std::u16string atom() {
        static const char16_t* const kAtoms[] = {
            u"a",   u"b",     u"ab",       u"@",         u"[ab]",       u"[a-c]",   u"[^a]",
            u".",   u"\\w",   u"\\s",      u"-",         u"\\x{1F600}", u"[^\\n]",  u"(?:ab|cd)",
            u"(c)", u"(?=a)", u"(?<=b)",   u"(?<=ab)",   u"^",          u"$",       u"\\<",
            u"\\>", u"(?!b)", u"(?>a|ab)", u"\\x{DC00}", u"\u00E9",     u"(?i:ab)", u"(?:b|)"};
        return kAtoms[below(std::size(kAtoms))];
    }

    std::u16string pattern() {
        static const char16_t* const kQuantifiers[] = {u"*",  u"+",  u"?",    u"{2}", u"{1,2}",
                                                       u"+?", u"++", u"{2,}", u"*?"};
        std::u16string result;
        for (size_t i = 1 + below(4); i > 0; --i) {
            std::u16string piece = atom();
            if (below(6) == 0) piece = u"(?:" + piece + (below(2) ? u"|" : u"") + atom() + u")";
            if (below(3) == 0 && piece.find(u"(?=") && piece.find(u"(?!") && piece.find(u"(?<"))
                piece = u"(?:" + piece + u")" + kQuantifiers[below(std::size(kQuantifiers))];
            result += piece;
        }
        if (below(6) == 0) result += u"|" + atom() + atom();
        return result;
    }

  private:
    std::mt19937 random_;
};

TEST(StartCursor, StepsOverNoStart) {
    static const char16_t* const kPatterns[] = {u"ab",
                                                u"a",
                                                u"ab|cd|ca",
                                                u"(?i)ab|CD",
                                                u"[a-c]+d",
                                                u"[a-c]{2,3}d",
                                                u"(a+)b",
                                                u"\\w+@\\w",
                                                u"[ab]{2}-",
                                                u".{2}-",
                                                u"(?:aa?a?-){2}",
                                                u"^.*@",
                                                u"^a",
                                                u"^[ab]+@",
                                                u"(?<=ab)c",
                                                u"\\w(?<=ab)c",
                                                u"[abc]++[-@]",
                                                u"[a-c]+(?=-)",
                                                u"(?>[ab]+|c)[-@]",
                                                u"a.*?@",
                                                u"\\x{DC00}",
                                                u"[\\x{1F600}a]+b",
                                                u"\\x{1F600}",
                                                u".-",
                                                u"[^b]{2}ab",
                                                u"(?:a|b|cd){2}@",
                                                u"[]",
                                                u"a*",
                                                u"(.)\\1",
                                                u"([a-c])\\1-",
                                                u"(a)(.)\\2",
                                                u"[ab]{2,}",
                                                u"[^\\s\u0430]+",
                                                u"[^\\s\u0430]+-",
                                                u"(\\x{1F600}|a)\\1",
                                                u"\\s*a",
                                                u"[\u0430-\u044F]+",
                                                u"a{3}",
                                                u"[a-c]{1,2}(?:\\s|d)",
                                                u"(?:ab){3}",
                                                u"[ab]*?c",
                                                u"a+?b",
                                                u"\\w+\\s+\\w"};
    Generator generate(1);
    for (const char16_t* pattern : kPatterns) {
        for (const RE_Flags flags : {RE_NO_FLAGS, RE_MULTI_LINE, RE_IGNORE_CASE | RE_DOT_ALL}) {
            for (int round = 0; round < 12; ++round)
                check(pattern, flags, generate.text(generate.below(round < 6 ? 12 : 150)));
        }
        if (HasFatalFailure()) return;
    }
}

TEST(StartCursor, StepsOverNoStartOfGeneratedPatterns) {
    Generator generate(2);
    for (int round = 0; round < 3000 && !HasFatalFailure(); ++round) {
        const std::u16string pattern = generate.pattern();
        const RE_Flags flags = generate.below(2) != 0 ? RE_MULTI_LINE : RE_NO_FLAGS;
        for (int i = 0; i < 3; ++i) check(pattern, flags, generate.text(generate.below(60)));
    }
}

TEST(StartCursor, FindsRunsThatReachFromBlockToBlock) {
    Generator generate(3);
    for (const char16_t* pattern : {u"[ab]+", u"[ab]++", u"[ab]{70,}", u"[^\\s]+"}) {
        for (int round = 0; round < 60 && !HasFatalFailure(); ++round) {
            std::u16string text;
            while (generate.below(6) != 0) {
                text.append(generate.below(3) * 32 + generate.below(40), u'a');
                text.append(generate.below(3) * 64 + generate.below(3), u'-');
                if (generate.below(8) == 0) text += u"\U0001F600";
            }
            if (generate.below(2) != 0) text.resize(text.size() / 64 * 64);
            check(pattern, RE_NO_FLAGS, text);
        }
    }
}

TEST(StartCursor, PollsWhileItSeeks) {
    for (const char16_t* pattern : {u"xyz", u"x", u"x|y", u"xyz|yzx", u"[xy]+z", u"^x", u"a+x"}) {
        const Compiled compiled(pattern, RE_MULTI_LINE);
        const std::u16string text(1'000'000, u'a');
        size_t polls = 0;
        StartCursor cursor(*compiled.starts, text.data(), text.size());
        const SeekPoll poll{[](void* count) { ++*static_cast<size_t*>(count); }, &polls};
        if (cursor.first(0, poll) == 0) cursor.after_failure(0, poll);
        EXPECT_GE(polls, text.size() / (32 * 1024)) << polls;
        EXPECT_LE(polls, text.size() / 1024);
    }
}

TEST(StartCursor, PollsWhileItFindsShortMatches) {
    std::u16string text;
    while (text.size() < 1'000'000) text += u"ab----";
    for (const char16_t* pattern : {u"[ab]+", u"\\w+", u"[ab]{3,}", u"ab"}) {
        const Compiled compiled(pattern);
        size_t polls = 0;
        StartCursor cursor(*compiled.starts, text.data(), text.size());
        const SeekPoll poll{[](void* count) { ++*static_cast<size_t*>(count); }, &polls};
        for (StartCursor::Match match{}; cursor.first_match(match.end, poll, match);) {
        }
        EXPECT_GE(polls, text.size() / (32 * 1024)) << testing::PrintToString(pattern);
    }
}

TEST(StartCursor, StaysUsableWhenAPollThrows) {
    const Compiled compiled(u"[ab]+@");
    std::u16string text(200'000, u'a');
    text += u"-ab@-a@";
    StartCursor cursor(*compiled.starts, text.data(), text.size());
    int left = 3;
    const SeekPoll poll{[](void* count) {
                            if (--*static_cast<int*>(count) == 0) throw 1;
                        },
                        &left};
    EXPECT_THROW(cursor.first(0, poll), int);
    EXPECT_EQ(cursor.first(0, poll), 200'001U);
    EXPECT_EQ(cursor.first(200'002, poll), 200'002U);
    EXPECT_EQ(cursor.first(200'003, poll), 200'005U);
}

TEST(SeekTable, IsMadeAnewForAnotherTextOrSearch) {
    const Compiled a(u"ab");
    const Compiled b(u"cd");
    const std::u16string text = u"--cd--ab";
    RE_Seek_Table table;
    EXPECT_EQ(cursor_in(table, *a.starts, text.data(), 8).first(0, {}), 6U);
    EXPECT_EQ(cursor_in(table, *b.starts, text.data(), 8).first(0, {}), 2U);
    EXPECT_EQ(cursor_in(table, *a.starts, text.data(), 7).first(0, {}), kUnset);
    StartCursor* const kept = &cursor_in(table, *a.starts, text.data(), 8);
    EXPECT_EQ(&cursor_in(table, *a.starts, text.data(), 8), kept);
    EXPECT_EQ(kept->first(7, {}), kUnset);
    EXPECT_EQ(kept->first(3, {}), 6U);
}

}  // namespace
}  // namespace qxut::regexp
