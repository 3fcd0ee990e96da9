#include <qxut/util/contexts.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>

#include <qxut/util/heap.h>
#include <qxut/util/output.h>
#include <qxut/util/contexts.hpp>

#include "support/countdown_heap.h"
#include "support/failing_malloc.h"

namespace {

using Quorvanix::System::BasicContextsHolder;
using qxut_test::CountdownHeap;
using qxut_test::FailingMalloc;

// What a throw function was given; it travels as a C++ exception, so that the test goes on.
struct Uncaught {
    void* data;
    std::string identifier;
    int32_t code;
    std::string text;
};

[[noreturn]] void throw_to_test(void* data, const char* identifier, int32_t code,
                                const char* text) {
    throw Uncaught{data, identifier, code, text};
}

int append(void* destination, const char* text, int32_t length) {
    static_cast<std::string*>(destination)->append(text, static_cast<size_t>(length));
    return length;
}

int append_text(const char* text, void* destination) {
    static_cast<std::string*>(destination)->append(text);
    return 1;
}

// A caller's storage, with whatever lay there before.
struct Storage {
    Storage() { std::memset(static_cast<void*>(&record), 0xEE, sizeof record); }
    utBasicContexts record;
};

// A record of the plain initialiser that is the current one, and was never so before.
class Current : public Storage, private qxut_test::NotCopied {
  public:
    Current() {
        EXPECT_EQ(utInitializeBasicContexts(&record, throw_to_test, this), 0);
        before_ = utInstallBasicContexts(&record);
    }
    ~Current() {
        EXPECT_EQ(utInstallBasicContexts(before_), &record);
        utClearBasicContexts(&record);
    }

  private:
    utBasicContexts* before_;
};

void expect_fresh_error_text(const utBasicContexts& record) {
    EXPECT_EQ(record.error_text_stream.position, record.error_text);
    EXPECT_EQ(record.error_text_stream.remaining, sizeof record.error_text);
}

// A start-up that ran out of memory says so: by status where no error could be raised yet, by
// the code of the error after that.
void expect_out_of_memory(int32_t status, const utBasicContexts& record) {
    if (status == UT_NO_MEMORY_FOR_MESSAGE_CONTEXT) {
        EXPECT_NE(std::strstr(record.error_text, "emory"), nullptr) << record.error_text;
    } else {
        EXPECT_EQ(status, UT_OUT_OF_MEMORY);
        EXPECT_STREQ(record.error_text, "Error: Out of memory.\n");
    }
}

// --- initialising and clearing -----------------------------------------------------------------

// Every request of a start-up fails in turn; what was given comes back.
TEST(BasicContexts, FailureAtEveryStepGivesEverythingBack) {
    CountdownHeap heap;
    for (const auto failure :
         {CountdownHeap::Failure::once, CountdownHeap::Failure::from_then_on}) {
        bool reached_message_context = false;
        bool reached_try_frame = false;
        int32_t status = -1;
        for (size_t k = 0; status != 0; ++k) {
            SCOPED_TRACE("allocation " + std::to_string(k) + " fails");
            Storage storage;
            std::string printed;
            heap.fail_at(k, failure);
            status = utInitializeBasicContexts_full(
                &storage.record, throw_to_test, nullptr, CountdownHeap::allocate,
                CountdownHeap::reallocate, CountdownHeap::release, append, &printed, append,
                &printed);
            // An error is reported where the host asked for it; a status has no such channel.
            EXPECT_EQ(printed, status == UT_OUT_OF_MEMORY ? "Error: Out of memory.\n" : "");
            EXPECT_EQ(status != 0, heap.has_failed());
            if (status == 0) {
                expect_fresh_error_text(storage.record);
            } else {
                expect_out_of_memory(status, storage.record);
                EXPECT_EQ(heap.live_blocks(), 0u) << "not given back by the failure";
            }
            reached_message_context |= status == UT_NO_MEMORY_FOR_MESSAGE_CONTEXT;
            reached_try_frame |= status == UT_OUT_OF_MEMORY;
            utClearBasicContexts(&storage.record);
            EXPECT_EQ(heap.live_bytes(), 0u);
        }
        EXPECT_TRUE(reached_message_context && reached_try_frame);
    }
}

TEST(BasicContexts, PlainFormWithoutMemoryGivesEverythingBack) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP() << "the heap is the sanitizer's";
    for (const bool from_then_on : {false, true}) {
        int32_t status = -1;
        for (size_t k = 0; status != 0; ++k) {
            SCOPED_TRACE(k);
            Storage storage;
            {
                const FailingMalloc failing(k, from_then_on);
                status = utInitializeBasicContexts(&storage.record, throw_to_test, nullptr);
            }
            EXPECT_EQ(status != 0, FailingMalloc::has_failed());
            if (status != 0) {
                expect_out_of_memory(status, storage.record);
                EXPECT_EQ(FailingMalloc::live_blocks(), 0);
            }
            utClearBasicContexts(&storage.record);
        }
    }
}

