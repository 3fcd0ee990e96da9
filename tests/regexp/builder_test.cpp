// Each construct of the builder: its text, and that its graph is that of the written pattern.
#include <qxut/regexp/builder.hpp>

#include <gtest/gtest.h>

#include <qxut/util/output.h>
#include <qxut/regexp/tree.hpp>

#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "support/failing_malloc.h"

using namespace RE_Builder_Space;
using qxut_test::FailingMalloc;

namespace {

// The listing of a tree.
std::string listing(const RE_Tree& tree) {
    utPutsFcn puts = [](const char* text, void* data) {
        static_cast<std::string*>(data)->append(text);
        return 1;
    };
    std::string text;
    void* data = &text;
    utIsHotFcn is_hot = nullptr;
    _error_context* errors = nullptr;
    utSwapVprintfCallbacks(&puts, &data, &is_hot, &errors);
    tree.dump();
    utSwapVprintfCallbacks(&puts, &data, &is_hot, &errors);
    return text;
}

struct Row {
    RE_Builder built;
    const char* text;            // what is built
    const char* written = text;  // what one would write, where it is another text
};

void expect_built(const Row& row) {
    SCOPED_TRACE(row.text);
    EXPECT_STREQ(row.built.text(), row.text);
    const std::string built = listing(RE_Tree(row.built, false));
    EXPECT_EQ(built, listing(RE_Tree(row.written, false)));
    EXPECT_NE(built.find("<EOT>"), std::string::npos);
    EXPECT_EQ(listing(RE_Tree(row.built, true)), listing(RE_Tree(row.written, true)));
}

TEST(Builder, Characters) {
    const Row rows[] = {
        {"", ""},
        {nullptr, ""},
        {"ab", "ab"},
        {literal("a.b*[c]{2}(d)|^$\\?+"), R"(a\.b\*\[c\]\{2\}\(d\)\|\^\$\\\?\+)"},
        {hex(0x41), R"(\x{41})", "A"},
        {hex(0x1F600), R"(\x{1f600})", "\U0001F600"},
        {special(RE_LINE_START), "^"},
        {special(RE_LINE_END), "$"},
        {special(RE_WORD_START), R"(\<)"},
        {special(RE_WORD_END), R"(\>)"},
    };
    for (const Row& row : rows) expect_built(row);
}

TEST(Builder, Sets) {
    const RE_Set specials = RE_SetItem('^') + RE_SetItem(']') + RE_SetItem('-') + RE_SetItem('\\') +
                            RE_SetItem('[') + RE_SetItem('#') + RE_SetItem(' ');
    const Row rows[] = {
        {one_of(RE_SetItem('a')), "[a]"},
        {none_of(range('a', 'z') + RE_SetItem('_')), "[^a-z_]"},
        {one_of(range(0x4E00, 0x9FFF)), R"([\x{4e00}-\x{9fff}])", "[\u4E00-\u9FFF]"},
        {one_of(RE_Set(RE_SET_DIGIT) + RE_Set(RE_SET_WORD, true) + RE_Set(RE_SET_SPACE)),
         R"([\d\W\s])"},
        {none_of(RE_SetItem(RE_SET_DIGIT, true) + RE_SetItem(RE_SET_WORD) +
                 RE_SetItem(RE_SET_SPACE, true)),
         R"([^\D\w\S])"},
        {one_of(specials), R"([\x{5e}\]\-\x{5c}\[#\x{20}])"},
        {one_of(RE_SetItem(U'\u00E9')), R"([\x{e9}])", "[\u00E9]"},
        {one_of(RE_Set()), "[]"},
        {none_of(RE_Set()), "[^]"},
    };
    for (const Row& row : rows) expect_built(row);
    RE_Set twice = RE_SetItem('a');
    twice += twice;
    EXPECT_STREQ(one_of(twice).text(), "[aa]");
}

TEST(Builder, TokensAndConditions) {
    const RE_Builder a = "a";
    const RE_Builder b_or_c = either("b", "c");
    const Row rows[] = {
        {capture(a), "(a)"},
        {capture(b_or_c, "n"), "(?<n>b|c)"},
        {capture(a, "n") + backreference("n"), R"((?<n>a)\k<n>)"},
        {capture(a) + backreference(1), R"((a)\1)"},
        {capture(a) + backreference(1) + "2", R"((a)(?:\1)2)", R"((a)\12)"},
        {backreference(size_t{0}), "[]"},
        {if_then("n", a), "(?(n)a)"},
        {if_then(3, b_or_c), "(?(3)(?:b|c))"},
        {if_then_else("n", a, b_or_c), "(?(n)a|b|c)"},
        {capture(a) + if_then_else(1, a, "b"), "(a)(?(1)a|b)"},
        {if_then("x", true, true, a), "(?(?=x)a)"},
        {if_then_else("x", true, false, a, "b"), "(?(?!x)a|b)"},
        {if_then(b_or_c, false, true, a), "(?(?<=b|c)a)"},
        {if_then_else("x", false, false, a, "b"), "(?(?<!x)a|b)"},
        {eval_if_then("f(x)", a), "(?(?@f(x))a)"},
        {eval_if_then_else("f", a, "b"), "(?(?@f)a|b)"},
    };
    for (const Row& row : rows) expect_built(row);
}

TEST(Builder, Repetition) {
    const Row rows[] = {
        {quantify("a", 2, 5, RE_GREEDY), "a{2,5}"},
        {quantify("a", 2, 5, RE_LAZY), "a{2,5}?"},
        {quantify("a", 2, RE_NO_MAXIMUM, RE_POSSESSIVE), "a{2,}+"},
        {quantify("a", 5, 2, RE_GREEDY), "a{5}"},
        {quantify("a", 3, RE_LAZY), "a{3}?", "a{3}"},
        {kleene("a"), "a*"},
        {one_or_more("a", RE_LAZY), "a+?"},
        {optional("a", RE_POSSESSIVE), "a?+"},
        // One atom stands alone, anything else is wrapped.
        {kleene("\u00E9"), "\u00E9*"},
        {kleene("\U0001F600"), "\U0001F600*"},
        {kleene(R"(\d)"), R"(\d*)"},
        {kleene(R"(\x{41})"), R"(\x{41}*)"},
        {kleene(R"(\k<n>)"), R"(\k<n>*)"},
        {kleene("[]ab]"), "(?:[]ab])*"},
        {kleene(R"([a\]b])"), R"([a\]b]*)"},
        {kleene("(a)"), "(a)*"},
        {kleene("(?>a(b)[)])"), "(?>a(b)[)])*"},
        {kleene("."), ".*"},
        {kleene(hex(65)), R"(\x{41}*)"},
        {kleene(atomic("a")), "(?>a)*"},
        {kleene(""), "(?:)*"},
        {kleene("ab"), "(?:ab)*"},
        {kleene("(a)(b)"), "(?:(a)(b))*"},
        {kleene("a|b"), "(?:a|b)*"},
        {kleene(kleene("a")), "(?:a*)*"},
        {kleene(R"(\1)"), R"((?:\1)*)"},
        {kleene(R"(\x41)"), R"((?:\x41)*)"},
        {kleene(pos_ahead("a")), "(?:(?=a))*"},
        {kleene("(?<!a)"), "(?:(?<!a))*"},
        {kleene("(?#a)"), "(?:(?#a))*"},
        {kleene(set_mode(RE_IGNORE_CASE, RE_NO_FLAGS)), "(?:(?i))*"},
    };
    for (const Row& row : rows) expect_built(row);
}

TEST(Builder, ChoiceAndSequence) {
    RE_Builder twice = "a";
    twice += twice;
    RE_Builder choice = either("a", "b");
    choice += choice;
    const Row rows[] = {
        {either("a", "b"), "a|b"},
        {either(either("a", "b"), ""), "a|b|"},
        {RE_Builder("a") + "b" + "c", "abc"},
        {either("a", "b") + "c", "(?:a|b)c"},
        {"c" + either("a", "b"), "c(?:a|b)"},
        {RE_Builder("a|b") + "(c|d)" + "[|]", "(?:a|b)(c|d)[|]"},
        {RE_Builder() + either("a", "b") + RE_Builder(), "a|b"},
        {twice, "aa"},
        {choice, "(?:a|b)(?:a|b)"},
        // What would change its meaning beside what stands in front of it.
        {RE_Builder("a") + "+", "a(?:+)"},
        {kleene("a") + "?b", "a*(?:?b)"},
        {RE_Builder("a") + "{2}", "a(?:{2})"},
        {RE_Builder(R"(\x4)") + "1", R"((?:\x4)1)"},
        {RE_Builder(R"(\x4)") + "z", R"(\x4z)"},
        {RE_Builder(R"(a\01)") + "7", R"(a(?:\01)7)"},
    };
    for (const Row& row : rows) expect_built(row);
}

TEST(Builder, Groups) {
    const RE_Builder choice = either("a", "b");
    const Row rows[] = {
        {pos_ahead(choice), "(?=a|b)"},
        {neg_ahead("a"), "(?!a)"},
        {pos_behind("a"), "(?<=a)"},
        {neg_behind(choice), "(?<!a|b)"},
        {atomic(choice), "(?>a|b)"},
        {set_mode(RE_IGNORE_CASE | RE_DOT_ALL, RE_MULTI_LINE) + choice, "(?is-m)(?:a|b)"},
        {set_mode(RE_NO_FLAGS, RE_FREE_SPACING | RE_EVALUATE) + "a", "(?-xe)a"},
        {set_mode(RE_NO_FLAGS, RE_NO_FLAGS) + "a", "a"},
        {temp_mode(RE_IGNORE_CASE, RE_NO_FLAGS, choice), "(?i:a|b)"},
        {temp_mode(RE_NO_FLAGS, RE_NO_FLAGS, choice), "(?:a|b)"},
        {kleene(temp_mode(RE_IGNORE_CASE, RE_NO_FLAGS, "a")), "(?i:a)*"},
        {eval("f(1)"), "(?@f(1))"},
        {eval_dynamic("f"), "(??@f)"},
        {kleene(dynamic("a|b")), "(??a|b)*"},
    };
    for (const Row& row : rows) expect_built(row);
    EXPECT_ANY_THROW(RE_Tree(set_mode(RE_IGNORE_CASE, RE_IGNORE_CASE), false));
}

// Pieces that are complete by themselves, put together at random: what the builder does not wrap
// means what it means in a group.
TEST(Builder, WrapsWhateverNeedsIt) {
    constexpr const char* kPieces[] = {
        "a",      "b",          "|",        R"(\d)",  R"(\x41)",  R"(\x4)", R"(\x{41})", R"(\o7)",
        R"(\))",  "[a]",        "[]",       "[^b-d]", R"([\]b])", "[(]",    "(?:a)",     "(?:a|b)",
        "(?=a)",  "(?!a|b)",    "(?<=a)",   "(?i:a)", "(?#a|b)",  "(?>ab)", "(?(1)a|b)", "*",
        "+",      "?",          "{2}",      "{1,3}?", "^",        "$",      ".",         "1",
        "\u00E9", "\U0001F600", R"(\k<n>)", R"(\1)",  "(??a|b)",  "7",      "(?:(?:a))", "A"};
    std::mt19937 random(5);
    const auto text = [&](size_t most) {
        std::string made;
        for (size_t i = random() % most; i != 0; --i)
            made += kPieces[random() % std::size(kPieces)];
        return made;
    };
    const auto group = [](const std::string& inside) {
        return std::string("(?:").append(inside).append(")");
    };
    for (int round = 0; round < 3000; ++round) {
        const std::string a = text(4);
        const std::string b = text(4);
        SCOPED_TRACE(::testing::Message() << a << "   " << b);
        const RE_Builder first = a.c_str();
        const RE_Builder second = b.c_str();
        ASSERT_EQ(listing(RE_Tree(kleene(first), false)),
                  listing(RE_Tree(group(a).append("*").c_str(), false)));
        const RE_Tree sum(first + second, false);
        const RE_Tree groups(group(a).append(group(b)).c_str(), false);
        for (const char* subject : {"abA1Ab1aa7b", "b7\u00E9\U0001F600aa\aA11A4"}) {
            const std::unique_ptr<RE_Results> one(sum.match(subject));
            const std::unique_ptr<RE_Results> other(groups.match(subject));
            ASSERT_EQ(one == nullptr, other == nullptr) << subject;
            if (one == nullptr) continue;
            ASSERT_EQ(one->start(), other->start()) << subject;
            ASSERT_EQ(one->end(), other->end()) << subject;
        }
    }
}

TEST(Builder, MemoryThatIsShortChangesNothing) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP();
    RE_Builder sum = either("aaaaaaaaaaaaaaaaaaaa", "b");
    const RE_Builder more = "(?:ccccccccccccccccccccccccccccccccccccccccccccccccc)";
    for (size_t request = 0;; ++request) {
        ASSERT_LT(request, 100u);
        const std::string before = sum.text();
        {
            const FailingMalloc failing(request);
            try {
                RE_Builder copy = sum;
                copy += more;
                sum = kleene(copy) + one_of(range('a', 'z') + RE_SetItem('_'));
            } catch (const std::bad_alloc&) {
            }
        }
        if (!FailingMalloc::has_failed()) break;
        EXPECT_EQ(sum.text(), before);
        EXPECT_EQ(FailingMalloc::live_blocks(), 0);
    }
}

}  // namespace
