// What holds for every pattern: the graph is whole, its possessive regions nest, warnings point
// into the pattern; deep nesting takes no stack; a parse that finds no memory leaks nothing.
#include <gtest/gtest.h>
#include <pthread.h>

#include <random>
#include <string>
#include <vector>

#include <qxut/regexp/exception.hpp>

#include "regexp/graph.h"
#include "regexp/listing.h"
#include "regexp/parsed.h"
#include "support/failing_malloc.h"

using namespace qxut::regexp;
using qxut_test::parse_text;

namespace {

std::u16string repeated(std::u16string_view text, size_t count) {
    std::u16string result;
    result.reserve(text.size() * count);
    while (count-- > 0) result += text;
    return result;
}

// Every node can be reached, every link leads to a node of the list, and on every way to a node
// the same regions are open; none is at the end.
void check_graph(const Pattern& pattern) {
    const Vector<RE_Node*> order = number_nodes(pattern);
    ASSERT_EQ(order.size(), pattern.nodes.size());
    constexpr int kUnknown = -1;
    std::vector<int> open(order.size(), kUnknown);
    const auto follow = [&](int depth, const RE_Link* link) {
        if (link == nullptr || link->node == nullptr) return;
        ASSERT_LT(link->node->index, pattern.nodes.size());
        ASSERT_EQ(pattern.nodes[link->node->index].get(), link->node);
        depth -= static_cast<int>(link->leaves);
        ASSERT_GE(depth, 0);
        depth += static_cast<int>(link->enters);
        int& there = open[link->node->index];
        if (there == kUnknown) there = depth;
        ASSERT_EQ(there, depth);
    };
    // In listing order a node comes behind one that leads to it.
    follow(0, &pattern.first);
    for (RE_Node* node : order) {
        const int depth = open[node->index];
        follow(depth, &node->next);
        follow(depth, fail_of(*node));
        follow(depth, alt_of(*node));
        follow(depth, body_of(*node));
        if (node->kind == NodeKind::end_of_tree) {
            ASSERT_EQ(depth, 0);
        }
    }
}

TEST(ParserInvariants, RandomPatterns) {
    const std::u16string_view pieces[] = {
        u"a",    u"b",     u"(",          u"(?:",   u"(?=",   u"(?<!", u"(?>", u"(?(1)", u"(?#",
        u"(?i)", u"(?x:",  u"(?x)",       u"(?-x)", u"(?<n>", u"(?(",  u"(??", u"(?@",   u")",
        u")",    u")",     u")",          u"|",     u"|",     u"*",    u"+",   u"?",     u"++",
        u"?+",   u"{2}",   u"{0,2}+",     u"{2,}",  u"{0}",   u"[",    u"[^",  u"]",     u"-",
        u"\\",   u"\\d",   u"\\1",        u"\\x{",  u"}",     u"#",    u"\n",  u" ",     u"\\k<n>",
        u"{3}+", u"(?:)?", u"x{1,2000}+", u"(?:a|)"};
    std::mt19937 random(5);
    const auto below = [&](size_t n) { return random() % n; };
    size_t regions = 0;
    for (int round = 0; round < 20000; ++round) {
        std::u16string text;
        for (size_t i = below(24); i > 0; --i) text += pieces[below(std::size(pieces))];
        const char* flags[] = {"", "x", "ie", "ism"};
        try {
            const qxut_test::Parsed parsed = parse_text(text, flags[below(4)]);
            check_graph(*parsed.pattern);
            for (const auto& node : parsed.pattern->nodes) {
                ASSERT_LE(node->position, text.size());
                regions += node->next.enters;
            }
            // The graph of the same pattern is the same.
            EXPECT_FALSE(graph_of(*parsed.pattern).empty());
        } catch (const RE_Exception& error) {
            ASSERT_LE(error.position(), text.size());
        }
        if (HasFatalFailure()) {
            ADD_FAILURE() << std::string(text.begin(), text.end());
            return;
        }
    }
    EXPECT_GT(regions, 100U);
}

struct Deep {
    const char* name;
    std::u16string pattern;
    const char* flags = "";
};

std::vector<Deep> deep_patterns(size_t depth) {
    const auto nested = [&](std::u16string_view open, std::u16string_view close) {
        return repeated(open, depth) + u"a" + repeated(close, depth);
    };
    return {
        {"groups", nested(u"(", u")")},
        {"optional", nested(u"(?:", u")?")},
        {"counted", nested(u"(?:", u"){0,5}")},
        {"possessive", nested(u"(?:b|", u")?+")},
        {"alternatives", nested(u"(?:b|", u")")},
        {"atomic", nested(u"(?>", u")")},
        {"look-ahead", nested(u"(?=", u")")},
        {"look-behind", nested(u"(?<!", u"|b)")},
        {"branches", nested(u"(?(1)", u"|b)")},
        {"conditions", nested(u"(?(?=", u")b|c)")},
        {"modes", nested(u"(?x:(?-x:", u"))")},
        // Closers that are missing or hidden; a scan from each opener would take hours.
        {"no )", repeated(u"(", depth)},
        {"no ) in alternatives", repeated(u"(|", depth)},
        {"no ]", repeated(u"[", depth)},
        {"no }", repeated(u"a{", depth)},
        {"no } of codes", repeated(u"\\x{", depth)},
        {"no comment's end", repeated(u"(?#", depth)},
        {"modes in turn", repeated(u"(?x)(?-x)", depth)},
        {"hidden openers",
         repeated(u"(?:(?-x)#(?x)", depth) + u"\n" + repeated(u"a", depth) + repeated(u")", depth),
         "x"},
        {"hidden bars", repeated(u"(?x)(#|", depth) + u"\n" + repeated(u"a", depth)},
        {"digits", u"(a)\\" + repeated(u"1", depth)},
    };
}

TEST(ParserInvariants, DeepNestingNeedsNoStack) {
    // The sanitizers' frames are larger, and slower.
    const bool is_plain = qxut_test::kCanFailMalloc;
    std::vector<Deep> patterns = deep_patterns(is_plain ? 500000 : 50000);
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    if (is_plain) {
        ASSERT_EQ(pthread_attr_setstacksize(&attributes, size_t{64} * 1024), 0);
    }
    const auto parse_all = [](void* data) -> void* {
        for (const Deep& deep : *static_cast<std::vector<Deep>*>(data)) {
            Pattern pattern;
            ParseOptions options;
            options.flags = qxut_test::flags_of(deep.flags);
            parse(deep.pattern.data(), deep.pattern.size(), options, pattern);
            write_listing(
                pattern, [](void*, const char*) {}, nullptr);
            if (deep.name == std::string_view("branches")) {
                EXPECT_FALSE(graph_of(pattern).empty());
            }
        }
        return nullptr;
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, &attributes, parse_all, &patterns), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(ParserInvariants, DeepGraphsAreWhole) {
    for (const Deep& deep : deep_patterns(2000)) {
        check_graph(*parse_text(deep.pattern, deep.flags).pattern);
        ASSERT_FALSE(HasFatalFailure()) << deep.name;
    }
}

TEST(ParserInvariants, OutOfMemory) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP() << "the sanitizer's heap";
    const std::u16string_view patterns[] = {
        u"(?<name>a|b\\x41c{3,})(?(name)[a-z\\d]+|\\k<name>)",
        u"(?x) (?>a++|(?:b|c){5}?) # d\n(?<=[^ef]) (??g) {0,5} (?(?=h)i|j|)",
        u"(?:a|b|c|d|e|f|g|h|i|j|k|l|m|n|o|p|q|r)?+",
    };
    for (const auto text : patterns) {
        bool finished = false;
        for (size_t request = 0; !finished; ++request) {
            bool threw = false;
            {
                const qxut_test::FailingMalloc failing(request);
                try {
                    Pattern pattern;
                    parse(text.data(), text.size(), {}, pattern);
                    const std::string listing = listing_of(pattern);
                    const std::string graph = graph_of(pattern);
                } catch (const std::bad_alloc&) {
                    threw = true;
                }
            }
            finished = !qxut_test::FailingMalloc::has_failed();
            EXPECT_EQ(threw, !finished) << request;
            EXPECT_EQ(qxut_test::FailingMalloc::live_blocks(), 0) << request;
        }
    }
}

}  // namespace