// A heap that explains itself at length in the record's error text before it refuses.
ut_bstream* complaint = nullptr;

void* complain_and_refuse(size_t /*size*/) {
    const std::string text(size_t{2} * UT_ERROR_TEXT_SIZE, 'x');
    ut_bputsn(complaint, text.data(), static_cast<int32_t>(text.size()));
    return nullptr;
}

TEST(BasicContexts, FailureTextThatFillsTheBufferLosesItsLastCharacter) {
    Storage storage;
    complaint = &storage.record.error_text_stream;
    EXPECT_EQ(
        utInitializeBasicContexts_full(&storage.record, throw_to_test, nullptr, complain_and_refuse,
                                       CountdownHeap::reallocate, CountdownHeap::release, append,
                                       nullptr, append, nullptr),
        UT_NO_MEMORY_FOR_MESSAGE_CONTEXT);
    EXPECT_EQ(storage.record.error_text, std::string(UT_ERROR_TEXT_SIZE - 1, 'x'));
    EXPECT_EQ(storage.record.throw_fcn, throw_to_test);
}

// Names, numbers and warnings take memory while the record is used; it all goes back to the heap
// that it came from, the warning context's first, and once.
TEST(BasicContexts, ClearingGivesToTheRecordsOwnHeapOnce) {
    CountdownHeap heap;
    Storage storage;
    std::string printed;
    ASSERT_EQ(
        utInitializeBasicContexts_full(&storage.record, throw_to_test, nullptr,
                                       CountdownHeap::allocate, CountdownHeap::reallocate,
                                       CountdownHeap::release, append, &printed, append, &printed),
        0);
    const size_t after_start = heap.live_blocks();
    const std::string digits = "0." + std::string(1000, '7') + "e-300";
    EXPECT_EQ(ut_strtod(&storage.record.fpc_context, digits.c_str(), nullptr), 7.0 / 9.0 * 1e-300);
    for (const char* name : {"alpha", "beta"}) {
        ut_namehash_add(&storage.record.namehash_context, name);
    }
    EXPECT_GT(heap.live_blocks(), after_start);
    utClearBasicContexts(&storage.record);
    EXPECT_EQ(heap.live_blocks(), 0u);
    utClearBasicContexts(&storage.record);
    EXPECT_EQ(heap.live_blocks(), 0u);
}

// --- uncaught errors -----------------------------------------------------------------------------

TEST(BasicContexts, UncaughtErrorReachesTheThrowFunction) {
    Current current;
    try {
        ut_error(utGetErrorContext(), UT_OUT_OF_MEMORY);
    } catch (const Uncaught& uncaught) {
        EXPECT_EQ(uncaught.data, &current);
        EXPECT_EQ(uncaught.identifier, "VELUMA:out_of_memory");
        EXPECT_EQ(uncaught.code, UT_OUT_OF_MEMORY);
        EXPECT_EQ(uncaught.text, "Error: Out of memory.");
    }
    expect_fresh_error_text(current.record);
}

TEST(BasicContexts, LongErrorTextIsCutInsideTheBuffer) {
    // The newline of the error print takes a place and is dropped again. Where it found none, the
    // last character of the text is dropped in its stead.
    const struct {
        size_t length, kept;
    } kCases[] = {{0, 0}, {1, 1}, {4094, 4094}, {4095, 4095}, {4096, 4095}, {9000, 4095}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.length);
        Current current;
        current.record.throw_fcn = nullptr;  // the byte after the buffer
        utInstallBasicThrow(throw_to_test, nullptr);
        const std::string text = std::string(c.length, 'x');
        ut_error_print(utGetErrorContext(), UT_ERR_RETHROW, text.c_str());
        EXPECT_EQ(utReturnUTErrorString(), text.substr(0, c.kept));
        expect_fresh_error_text(current.record);
        EXPECT_EQ(current.record.throw_fcn, throw_to_test);
        try {
            ut_error(utGetErrorContext(), UT_ERR_RETHROW, text.c_str());
        } catch (const Uncaught& uncaught) {
            EXPECT_EQ(uncaught.text, text.substr(0, c.kept));
        }
    }
}

