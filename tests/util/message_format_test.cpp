// Formatting of messages. Texts are compared with what snprintf makes of the same conversions.
#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <qxut/util/message.h>

#include "support/countdown_heap.h"
#include "support/message_tables.h"

using qxut_test::CountdownHeap;
using qxut_test::Table;
using qxut_test::Translation;

namespace {

constexpr uint32_t kModule = 9;
constexpr ut_message_code entry(uint32_t number) { return kModule * 65536 + number; }

int append(void* text, const char* piece, int32_t length) {
    static_cast<std::string*>(text)->append(piece, static_cast<size_t>(length));
    return length;
}

// A context with one table and its translation.
struct Printer : private qxut_test::NotCopied {
    explicit Printer(std::vector<const char*> english, std::vector<const char*> translated = {})
        : table(kModule, std::move(english)), translation(kModule, std::move(translated)) {
        int32_t status = -1;
        ut_initialize_message_context(&status, &context, CountdownHeap::allocate,
                                      CountdownHeap::reallocate);
        EXPECT_EQ(status, 0);
        const ut_message_code at = ut_add_primary_message_table(&status, &context, &table.record,
                                                                CountdownHeap::reallocate);
        EXPECT_EQ(status, 0) << "entry " << at % 65536;
        ut_add_language(&status, &context, "xx", &translation.tables, CountdownHeap::reallocate);
        EXPECT_EQ(status, 0);
    }
    ~Printer() {
        ut_clear_message_context(&context, CountdownHeap::release);
        EXPECT_EQ(heap.live_blocks(), 0u);
    }

    void speak(const char* language) {
        int32_t status = -1;
        ut_change_language(&status, &context, language);
        EXPECT_EQ(status, 0);
    }
    template <class... Arguments>
    std::string print(ut_message_code code, Arguments... arguments) {
        std::string text;
        result = ut_printm(&context, append, &text, code, arguments...);
        return text;
    }

    CountdownHeap heap;
    Table table;
    Translation translation;
    ut_message_context context{};
    int result = 0;  // of the last print
};

TEST(MessageFormat, ArgumentsOfAnyTypeInAnyOrder) {
    Printer printer({"%s: %ld of %g, %c%% %hhu %Lg %p %zu", "%d%%%d", "%%", "", "%s"},
                    {"%4 %1 %8 %6 %% %2 %5 %7 %3", "%2 %% %1", "%%%%", nullptr, "[%1]"});
    const auto print_all = [&] {
        return printer.print(entry(1), "name", 5000000000L, 0.25, 'x', 0x1FF, 1.5L,
                             reinterpret_cast<void*>(0x10), size_t{7});
    };
    EXPECT_EQ(print_all(), "name: 5000000000 of 0.25, x% 255 1.5 0x10 7");
    EXPECT_EQ(printer.result, 43);
    EXPECT_EQ(printer.print(entry(2), 3, 4), "3%4");
    EXPECT_EQ(printer.print(entry(3)), "%");
    EXPECT_EQ(printer.print(entry(4)), "");
    EXPECT_EQ(printer.result, 0);
    EXPECT_EQ(printer.print(entry(5), static_cast<const char*>(nullptr)), "(null)");

    printer.speak("xx");
    EXPECT_EQ(print_all(), "x name 7 1.5 % 5000000000 255 0x10 0.25");
    EXPECT_EQ(printer.print(entry(2), 3, 4), "4 % 3");
    EXPECT_EQ(printer.print(entry(3)), "%%");
    EXPECT_EQ(printer.print(entry(4)), "");
    EXPECT_EQ(printer.print(entry(5), ""), "[]");
}

// --- against snprintf ----------------------------------------------------------------------

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    size_t below(size_t limit) { return random_() % limit; }
    std::string specification(char letter, const std::vector<const char*>& lengths) {
        std::string text = "%";
        while (below(3) == 0) text += "-+ #0"[below(5)];
        if (below(2) == 0) text += std::to_string(1 + below(70));
        if (below(2) == 0) text += "." + (below(4) == 0 ? "" : std::to_string(below(60)));
        if (below(3) == 0) text = "%";  // the short ways
        return text + lengths[below(lengths.size())] + letter;
    }
    uint64_t bits() {
        constexpr uint64_t kEdges[] = {0,          1,          9,          10,   0x7F,
                                       0xFF,       0x7FFF,     0xFFFF,     99,   0x7FFFFFFF,
                                       0x80000000, 0xFFFFFFFF, 1ull << 63, ~0ull};
        return below(2) == 0 ? kEdges[below(std::size(kEdges))] : random_() >> below(64);
    }
    double number() {
        constexpr double kEdges[] = {
            0.0,  -0.0,   1.0,    0.5,      1e23,      9.9999995,
            1e-5, 100000, 1e6,    123456.5, 0.1,       DBL_MAX,
            2.5,  0.125,  5e-324, HUGE_VAL, -HUGE_VAL, std::numeric_limits<double>::quiet_NaN()};
        switch (below(3)) {
            case 0:
                return kEdges[below(std::size(kEdges))];
            case 1:
                return static_cast<double>(static_cast<int64_t>(bits())) / 1024;
            default:
                return std::bit_cast<double>(random_());
        }
    }

