// output_test.cpp - the console callbacks, bounded formatting, and the growing buffer.
#include <qxut/util/output.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>

#include "support/contexts.h"
#include "support/failing_malloc.h"

namespace {

using qxut_test::Contexts;
using qxut_test::FailingMalloc;

// A console that keeps what is put; installed for its scope.
class Console : private qxut_test::NotCopied {
  public:
    explicit Console(_error_context* errors = nullptr) : errors_(errors) {
        utSwapVprintfCallbacks(&puts_, &data_, &is_hot_, &errors_);
    }
    ~Console() { utSetVprintfCallbacks(puts_, data_, is_hot_, errors_); }

    std::string text;
    int calls = 0;
    int result = 1;
    bool hot = false;
    _error_context* raises = nullptr;

  private:
    static int put(const char* text, void* self) {
        auto* console = static_cast<Console*>(self);
        ++console->calls;
        if (console->raises != nullptr) ut_error(console->raises, UT_ERR_FATAL);
        console->text += text;
        return console->result;
    }
    utPutsFcn puts_ = put;
    void* data_ = this;
    utIsHotFcn is_hot_ = [](void* self) { return static_cast<Console*>(self)->hot; };
    _error_context* errors_;
};

TEST(Output, BoundedFormatting) {
    struct Case {
        const char* text;
        size_t size;
        int result;
        const char* stored;  // null: nothing is written
    };
    const Case cases[] = {
        {"abcd", 9, 4, "abcd"},   {"abcd", 5, 4, "abcd"}, {"abcd", 4, 4, "abc"},
        {"abcd", 3, 3, "ab"},     {"abcd", 1, 1, ""},     {"", 1, 0, ""},
        {"abcd", 0, -1, nullptr}, {"", 0, 0, nullptr},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(std::string(row.text) + " into " + std::to_string(row.size));
        char buffer[12];
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(utSNprintf(buffer, row.size, "%s", row.text), row.result);
        if (row.stored != nullptr) {
            EXPECT_STREQ(buffer, row.stored);
        }
        for (size_t i = row.size; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '#') << i;
    }
}

// In the "C" locale no byte sequence stands for the euro sign.
constexpr wint_t kNotEncodable = 0x20AC;

TEST(Output, FailureOfTheRuntimeIsNoCut) {
    char buffer[8] = "before";
    EXPECT_LT(utSNprintf(buffer, sizeof buffer, "ab%lc", kNotEncodable), -1);
    EXPECT_STREQ(buffer, "");
    EXPECT_LT(utSNprintf(buffer, 0, "%lc", kNotEncodable), -1);
    Contexts contexts;
    Console console(&contexts.errors);
    EXPECT_EQ(utPrintf("%2000s%lc", "", kNotEncodable), 0);
    EXPECT_EQ(console.calls, 0);
}

TEST(Output, PrintfPutsTheWholeTextOnce) {
    for (const size_t length : {0u, 1u, 1022u, 1023u, 1024u, 2045u, 2046u, 2047u, 100000u}) {
        SCOPED_TRACE(length);
        Console console;
        const std::string text(length, 'x');
        EXPECT_EQ(utPrintf("%d|%s|%.2f|%ld", 7, text.c_str(), 2.5, 1L << 40),
                  static_cast<int>(length) + 21);
        EXPECT_EQ(console.text, "7|" + text + "|2.50|1099511627776");
        EXPECT_EQ(console.calls, 1);
    }
}

TEST(Output, PutsFunctionFailsOrRaises) {
    Contexts contexts;
    const std::string text(5000, 'x');
    for (const char* printed : {"short", text.c_str()}) {
        Console console;
        console.result = -1;
        EXPECT_EQ(utPrintf("%s", printed), 0);
        EXPECT_EQ(utPuts("text"), -1);
        console.raises = &contexts.errors;
        EXPECT_EQ(contexts.run([&] { utPrintf("%s", printed); }).code, UT_ERR_FATAL);
    }
}

TEST(Output, NoMemoryForTheBuffer) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP() << "the sanitizer's heap does not fail";
    Contexts contexts;
    const std::string text(3000, 'x');
    for (const size_t growth : {0u, 1u}) {
        int count = 0;
        std::function<void()> print = [&] {
            const FailingMalloc heap(growth, true);
            count = utPrintf("%s", text.c_str());
        };
        // The handler of Contexts::run takes memory, which there is none of.
        const auto run = [](_error_context*, void* body) {
            (*static_cast<const std::function<void()>*>(body))();
        };
        const auto accept = [](_error_context*, void*, ut_message_code, va_list) { return 1; };
        {
            Console console(&contexts.errors);
            EXPECT_EQ(ut_try_catch(&contexts.errors, &print, run, accept), UT_OUT_OF_MEMORY);
            EXPECT_EQ(FailingMalloc::live_blocks(), 0);
            EXPECT_EQ(console.calls, 0);
        }
        Console console;  // without an error context
        print();
        EXPECT_EQ(count, 0);
        EXPECT_EQ(FailingMalloc::live_blocks(), 0);
        EXPECT_EQ(console.calls, 0);
    }
}

