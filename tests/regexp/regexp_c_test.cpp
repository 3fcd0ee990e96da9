// utRegexp and kin, called from C.
#include <gtest/gtest.h>

#include <qxut/regexp/regexp.h>
#include <qxut/util/interrupt.h>
#include <qxut/system/mediator.hpp>
#include <qxut/util/contexts.hpp>

#include <cstring>
#include <string>

#include "regexp/regexp_c_frames.h"
#include "support/failing_malloc.h"

using qxut_test::FailingMalloc;

namespace {

c_search search_of(const char* text, const char* pattern, bool ignores_case = false) {
    c_search search{};
    search.text = text;
    search.length = std::strlen(text);
    search.pattern = pattern;
    search.ignores_case = ignores_case;
    return search;
}

TEST(RegexpC, GivesExtentsInTheCallersUnits) {
    c_search search = search_of("\u00E9 key=7", "(\\w+)=(\\d)(x)?");
    EXPECT_EQ(c_search_run(&search), 0u);
    ASSERT_EQ(search.count, 4u);
    const size_t expected[][2] = {{3, 8}, {3, 6}, {7, 8}, {SIZE_MAX, SIZE_MAX}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(search.extents[i].start, expected[i][0]) << i;
        EXPECT_EQ(search.extents[i].end, expected[i][1]) << i;
    }

    search = search_of("KEY", "key");
    search.extents[0] = {5, 6};
    EXPECT_EQ(c_search_run(&search), 0u);
    EXPECT_EQ(search.count, 0u);
    EXPECT_EQ(search.extents[0].start, 5u) << "unchanged without a match";
    search.ignores_case = true;
    EXPECT_EQ(c_search_run(&search), 0u);
    EXPECT_EQ(search.count, 1u);

    utRegexpExtent extent[2] = {{9, 9}, {9, 9}};
    EXPECT_EQ(c_search_u16(extent), 2u);
    EXPECT_EQ(extent[0].start, 1u);
    EXPECT_EQ(extent[0].end, 3u);
    EXPECT_EQ(extent[1].start, 9u) << "beyond the room";
    EXPECT_EQ(utRegexp("ab", 2, "b", nullptr, 0), 1u);
    EXPECT_EQ(utRegexp(nullptr, 0, "b*", nullptr, 0), 1u);
    EXPECT_EQ(utRegexp("ab", 2, nullptr, nullptr, 0), 1u);
    EXPECT_EQ(utRegexp_u16(u"AB", 2, u"b", 1, nullptr, 0), 0u);
}

TEST(RegexpC, RaisesByCode) {
    c_search repeated = search_of("a", "(?ii)");
    EXPECT_EQ(c_search_run(&repeated), UT_REGEXP_REPEATED_MODE_FLAG);
    EXPECT_STREQ(repeated.message, "Repeated mode flag.");
    EXPECT_STREQ(repeated.identifier, "VELUMA:regexp_repeated_mode_flag");

    const char* const hard_text = "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaacb";
    c_search hard = search_of(hard_text, "^(a*)*\\1b");
    utSetRegexpLimits(5000, 0, 0);
    EXPECT_EQ(c_search_run(&hard), UT_REGEXP_STEP_LIMIT);
    EXPECT_EQ(std::string(hard.message)
                  .find("The search with a regular expression exceeded its "
                        "step limit of 5000 at position "),
              0u);
    int32_t status = 0;
    ut_change_language(&status, utGetMessageContext(), "ja");
    EXPECT_EQ(c_search_run(&hard), UT_REGEXP_STEP_LIMIT);
    EXPECT_NE(std::string(hard.message).find("ステップ数の上限 5000"), std::string::npos);
    ut_change_language(&status, utGetMessageContext(), "English");

    // With a record that does not know the messages.
    utBasicContexts record;
    ASSERT_EQ(utInitializeBasicContexts(&record, nullptr, nullptr), 0);
    utBasicContexts* const before = utInstallBasicContexts(&record);
    EXPECT_EQ(c_search_run(&hard), UT_REGEXP_STEP_LIMIT);
    EXPECT_NE(std::string(hard.message).find("limit of 5000"), std::string::npos);
    utInstallBasicContexts(before);
    utClearBasicContexts(&record);

    // An outer boundary of C++ makes an exception of it again.
    try {
        Quorvanix::System::throwErrors(utGetErrorContext(), [&] {
            utRegexp(hard_text, std::strlen(hard_text), "^(a*)*\\1b", nullptr, 0);
        });
        ADD_FAILURE();
    } catch (const Quorvanix::System::UserException& problem) {
        EXPECT_EQ(problem.code(), UT_REGEXP_STEP_LIMIT);
        EXPECT_NE(std::string(problem.what()).find("limit of 5000"), std::string::npos);
    }
    utSetRegexpLimits(0, 0, 0);

    utSetInterruptPending(true);
    EXPECT_EQ(c_search_run(&hard), UT_ERR_SIGNAL_INTERRUPT);
    EXPECT_FALSE(utIsInterruptPending());
}

TEST(RegexpC, RaisesWhenMemoryIsShort) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP();
    c_search search = search_of("xxab", "(a)b");
    EXPECT_EQ(c_search_run(&search), 0u);
    for (size_t request = 0;; ++request) {
        ASSERT_LT(request, 1000u);
        ut_message_code code = 0;
        {
            const FailingMalloc failing(request);
            code = c_search_run(&search);
        }
        if (code != 0) {
            EXPECT_EQ(code, UT_OUT_OF_MEMORY);
            EXPECT_STREQ(search.message, "Error: Out of memory.");
        }
        EXPECT_EQ(FailingMalloc::live_blocks(), 0);
        if (!FailingMalloc::has_failed()) break;
    }
}

}  // namespace