  private:
    std::mt19937_64 random_;
};

class Differential {
  public:
    explicit Differential(unsigned seed) : generator_(seed) {}

    void run(size_t count) {
        // One table holds every specification, as each must pass registration.
        for (size_t i = 0; i < count; ++i) specifications_.push_back(next());
        std::vector<const char*> texts;
        for (const std::string& specification : specifications_)
            texts.push_back(specification.c_str());
        Printer printer(texts);
        for (size_t i = 0; i < count; ++i) compare(printer, static_cast<uint32_t>(i));
    }

  private:
    std::string next() {
        const std::vector<const char*> integers = {"", "", "h", "hh", "l", "ll", "z", "j", "t"};
        const std::vector<const char*> floating = {"", "l", "L"};
        const char letter = "diuoxXfeEgGcp"[generator_.below(13)];
        if (letter == 'c') return generator_.specification(letter, {"", "l"});
        if (letter == 'p') return generator_.specification(letter, {""});
        const bool is_integer = std::string("diuoxX").find(letter) != std::string::npos;
        return generator_.specification(letter, is_integer ? integers : floating);
    }
    void compare(Printer& printer, uint32_t index) {
        const std::string& specification = specifications_[index];
        const auto check = [&](auto value) {
            char expected[8192];
            const int length =
                std::snprintf(expected, sizeof expected, specification.c_str(), value);
            ASSERT_GE(length, 0) << specification;
            EXPECT_EQ(printer.print(entry(index + 1), value),
                      std::string(expected, static_cast<size_t>(length)))
                << specification << " of " << value;
            EXPECT_EQ(printer.result, length);
        };
        const char letter = specification.back();
        const bool is_wide = specification.find('l') != std::string::npos;
        if (letter == 'c')
            return is_wide ? check(wint_t{'w'}) : check(static_cast<int>(generator_.bits()));
        if (letter == 'p') return check(reinterpret_cast<void*>(generator_.bits()));
        if (std::string("feEgG").find(letter) != std::string::npos) {
            const double value = generator_.number();
            if (specification.find('L') == std::string::npos) return check(value);
            return check(static_cast<long double>(value) / 3);
        }
        const uint64_t value = generator_.bits();
        // All types with one of these letters pass in 64 bits here.
        if (specification.find_first_of("lzjt") != std::string::npos) return check(value);
        check(static_cast<unsigned>(value));
    }

    Generator generator_;
    std::vector<std::string> specifications_;
};

TEST(MessageFormat, ConversionsAreThoseOfTheCLibrary) { Differential(1).run(20000); }

TEST(MessageFormat, RoundingFollowsTheProcess) {
    for (const int direction : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(direction);
        Differential(2).run(2000);
        std::fesetround(FE_TONEAREST);
    }
}

