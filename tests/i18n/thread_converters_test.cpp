#include <gtest/gtest.h>
#include <pthread.h>
#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>
#include <sys/wait.h>
#include <unicode/ucnv.h>
#include <unistd.h>
#include <qxut/i18n/unicode_converter.hpp>

#include <clocale>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/failing_malloc.h"
#include "support/temporary_locale.h"

namespace {

using namespace qxut_test;
using Quorvanix::I18N::InvalidCharacterSetException;
using Quorvanix::I18N::UnicodeConverterX;

std::string to_default(std::u16string_view text) {
    char bytes[100];
    uint32_t length = sizeof bytes;
    utf16_to_lcp_n(bytes, &length, text.data(), static_cast<uint32_t>(text.size()));
    return {bytes, length};
}

TEST(ThreadConverters, DefaultIsWhatWasPushedLast) {
    EXPECT_STREQ(UnicodeConverterX::getThreadSpecific().getName(), "UTF-8");
    UnicodeConverterX::popTssDefaultConvName();  // nothing there
    UnicodeConverterX::pushTssDefaultConvName("ISO-8859-1");
    EXPECT_EQ(to_default(u"\u00E9"), "\xE9");
    EXPECT_THROW(UnicodeConverterX::pushTssDefaultConvName("nonsense"),
                 InvalidCharacterSetException);
    UnicodeConverterX::pushTssDefaultConvName("Shift_JIS");
    EXPECT_EQ(to_default(u"\u30C6"), "\x83\x65");
    UnicodeConverterX::pushTssDefaultConvName(nullptr);
    UnicodeConverterX::popTssDefaultConvName();
    // Threads do not share it.
    std::thread([] { EXPECT_EQ(to_default(u"\u00E9"), "\xC3\xA9"); }).join();
    UnicodeConverterX::popTssDefaultConvName();
    EXPECT_EQ(to_default(u"\u00E9"), "\xE9");
    UnicodeConverterX::popTssDefaultConvName();
    EXPECT_EQ(to_default(u"\u00E9"), "\xC3\xA9");
}

TEST(ThreadConverters, DefaultFollowsTheLocale) {
    const TemporaryLocale locale("ja_JP", "EUC-JP");
    if (!locale.is_set()) GTEST_SKIP() << "no locale sources";
    EXPECT_EQ(to_default(u"\u30C6"), "\xA5\xC6");
    char16_t* const units = lcp_to_utf16("\xA5\xC6", 2);
    EXPECT_EQ(std::u16string(units), u"\u30C6");
    utFree(units);
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(to_default(u"\u30C6"), "\xE3\x83\x86");
}

TEST(ThreadConverters, UnknownNamesAreTold) {
    try {
        UnicodeConverterX::getThreadSpecific("no such encoding");
        FAIL();
    } catch (const InvalidCharacterSetException& problem) {
        EXPECT_STREQ(problem.what(), "Unknown character set: no such encoding");
        EXPECT_STREQ(problem.name(), "no such encoding");
        EXPECT_STREQ(problem.className(), "InvalidCharacterSetException");
    }
    const std::string longest(1000, 'x');
    try {
        UnicodeConverterX::getThreadSpecific(longest.c_str());
        FAIL();
    } catch (const Quorvanix::System::UserException& problem) {
        EXPECT_EQ(problem.what(), "Unknown character set: " + std::string(100, 'x'));
    }
}

// More names than are kept: what is referred to stays open while the others come and go.
TEST(ThreadConverters, EvictionSparesWhatIsInUse) {
    const auto name_of = [](const char* name) {
        UErrorCode error = U_ZERO_ERROR;
        UConverter* const icu = ucnv_open(name, &error);
        std::string found = ucnv_getName(icu, &error);
        ucnv_close(icu);
        return found;
    };
    std::vector<UnicodeConverterX> held;
    held.reserve(20);
    for (int32_t i = 0; i < 20; ++i) {
        held.push_back(UnicodeConverterX::getThreadSpecific(ucnv_getAvailableName(i)));
    }
    UnicodeConverterX::pushTssDefaultConvName("EUC-JP");
    for (int round = 0; round < 2; ++round) {
        for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
            const char* const name = ucnv_getAvailableName(i);
            const UnicodeConverterX converter = UnicodeConverterX::getThreadSpecific(name);
            EXPECT_EQ(converter.getName(), name_of(name));
        }
    }
    for (int32_t i = 0; i < 20; ++i) {
        EXPECT_EQ(held[static_cast<size_t>(i)].getName(), name_of(ucnv_getAvailableName(i)));
    }
    held.front() = held.back();
    EXPECT_EQ(held.front().getName(), name_of(ucnv_getAvailableName(19)));
    EXPECT_EQ(to_default(u"\u30C6"), "\xA5\xC6");
    UnicodeConverterX::popTssDefaultConvName();
}

