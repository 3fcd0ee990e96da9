// program_test.cpp - what patterns are lowered to.
#include <gtest/gtest.h>

#include "regexp/matched.h"

namespace {

using qxut::regexp::Op;
using qxut_test::Matched;

struct Case {
    const char16_t* pattern;
    const char* program;
};

TEST(Program, IsInPatternOrder) {
    const Case cases[] = {
        {u"foo|bar|x",
         "    0  choice -> 1, 2, 3, by the next unit\n"
         "    1  string 'foo' -> 4\n"
         "    2  string 'bar' -> 4\n"
         "    3  character 'x'\n"
         "    4  match\n"},
        {u"(a+b)?",
         "    0  choice -> 1, 5, by the next unit\n"
         "    1  token start 1\n"
         "    2  possessive loop {1,} character 'a'\n"
         "    3  character 'b'\n"
         "    4  token end 1\n"
         "    5  match\n"},
        {u"(?:ab|cd)*+e",
         "    0  atomic\n"
         "    1  choice -> 2, 5, by the next unit\n"
         "    2  choice -> 3, 4, by the next unit\n"
         "    3  string 'ab' -> 1\n"
         "    4  string 'cd' -> 1\n"
         "    5  region end\n"
         "    6  character 'e'\n"
         "    7  match\n"},
        // The iterations that may be empty are watched, the copies of the required ones need not
        // be.
        {u"(?:ab?|c*){1,3}d",
         "    0  choice -> 1, 3, by the next unit\n"
         "    1  character 'a'\n"
         "    2  possessive loop {0,1} character 'b' -> 4\n"
         "    3  greedy loop {0,} character 'c', where what follows may stand\n"
         "    4  counter start\n"
         "    5  counter up to 2 else 12\n"
         "    6  iteration start\n"
         "    7  choice -> 8, 10, by the next unit\n"
         "    8  character 'a'\n"
         "    9  possessive loop {0,1} character 'b' -> 11\n"
         "   10  greedy loop {0,} character 'c', where what follows may stand\n"
         "   11  iteration end -> 5, else 12\n"
         "   12  character 'd'\n"
         "   13  match\n"},
        {u"(?<=a+b)c(?!d)",
         "    0  look behind, from right to left -> 6, else nowhere\n"
         "    1  back: character 'b'\n"
         "    2  split -> 4, else 3\n"
         "    3  back: character 'a' -> 2\n"
         "    4  back: character 'a'\n"
         "    5  region end\n"
         "    6  character 'c'\n"
         "    7  look ahead -> nowhere, else 10\n"
         "    8  character 'd'\n"
         "    9  region end\n"
         "   10  match\n"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(qxut::regexp::program_text(Matched(c.pattern).program()), c.program)
            << testing::PrintToString(c.pattern);
    }
}

// What one character at a time would do as well is one instruction, of this kind.
TEST(Program, HasOneInstructionForALoop) {
    struct Loop {
        const char16_t* pattern;
        Op op;
        uint32_t min;
        uint32_t max;
    };
    constexpr uint32_t kNoLimit = qxut::regexp::kNoLimit;
    const Loop loops[] = {
        {u"a+a", Op::loop_greedy, 1, kNoLimit},
        {u"a+b", Op::loop_possessive, 1, kNoLimit},
        {u"a{3,5}a", Op::loop_greedy, 3, 5},
        {u"[ab]{7}", Op::loop_possessive, 7, 7},
        {u"a{2000,}a", Op::loop_greedy, 2000, kNoLimit},
        {u".*?x", Op::loop_lazy, 0, kNoLimit},
        {u"[^x]*?x", Op::loop_possessive, 0, kNoLimit},
        {u"(?:a|b)*a", Op::loop_greedy, 0, kNoLimit},
        {u"(?>a*)a", Op::loop_possessive, 0, kNoLimit},
        {u"a{2}+a", Op::loop_possessive, 2, 2},
    };
    for (const Loop& loop : loops) {
        const Matched matched(loop.pattern);
        const qxut::regexp::Program& program = matched.program();
        SCOPED_TRACE(testing::PrintToString(loop.pattern));
        EXPECT_EQ(program.code[0].op, loop.op);
        ASSERT_EQ(program.loops.size(), 1U);
        EXPECT_EQ(program.loops[0].min, loop.min);
        EXPECT_EQ(program.loops[0].max, loop.max);
    }
}

}  // namespace