TEST(MessageFormat, CountsAreZero) {
    Printer printer({"ab%nc%hhn%hn%ln%lln%zn%jn%tnd%s"}, {"%8%1%2%3%4%5%6%7%9"});
    for (const char* language : {"English", "xx"}) {
        printer.speak(language);
        int i = -1;
        // One byte between neighbours must survive.
        signed char c[2] = {-1, -1};
        short s[2] = {-1, -1};
        long l = -1;
        long long ll = -1;
        size_t z = 1;
        intmax_t j = -1;
        ptrdiff_t t = -1;
        const std::string text = printer.print(entry(1), &i, c, s, &l, &ll, &z, &j, &t, "end");
        EXPECT_EQ(text, printer.context.current_language == 0 ? "abcdend" : "end");
        EXPECT_EQ(std::vector<long long>({i, c[0], s[0], l, ll, static_cast<long long>(z), j, t}),
                  std::vector<long long>(8, 0));
        EXPECT_EQ(c[1], -1);
        EXPECT_EQ(s[1], -1);
    }
}

TEST(MessageFormat, BuffersAreCutAndTerminated) {
    Printer printer({"abc%sghi"});
    for (size_t size = 1; size < 12; ++size) {
        SCOPED_TRACE(size);
        char buffer[12];
        std::memset(buffer, '#', sizeof buffer);
        const std::string expected = std::string("abcdefghi").substr(0, size - 1);
        EXPECT_EQ(ut_sprintm(&printer.context, buffer, size, entry(1), "def"),
                  static_cast<int>(expected.size()));
        EXPECT_EQ(buffer, expected);
        EXPECT_EQ(buffer[size], '#');
    }
    char untouched = '#';
    EXPECT_EQ(ut_sprintm(&printer.context, &untouched, 0, entry(1), "def"), 0);
    EXPECT_EQ(untouched, '#');
}

TEST(MessageFormat, FilesTakeMessages) {
    Printer printer({"%d%% of %s\n"});
    FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(ut_fprintm(&printer.context, file, entry(1), 5, "all"), 10);
    EXPECT_EQ(ut_fputsn(file, "tail", 2), 2);
    EXPECT_EQ(ut_fputsn(file, "tail", 0), 0);
    EXPECT_EQ(ut_fputsn(file, nullptr, -1), 0);
    std::rewind(file);
    char text[32] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, file), 12u);
    EXPECT_STREQ(text, "5% of all\nta");
    std::fclose(file);
}

TEST(MessageFormat, UnknownCodesSaySo) {
    Printer printer({nullptr, "known"}, {"translated, but English is missing", nullptr});
    const auto complaint = [](uint32_t module, uint32_t number) {
        return "Internal Error: Attempt to format a message for an unregistered module " +
               std::to_string(module) + " entry " + std::to_string(number) + ".\n";
    };
    for (const char* language : {"English", "xx"}) {
        printer.speak(language);
        EXPECT_EQ(printer.print(5 * 65536 + 2), complaint(5, 2));
        EXPECT_EQ(printer.result, 0);
        EXPECT_EQ(printer.print(entry(1)), complaint(kModule, 1));
        EXPECT_EQ(printer.print(entry(0)), complaint(kModule, 0));
        EXPECT_EQ(printer.print(0xFFFF0001), complaint(0xFFFF, 1));
    }
    char buffer[32];
    EXPECT_EQ(ut_sprintm(&printer.context, buffer, sizeof buffer, entry(1)), 31);
    EXPECT_STREQ(buffer, "Internal Error: Attempt to form");
}

TEST(MessageFormat, EmptyContextKnowsItsOwnMessages) {
    CountdownHeap heap(0, CountdownHeap::Failure::from_then_on);
    ut_message_context context{};
    const auto print = [&](ut_message_code code, int module, int number) {
        std::string text;
        ut_printm(&context, append, &text, code, module, number);
        return text;
    };
    EXPECT_EQ(print(UT_NO_MEMORY_FOR_MESSAGE_CONTEXT, 0, 0),
              "Error: Out of memory while growing the message context.");
    EXPECT_EQ(print(UT_WRONG_CODE, 5, 3), "Internal Error: Module 5 has a wrong code at entry 3.");
    EXPECT_EQ(print(5 * 65536 + 3, 0, 0),
              "Internal Error: Attempt to format a message for an unregistered module 5 entry "
              "3.\n");
    EXPECT_EQ(print(UT_BAD_MSG_CODE, 5, 3), "");
    std::string text;
    ut_print_message_context_error(&context, append, &text, UT_BAD_MSG_CODE, 5 * 65536 + 3);
    EXPECT_NE(text, "");
    EXPECT_STREQ(ut_get_message_mnemonic(&context, 1), "NO_MEMORY_FOR_MESSAGE_CONTEXT");
    EXPECT_STREQ(ut_get_language(&context), "English");
    int32_t status = -1;
    ut_change_language(&status, &context, "English");
    EXPECT_EQ(status, 0);
    ut_change_language(&status, &context, "ja");
    EXPECT_EQ(status, UT_BAD_MSG_CODE);
    EXPECT_EQ(heap.requests(), 0u);
}