// Memory that runs out while a converter is opened or kept leaves nothing behind.
TEST(ThreadConverters, ShortOfMemory) {
    if (!kCanFailMalloc) GTEST_SKIP() << "the heap is the sanitizer's";
    // ICU keeps what it has loaded.
    for (const char* name : {"IBM-037", "KOI8-R"}) UnicodeConverterX::getThreadSpecific(name);
    for (size_t request = 0;; ++request) {
        bool has_failed = false;
        std::thread([&] {
            const FailingMalloc failing(request, true);
            try {
                const UnicodeConverterX converter = UnicodeConverterX::getThreadSpecific("IBM-037");
                char byte = 0;
                EXPECT_EQ(converter.fromUnicode(&byte, 1, u"A", 1), 1);
                EXPECT_EQ(byte, '\xC1');
                UnicodeConverterX::pushTssDefaultConvName("KOI8-R");
            } catch (const std::bad_alloc&) {
            }
            has_failed = FailingMalloc::has_failed();
        }).join();
        if (!has_failed) break;
        EXPECT_LT(request, 50u);
    }
    std::thread([] { EXPECT_EQ(to_default(u"\u00E9"), "\xC3\xA9"); }).join();
}

TEST(ThreadConverters, ManyThreadsConvertWhileOthersEnd) {
    static constexpr const char* kNames[] = {"UTF-8", "Shift_JIS", "windows-1252", "KOI8-R"};
    const auto work = [](int thread) {
        for (int i = 0; i < 200; ++i) {
            const char* const name = kNames[(thread + i) % 4];
            char* const bytes = utf16_to_enc(name, u"plain text", 10);
            ASSERT_STREQ(bytes, "plain text");
            char16_t* const units = enc_to_utf16(name, bytes, 10);
            ASSERT_EQ(std::u16string(units), u"plain text");
            utFree(bytes);
            utFree(units);
        }
    };
    for (int round = 0; round < 5; ++round) {
        std::vector<std::thread> threads;
        threads.reserve(8);
        for (int thread = 0; thread < 8; ++thread) threads.emplace_back(work, thread);
        for (std::thread& thread : threads) thread.join();
    }
}

// A thread's end runs other libraries' code after its converters were closed.
std::string converted_late;
std::optional<UnicodeConverterX> held_late;
pthread_key_t late_key;

void convert_late(void* value) {
    if (static_cast<int*>(value)[0]++ == 0) {
        // Once more, when the library's own function has run.
        pthread_setspecific(late_key, value);
        return;
    }
    char* const bytes = utf16_to_enc("KOI8-R", u"\u0416", 1);
    converted_late = bytes;
    utFree(bytes);
    UnicodeConverterX::pushTssDefaultConvName("KOI8-R");
    converted_late += to_default(u"\u00E9");
    char byte = 0;
    held_late->fromUnicode(&byte, 1, u"\u00E9", 1);
    converted_late += byte;
    held_late.reset();
}

TEST(ThreadConverters, AThreadThatEndsStillConverts) {
    ASSERT_EQ(pthread_key_create(&late_key, convert_late), 0);
    std::thread([] {
        static int rounds;
        rounds = 0;
        pthread_setspecific(late_key, &rounds);
        held_late.emplace(UnicodeConverterX::getThreadSpecific("windows-1252"));
    }).join();
    EXPECT_EQ(converted_late, "\xF6\xC3\xA9\xE9");
    pthread_key_delete(late_key);
}

// The process ends while other threads convert, and with the library's work at its end done.
TEST(ThreadConverters, TheProcessEndsWhileThreadsConvert) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (int i = 0; i < 4; ++i) {
            std::thread([] {
                for (;;) {
                    utFree(utf16_to_enc("Shift_JIS", u"text", 4));
                    utFree(enc_to_utf16("KOI8-R", "text", 4));
                }
            }).detach();
        }
        for (int i = 0; i < 100; ++i) utFree(utf16_to_enc("windows-1252", u"text", 4));
        std::exit(7);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
}

}  // namespace