TEST(Output, NullStreamIsTheConsole) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    {
        Console console;
        EXPECT_EQ(fprntf(nullptr, "%d %s\n", 1, "one"), 6);
        EXPECT_EQ(fpts(nullptr, "two\n"), 1);
        EXPECT_EQ(utPutsn("abcdef", 3), 3);
        EXPECT_EQ(utPutsn("xyz", 0), 0);
        EXPECT_EQ(fprntf(file, "%d %s\n", 3, "three"), 8);
        EXPECT_GE(fpts(file, "four\n"), 0);
        EXPECT_EQ(console.text, "1 one\ntwo\nabc");
    }
    std::rewind(file);
    char text[32] = "";
    EXPECT_EQ(std::fread(text, 1, sizeof text - 1, file), 13u);
    EXPECT_STREQ(text, "3 three\nfour\n");
    std::fclose(file);
}

TEST(Output, CallbacksAreSetReadAndSwapped) {
    utPutsFcn puts = nullptr;
    void* data = nullptr;
    utIsHotFcn is_hot = nullptr;
    _error_context* errors = nullptr;
    EXPECT_FALSE(utPrintfIsHot());
    const utPutsFcn standard = utSetVprintfCallbacks(nullptr, nullptr, nullptr, nullptr);
    {
        Console console;
        console.hot = true;
        EXPECT_TRUE(utPrintfIsHot());
        utGetVprintfCallbacks(&puts, &data, &is_hot, &errors);
        EXPECT_EQ(data, &console);
        utPutsFcn incoming = nullptr;  // selects the default
        void* incoming_data = nullptr;
        utIsHotFcn incoming_hot = nullptr;
        utSwapVprintfCallbacks(&incoming, &incoming_data, &incoming_hot, &errors);
        EXPECT_EQ(incoming, puts);
        EXPECT_EQ(incoming_data, &console);
        EXPECT_EQ(incoming_hot, is_hot);
    }
    // The console gave back what it found.
    utGetVprintfCallbacks(&puts, &data, &is_hot, &errors);
    EXPECT_EQ(puts, standard);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(is_hot, nullptr);
    testing::internal::CaptureStdout();
    utPuts("to standard output");
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to standard output");
}

int pager_calls = 0;

TEST(Output, Pager) {
    utPagerSuspend();  // does nothing
    const utPagerFcn standard =
        utSetPagerSuspendResumeCallbacks([] { pager_calls += 1; }, [] { pager_calls += 10; });
    utPagerSuspend();
    utPagerResume();
    utPagerResume();
    EXPECT_EQ(pager_calls, 21);
    EXPECT_EQ(utSetPagerSuspendResumeCallbacks(nullptr, nullptr), standard);
    utPagerSuspend();
    utPagerResume();
    EXPECT_EQ(pager_calls, 21);
}

}  // namespace
