// The internal functions that throw, memory, and the records that need no engine.
#include "regexp/failure.h"

#include <gtest/gtest.h>

#include <qxut/regexp/regexp.h>
#include <qxut/util/heap.h>
#include <qxut/regexp/exception.hpp>
#include <qxut/regexp/memory.hpp>
#include <qxut/util/contexts.hpp>

#include <new>
#include <stdexcept>
#include <string>

#include "regexp/allocator.h"

// The sanitizers end the process on a huge request unless told to answer it like the C runtime.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

using namespace qxut::regexp;
using Quorvanix::System::UserException;

namespace {

struct Caught {
    std::string text;
    ut_message_code code;
    std::string identifier;
    uint64_t limit;
    size_t position;
};

template <class Body>
Caught caught(Body body) {
    try {
        body();
    } catch (const UserException& problem) {
        const auto& ours = dynamic_cast<const RE_Exception&>(problem);
        EXPECT_STREQ(ours.className(), "RE_Exception");
        return {ours.what(), ours.code(), ours.identifier(), ours.limit(), ours.position()};
    }
    return {};
}

TEST(RegexpFailure, CarriesNameCountAndPosition) {
    const struct {
        void (*fail)();
        ut_message_code code;
        const char* identifier;
        const char* english;
    } rows[] = {
        {[] { fail_repeated_mode_flag(3); }, UT_REGEXP_REPEATED_MODE_FLAG,
         "VELUMA:regexp_repeated_mode_flag", "Repeated mode flag."},
        {[] { fail_program_too_large(1000, 3); }, UT_REGEXP_PROGRAM_TOO_LARGE,
         "VELUMA:regexp_program_too_large",
         "The regular expression is too large: its program limit of 1000 instructions was exceeded "
         "at position 3 of the pattern."},
        {[] { fail_step_limit(1000, 3); }, UT_REGEXP_STEP_LIMIT, "VELUMA:regexp_step_limit",
         "The search with a regular expression exceeded its step limit of 1000 at position 3 of "
         "the text."},
        {[] { fail_memory_limit(1000, 3); }, UT_REGEXP_MEMORY_LIMIT, "VELUMA:regexp_memory_limit",
         "The search with a regular expression exceeded its memory limit of 1000 bytes at position "
         "3 of the text."},
        {[] { fail_depth_limit(1000, 3); }, UT_REGEXP_DEPTH_LIMIT, "VELUMA:regexp_depth_limit",
         "The search with a regular expression exceeded its limit of 1000 nested dynamic patterns "
         "at position 3 of the text."},
    };
    for (const auto& row : rows) {
        const Caught english = caught(row.fail);
        EXPECT_EQ(english.text, row.english);
        EXPECT_EQ(english.code, row.code);
        EXPECT_EQ(english.identifier, row.identifier);
        EXPECT_EQ(english.position, 3u);
        EXPECT_EQ(english.limit, row.code == UT_REGEXP_REPEATED_MODE_FLAG ? 0u : 1000u);
    }
}

TEST(RegexpFailure, SpeaksJapaneseAndWorksWithARecordOfTheHosts) {
    int32_t status = 0;
    ut_change_language(&status, utGetMessageContext(), "ja");
    ASSERT_EQ(status, 0);
    EXPECT_EQ(caught([] { fail_step_limit(12, 34); }).text,
              "正規表現による検索が、テキストの位置 34 でステップ数の上限 12 を超えました。");
    ut_change_language(&status, utGetMessageContext(), "English");

    utBasicContexts record;
    ASSERT_EQ(utInitializeBasicContexts(&record, nullptr, nullptr), 0);
    ut_add_builtin_japanese(&status, &record.message_context, utRealloc);
    utBasicContexts* const before = utInstallBasicContexts(&record);
    const Caught english = caught([] { fail_depth_limit(12, 34); });
    ut_change_language(&status, &record.message_context, "ja");
    const Caught japanese = caught([] { fail_depth_limit(12, 34); });
    utInstallBasicContexts(before);
    utClearBasicContexts(&record);
    EXPECT_EQ(english.text,
              "The search with a regular expression exceeded its limit of 12 nested dynamic "
              "patterns at position 34 of the text.");
    EXPECT_EQ(english.identifier, "VELUMA:regexp_depth_limit");
    EXPECT_EQ(japanese.text,
              "正規表現による検索が、テキストの位置 34 で動的パターンの入れ子の上限 12 "
              "を超えました。");
}

int listener_calls = 0;

struct Huge : RE_Memory {
    Huge() { throw std::logic_error("constructed"); }
    char bytes[64];
};

TEST(RegexpMemory, NullIsTheOperatorsFailureAndBadAllocTheContainers) {
    void* const none = RE_Memory::operator new(0);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(RE_Memory::operator new(SIZE_MAX / 2), nullptr);
    EXPECT_EQ(RE_Memory::operator new[](0), nullptr);
    RE_Memory::operator delete(none);
    EXPECT_THROW(delete new Huge, std::logic_error);  // and its memory is given back

    listener_calls = 0;
    utSetOutOfMemoryListener([] { ++listener_calls; });
    EXPECT_THROW(require(static_cast<Huge*>(nullptr)), std::bad_alloc);
    EXPECT_THROW(allocate_objects(SIZE_MAX / 4, 8), std::bad_alloc);  // the product overflows
    EXPECT_THROW(allocate_objects(SIZE_MAX / 16, 8), std::bad_alloc);
    utSetOutOfMemoryListener(nullptr);
    EXPECT_EQ(listener_calls, 3);
    EXPECT_EQ(allocate_objects(0, 8), nullptr);
}

}  // namespace
