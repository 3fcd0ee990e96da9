// The graph's text, and dot's opinion of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "regexp/dump_text.h"
#include "regexp/graph.h"
#include "regexp/parsed.h"

using namespace qxut::regexp;
using qxut_test::parse_text;

namespace {

TEST(Dump, Graph) {
    EXPECT_EQ(graph_of(*parse_text(u"(?<n>[^a])|(?=b)").pattern),
              "\n\ndigraph regexp {\n"
              "node [colorscheme=set19];\n"
              "edge [colorscheme=set19];\n"
              "1 [label=\"Split -> 00000004 \"];\n"
              "subgraph cluster2 {\n"
              "label=\"Token #1('n')\";\n"
              "2 [label=\"Start Token #1\"] [shape=point, style=invis];\n"
              "3 [label=\"Match 'a'\"];\n"
              "6 [label=\"Consume 00000007\"];\n"
              "7 [label=\"End Token #1\"] [shape=point, style=invis];\n"
              "}\n"
              "4 [label=\"Look Ahead -> 00000008\"];\n"
              "8 [label=\"Match 'b'\"];\n"
              "9 [label=\"<NULL>\"];\n"
              "5 [label=\"<EOT>\"];\n"
              "1 -> 2 [label=Next, color=1];\n"
              "1 -> 4 [label=Alt, color=2];\n"
              "2 -> 3 [label=Next, color=1];\n"
              "3 -> 6 [label=Fail, color=3];\n"
              "6 -> 7 [label=Consume, color=1];\n"
              "7 -> 5 [label=Next, color=1];\n"
              "4 -> 5 [label=Next, color=1];\n"
              "4 -> 8 [label=Lookaround, color=4];\n"
              "8 -> 9 [label=Next, color=1];\n"
              "}\n");
}

TEST(Dump, Labels) {
    using namespace std::literals;
    const auto label = [](std::string_view text) {
        std::string result;
        append_label(result, text);
        return result;
    };
    EXPECT_EQ(label("a\"\\N&amp;<b>"), R"("a\"\\N&amp;amp;<b>")");
    EXPECT_EQ(label("\n\x7F\1"sv), R"("\\x0a\\x7f\\x01")");
    std::string text;
    append_characters(text, u"\0a\xD800\U0001F600é", 6);
    EXPECT_EQ(text, " a\uFFFD\U0001F600é");
}

// Patterns of each construct, and each ASCII character as a literal, in a set and in a name's
// place.
std::vector<std::u16string> many_patterns() {
    std::vector<std::u16string> patterns = {
        u"",
        u"a|b|",
        u"(a(b))|(?<größe>c)+\\k<größe>\\1",
        u"(?>a++|b{2,5}+|c{3000})*?",
        u"(?=a)(?!b)(?<=c)(?<!d)",
        u"(?(1)a|b)(?(n)c)(?(?=d)e|f)(?(?!g)h)",
        u"(?@x\"\\y)(??\"z\")(??@&lt;)(?(?@\n)a|b)",
        u"[^a-z\\d\\S]+.$^\\<\\>\\w\\D",
        u"(?smi)[a-zA-Z].^$abc(\\1)",
        u"(?:(a)|(b)){2,3}",
        u"[]|[^]",
        u"\\0\\x{D800}\\x{10FFFF}\\x{FFFF}\\x{85}",
        u"&lt;&#65;&amp&nosuch;<b>\\\\N\\\\n",
        u"(?i)\"\\\\\"",
    };
    for (char16_t c = 0; c < 128; ++c) {
        patterns.push_back(std::u16string(u"\\") + c + u"x|[" + c + u"]" + c);
    }
    return patterns;
}

TEST(Dump, DotAcceptsEveryGraph) {
    if (std::system("dot -V >/dev/null 2>&1") != 0) GTEST_SKIP() << "no dot";
    const std::string path = testing::TempDir() + "regexp_graphs.dot";
    size_t count = 0;
    {
        std::ofstream graphs(path, std::ios::binary);
        for (const auto& text : many_patterns()) {
            graphs << graph_of(*parse_text(text, "e").pattern);
            ++count;
        }
    }
    EXPECT_GT(count, 100U);
    const std::string command = "dot -Tsvg '" + path + "' >/dev/null 2>'" + path + ".err'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::ostringstream errors;
    errors << std::ifstream(path + ".err").rdbuf();
    EXPECT_EQ(errors.str(), "");
    for (const char* suffix : {"", ".err"}) std::remove((path + suffix).c_str());
}

}  // namespace