TEST(MessageFormat, RegistrationStatusesArePrinted) {
    Printer printer({"x"});
    // One for each way of arguments; the texts themselves are the builtin table's.
    const std::pair<int32_t, const char*> kRows[] = {
        {0, ""},
        {UT_NO_MEMORY_FOR_MESSAGE_CONTEXT,
         "Error: Out of memory while growing the message context."},
        {UT_TOO_MANY_STRINGS,
         "Internal Error: Module 7 has only 2 codes, but the table has more strings than this."},
        {UT_STRANDED_PER_CENT,
         "Internal Error: The string for module 7, entry 3, has a % that is not in a valid "
         "specification."},
    };
    for (const auto& [status, expected] : kRows) {
        std::string text;
        const int result =
            ut_print_message_context_error(&printer.context, append, &text, status, 7 * 65536 + 3);
        EXPECT_EQ(text, expected);
        EXPECT_EQ(result, static_cast<int>(text.size()));
    }
}

// --- writers and callbacks -------------------------------------------------------------------

// Takes `accepted` calls, then answers -7.
struct Reluctant {
    int accepted;
    int calls = 0;
    std::string text;
};
int write_reluctantly(void* stream, const char* text, int32_t length) {
    auto& writer = *static_cast<Reluctant*>(stream);
    if (++writer.calls > writer.accepted) return -7;
    return append(&writer.text, text, length);
}

// Prints "file:line" from a string and an int.
int format_place(ut_writer writer, void* stream, ut_arguments* arguments) {
    const char* file = va_arg(arguments->list, const char*);
    const int line = va_arg(arguments->list, int);
    const std::string text = std::string(file) + ":" + std::to_string(line);
    return writer(stream, text.data(), static_cast<int32_t>(text.size()));
}
constexpr ut_message_formatter kPlace = format_place;

TEST(MessageFormat, FirstFailureOfTheWriterEndsTheRun) {
    Printer printer({"a%db%Uc%s%%d"}, {"%3%2%1 %%"});
    for (const char* language : {"English", "xx"}) {
        printer.speak(language);
        const std::string whole = printer.print(entry(1), 5, kPlace, "f", 3, "s");
        EXPECT_EQ(whole, language[0] == 'E' ? "a5bf:3cs%d" : "sf:35 %");
        for (int accepted = 0;; ++accepted) {
            Reluctant writer{accepted, 0, {}};
            const int result = ut_printm(&printer.context, write_reluctantly, &writer, entry(1), 5,
                                         kPlace, "f", 3, "s");
            EXPECT_EQ(writer.text, whole.substr(0, writer.text.size()));
            if (result >= 0) {
                EXPECT_EQ(writer.text, whole);
                EXPECT_EQ(result, static_cast<int>(whole.size()));
                break;
            }
            EXPECT_EQ(result, -7);
            EXPECT_EQ(writer.calls, accepted + 1);
        }
    }
}

// A callback that prints another message on the same context, with text that needs scratch memory
// of its own: takes the context and a number.
int format_nested(ut_writer writer, void* stream, ut_arguments* arguments) {
    auto* context = va_arg(arguments->list, ut_message_context*);
    const int number = va_arg(arguments->list, int);
    return ut_printm(context, writer, stream, entry(1), number, 0.5);
}
constexpr ut_message_formatter kNested = format_nested;

TEST(MessageFormat, RunsNest) {
    Printer printer({"%3000d|%100g", "%700d %U %600d"});
    const std::string inner = printer.print(entry(1), 8, 0.5);
    EXPECT_EQ(inner, std::string(2999, ' ') + "8|" + std::string(97, ' ') + "0.5");
    // The blocks that were needed once are enough for ever.
    size_t requests = 0;
    for (int round = 0; round < 3; ++round) {
        const std::string text = printer.print(entry(2), 7, kNested, &printer.context, 8, 9);
        EXPECT_EQ(text, std::string(699, ' ') + "7 " + inner + " " + std::string(599, ' ') + "9");
        if (round == 0) requests = printer.heap.requests();
    }
    EXPECT_EQ(printer.heap.requests(), requests);
}