TEST(BasicContexts, ErrorStringStartsAfreshEachTime) {
    Current current;
    EXPECT_STREQ(utReturnUTErrorString(), "");
    ut_error_print(utGetErrorContext(), UT_OUT_OF_MEMORY);
    ut_error_print(utGetErrorContext(), UT_ERR_RETHROW, "second");
    EXPECT_STREQ(utReturnUTErrorString(), "Error: Out of memory.\nsecond");
    EXPECT_STREQ(utReturnUTErrorString(), "");
    expect_fresh_error_text(current.record);
}

TEST(BasicContextsDeathTest, DefaultThrowFunctionEndsTheProcess) {
    // The text is the format of what is written: a doubled per cent sign comes out as one.
    EXPECT_EXIT(
        {
            const BasicContextsHolder holder;
            ut_error(&holder.get()->error_context, UT_ERR_RETHROW, "100%% of %%s");
        },
        testing::ExitedWithCode(1), "100% of %s[^%]*Panic with status 1");
    EXPECT_EXIT(
        {
            const BasicContextsHolder holder;
            ut_fault(&holder.get()->error_context, "a < b", "file.c", 7);
        },
        testing::KilledBySignal(SIGABRT), "Assertion fault \"a < b\" in file \"file.c\", line 7.");
}

TEST(BasicContextsDeathTest, HolderPanicsWhenItsRecordCannotBeMade) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP() << "the heap is the sanitizer's";
    EXPECT_EXIT(
        {
            const FailingMalloc failing(0);
            const BasicContextsHolder holder;
        },
        testing::ExitedWithCode(3), "emory");
}

// --- the current record ----------------------------------------------------------------------

TEST(BasicContexts, RecordsAreInstalledAndRestored) {
    utBasicContexts* const standard = utGetBasicContexts();
    const utThrowFcn standard_throw = standard->throw_fcn;
    {
        Current current;
        EXPECT_EQ(utGetBasicContexts(), &current.record);
        EXPECT_EQ(utGetMessageContext(), &current.record.message_context);
        EXPECT_EQ(utGetErrorContext(), &current.record.error_context);
        EXPECT_EQ(utGetMemoryContext(), &current.record.memory_context);
        EXPECT_EQ(utGetNamehashContext(), &current.record.namehash_context);
        EXPECT_EQ(utGetFpcContext(), &current.record.fpc_context);
        EXPECT_EQ(utGetWarningContext(), &current.record.warning_context);
        int data = 0;
        EXPECT_EQ(utInstallBasicThrow(throw_to_test, &data), &current.record);
        EXPECT_EQ(current.record.throw_data, &data);
    }
    EXPECT_EQ(utGetBasicContexts(), standard);
    EXPECT_EQ(standard->throw_fcn, standard_throw);
    EXPECT_EQ(standard->throw_data, nullptr);
}

// --- printing warnings -------------------------------------------------------------------------

// Redirects the console for a scope.
class Console : private qxut_test::NotCopied {
  public:
    Console(utPutsFcn puts_fcn, void* data) : puts_(puts_fcn), data_(data) { swap(); }
    ~Console() { swap(); }

  private:
    void swap() { utSwapVprintfCallbacks(&puts_, &data_, &is_hot_, &errors_); }
    utPutsFcn puts_;
    void* data_;
    utIsHotFcn is_hot_ = nullptr;
    _error_context* errors_ = nullptr;
};

TEST(BasicContexts, WarningsGoToTheConsoleByDefault) {
    Current current;
    const ut_warning_context& warnings = current.record.warning_context;
    std::string printed;
    const Console console(append_text, &printed);
    EXPECT_EQ(warnings.print(warnings.print_data, "abcdef", 3), 3);
    EXPECT_EQ(warnings.print(warnings.print_data, "abcdef", 0), 0);
    EXPECT_EQ(printed, "abc");
}

TEST(BasicContexts, WarningThatFindsNoMemoryOrNoConsoleLeaksNothing) {
    CountdownHeap heap;
    Current current;
    current.record.memory_context.allocate = CountdownHeap::allocate;
    current.record.memory_context.release = CountdownHeap::release;
    const ut_warning_context& warnings = current.record.warning_context;
    const Console console(
        [](const char*, void*) -> int { throw std::runtime_error("the console is gone"); },
        nullptr);
    EXPECT_THROW(warnings.print(warnings.print_data, "text", 4), std::runtime_error);
    EXPECT_EQ(heap.live_blocks(), 0u);
    EXPECT_EQ(current.record.error_context.cleanup, 0u);
    heap.fail_at(0);
    EXPECT_THROW(warnings.print(warnings.print_data, "text", 4), Uncaught);
    EXPECT_EQ(heap.live_blocks(), 0u);
    current.record.memory_context.allocate = utMalloc;
    current.record.memory_context.release = utFree;
}

}  // namespace