TEST(MessageFormat, RaisingWriterOrCallbackLeavesNothingBehind) {
    Printer printer({"%3000d %U %3000d"});
    const ut_message_formatter throwing = [](ut_writer writer, void* stream,
                                             ut_arguments* arguments) {
        auto& calls = *va_arg(arguments->list, int*);
        if (--calls < 0) throw std::runtime_error("callback");
        return writer(stream, "x", 1);
    };
    size_t requests = 0;
    for (int round = 0; round < 5; ++round) {
        for (const int allowed : {0, 1}) {
            int calls = allowed;
            std::string text;
            EXPECT_THROW(
                ut_printm(&printer.context, append, &text, entry(1), 1, throwing, &calls, 2),
                std::runtime_error);
        }
        if (round == 0)
            requests = printer.heap.requests();
        else
            EXPECT_EQ(printer.heap.requests(), requests);
    }
}

TEST(MessageFormat, ManyHoles) {
    std::string english;
    std::string reversed;
    for (int i = 1; i <= 20; ++i) {
        english += "%d ";
        reversed += "%" + std::to_string(21 - i) + " ";
    }
    Printer printer({english.c_str()}, {reversed.c_str()});
    const size_t requests = printer.heap.requests();
    const auto print = [&] {
        return printer.print(entry(1), 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17,
                             18, 19, 20);
    };
    EXPECT_EQ(print(), "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 ");
    printer.speak("xx");
    EXPECT_EQ(print(), "20 19 18 17 16 15 14 13 12 11 10 9 8 7 6 5 4 3 2 1 ");
    EXPECT_EQ(printer.heap.requests(), requests) << "room is made at registration";
}

// Every request of a run that nests, failing in turn: a negative result before anything of the
// run that failed is printed, and the next run goes well.
TEST(MessageFormat, RunningOutOfMemoryIsANegativeResult) {
    for (const auto failure :
         {CountdownHeap::Failure::once, CountdownHeap::Failure::from_then_on}) {
        for (size_t k = 0;; ++k) {
            SCOPED_TRACE("request " + std::to_string(k) + " fails");
            Printer printer({"%3000d|%100g", "%5000d %d %d %d %d %d %d %d %U %600d"});
            printer.heap.fail_at(k, failure);
            const auto print = [&] {
                return printer.print(entry(2), 7, 1, 2, 3, 4, 5, 6, 7, kNested, &printer.context, 8,
                                     9);
            };
            const std::string first = print();
            const bool failed = printer.heap.has_failed();
            if (failed) {
                EXPECT_LT(printer.result, 0);
                EXPECT_EQ(first, "");
            }
            printer.heap.fail_at(CountdownHeap::kNever);
            const std::string second = print();
            EXPECT_GT(printer.result, 0);
            EXPECT_EQ(second.size(), 5000u + 1 + 7 * 2 + 3101 + 1 + 600);
            if (!failed) {
                EXPECT_EQ(first, second);
                break;
            }
        }
    }
}

TEST(MessageFormat, BufferIsTerminatedWhenMemoryRunsOut) {
    Printer printer({"%3000d"});
    printer.heap.fail_at(0);
    char buffer[16] = "before";
    EXPECT_LT(ut_sprintm(&printer.context, buffer, sizeof buffer, entry(1), 7), 0);
    EXPECT_STREQ(buffer, "");
}

TEST(MessageFormat, OrdinaryRunsAllocateNothing) {
    Printer printer({"%s %d %f %p %20x %5.2Lf %c%%"}, {"%7 %6 %5 %4 %3 %2 %1"});
    const size_t requests = printer.heap.requests();
    for (const char* language : {"English", "xx"}) {
        printer.speak(language);
        const std::string name(100000, 'n');
        printer.print(entry(1), name.c_str(), INT_MIN, -1.0e30, nullptr, 0xFFFFFFFFu, 1.0e20L, 'c');
        EXPECT_GT(printer.result, 100000);
    }
    EXPECT_EQ(printer.heap.requests(), requests);
}

}  // namespace
