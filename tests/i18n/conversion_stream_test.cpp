#include <gtest/gtest.h>
#include <qxut/i18n/conversion_stream.hpp>

#include <string>

#include "support/failing_malloc.h"
#include "support/icu_reference.h"

namespace {

using namespace qxut_test;
using Stream = Quorvanix::I18N::ConversionStream;
using Policy = Stream::Policy;
using Status = Stream::Status;

struct Outcome {
    Status status;
    std::string written;
    Stream::Account account;
    Stream::Fault fault;
};

bool operator==(const Outcome& a, const Outcome& b) {
    // How much had been taken when a fault stopped the work depends on the pieces.
    const bool is_stopped = a.status == Status::stopped;
    return a.status == b.status && a.written == b.written &&
           (is_stopped || a.account.read == b.account.read) &&
           a.account.written == b.account.written &&
           a.account.substituted == b.account.substituted && a.fault.position == b.fault.position &&
           a.fault.length == b.fault.length && a.fault.character == b.fault.character;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << "status " << static_cast<int>(outcome.status) << " \"" << outcome.written
               << "\" read " << outcome.account.read << " substituted "
               << outcome.account.substituted << " fault at " << outcome.fault.position << " of "
               << outcome.fault.length << " character " << outcome.fault.character;
}

// Gives the source in pieces of these sizes, and room for so many bytes at a time.
Outcome convert(Stream& stream, std::string_view source, size_t first, size_t then, size_t room) {
    Outcome outcome{};
    size_t at = 0;
    size_t given = std::min(first, source.size());
    std::string target(room, '\0');
    for (;;) {
        const Stream::Step step = stream.convert(source.data() + at, given - at,
                                                 given == source.size(), target.data(), room);
        at += step.read;
        outcome.written.append(target, 0, step.written);
        outcome.status = step.status;
        if (step.status == Status::finished || step.status == Status::stopped) break;
        if (step.status == Status::more_source) given = std::min(given + then, source.size());
    }
    outcome.account = stream.account();
    outcome.fault = stream.fault();
    EXPECT_EQ(outcome.account.written, outcome.written.size());
    return outcome;
}

TEST(ConversionStream, PoliciesAndAccounts) {
    // NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order of reading
    const struct {
        const char* from;
        const char* to;
        Policy policy;
        std::string source;
        std::string written;
        uint64_t substituted;
        Status status;
        Stream::Fault fault;
    } kCases[] = {
        {"UTF-8",
         "windows-1252",
         Policy::substitute,
         "caf\xC3\xA9 \xE2\x82\xAC",
         "caf\xE9 \x80",
         0,
         Status::finished,
         {}},
        // A character without a counterpart; ill-formed bytes, counted once though U+FFFD has none.
        {"UTF-8",
         "ISO-8859-1",
         Policy::substitute,
         "a\xE2\x82\xAC"
         "b\xFF"
         "c",
         "a\x1A"
         "b\x1A"
         "c",
         2,
         Status::finished,
         {}},
        {"UTF-8",
         "UTF-8",
         Policy::substitute,
         "a\xE2\x82(\xC0",
         "a\xEF\xBF\xBD(\xEF\xBF\xBD",
         2,
         Status::finished,
         {}},
        {"UTF-8",
         "ISO-8859-1",
         Policy::escape,
         "\xE2\x82\xAC\xF0\x9F\x98\x80\xE2\x82!",
         "\\u20AC\\U0001F600\\xE2\\x82!",
         3,
         Status::finished,
         {}},
        {"UTF-8", "US-ASCII", Policy::escape, "a\xC2\xAD", "a\\u00AD", 1, Status::finished, {}},
        {"UTF-8",
         "ISO-8859-1",
         Policy::stop,
         "\xC3\xA9\xC3\xA9 \xE2\x82\xAC more",
         "\xE9\xE9 ",
         0,
         Status::stopped,
         {5, 0, 0x20AC}},
        {"UTF-8",
         "US-ASCII",
         Policy::stop,
         "ab\xF0\x9F\x98\x80",
         "ab",
         0,
         Status::stopped,
         {2, 0, 0x1F600}},
        {"UTF-8",
         "UTF-16BE",
         Policy::stop,
         "a\xE2\x82"
         "b",
         std::string("\0a", 2),
         0,
         Status::stopped,
         {1, 2, -1}},
        {"UTF-8", "UTF-8", Policy::stop, "ab\xF0\x9F", "ab", 0, Status::stopped, {2, 2, -1}},
        {"Shift_JIS",
         "UTF-8",
         Policy::substitute,
         "\x83\x65\x83\x58\x83\x67",
         "\xE3\x83\x86\xE3\x82\xB9\xE3\x83\x88",
         0,
         Status::finished,
         {}},
        {"UTF-8",
         "ISO-2022-JP",
         Policy::substitute,
         "\xE3\x83\x86",
         "\x1B$B%F\x1B(B",
         0,
         Status::finished,
         {}},
        // A stop leaves the target in its first state, too.
        {"UTF-8",
         "ISO-2022-JP",
         Policy::stop,
         "\xE3\x83\x86\xFF",
         "\x1B$B%F\x1B(B",
         0,
         Status::stopped,
         {3, 1, -1}},
        {"UTF-16LE",
         "UTF-8",
         Policy::stop,
         std::string("a\0\x3D\xD8", 4),
         "a",
         0,
         Status::stopped,
         {2, 2, -1}},
        {"HZ", "UTF-8", Policy::substitute, "a~{VP~}", "a\xE4\xB8\xAD", 0, Status::finished, {}},
        {"HZ", "ISO-8859-1", Policy::stop, "a~{VPND~}", "a", 0, Status::stopped, {3, 0, 0x4E2D}},
        // The unit behind a lone surrogate is looked at, and left; it may lie in two pieces.
        {"UTF-16BE",
         "UTF-8",
         Policy::stop,
         std::string("\0a\xD8\x3D\0bc", 7),
         "a",
         0,
         Status::stopped,
         {2, 2, -1}},
        {"UTF-8", "UTF-8", Policy::stop, "", "", 0, Status::finished, {}},
    };
    for (const auto& row : kCases) {
        SCOPED_TRACE(std::string(row.from) + " to " + row.to + ": " + row.source);
        Stream stream(row.from, row.to, row.policy);
        const Outcome whole = convert(stream, row.source, row.source.size(), 1, 1000);
        EXPECT_EQ(whole.status, row.status);
        EXPECT_EQ(whole.written, row.written);
        EXPECT_EQ(whole.account.substituted, row.substituted);
        EXPECT_EQ(whole.fault.position, row.fault.position);
        EXPECT_EQ(whole.fault.length, row.fault.length);
        EXPECT_EQ(whole.fault.character, row.fault.character);
        if (row.status == Status::finished) {
            EXPECT_EQ(whole.account.read, row.source.size());
        }
        // The end is the end until the stream is reset.
        char byte[1];
        const Stream::Step again = stream.convert("x", 1, true, byte, 1);
        EXPECT_EQ(again.status, row.status);
        EXPECT_EQ(again.read + again.written, 0u);
        for (size_t cut = 0; cut <= row.source.size(); ++cut) {
            for (const size_t room : {1u, 2u, 1000u}) {
                for (const size_t then : {1u, 1000u}) {
                    stream.reset();
                    EXPECT_EQ(convert(stream, row.source, cut, then, room), whole)
                        << "cut at " << cut << ", then " << then << ", room for " << room;
                }
            }
        }
    }
}

// Random texts, hostile ones too, cut at random: the same as in one piece. And in one piece the
// same as ICU's own conversion.
TEST(ConversionStream, AnyCutGivesTheSame) {
    HardTexts texts(7);
    static constexpr const char* kNames[] = {
        "UTF-8",     "UTF-16LE", "UTF-16",   "windows-1252", "GB18030",     "ISO-2022-JP",
        "Shift_JIS", "EUC-JP",   "UTF-32BE", "US-ASCII",     "windows-1258"};
    for (size_t round = 0; round < 250; ++round) {
        const char* const from = kNames[round % std::size(kNames)];
        const char* const to = kNames[texts.below(std::size(kNames))];
        std::string source;
        if (texts.below(3) == 0) {
            source = texts.bytes(100 + texts.below(300));
        } else {
            const bool is_long = texts.below(8) == 0;
            const std::u16string text = texts.utf16(is_long ? 6000 : 100, texts.below(2) == 0);
            Converted<char> narrow = IcuConverter(from).from_utf16(text, 60'000);
            source = narrow.buffer.substr(0, narrow.length);
        }
        const auto policy = static_cast<Policy>(texts.below(3));
        SCOPED_TRACE(std::string(from) + " to " + to + ", round " + std::to_string(round));
        Stream stream(from, to, policy);
        const Outcome whole = convert(stream, source, source.size(), 1, 100'000);
        for (int cuts = 0; cuts < 12; ++cuts) {
            stream.reset();
            const size_t first = texts.below(static_cast<uint32_t>(source.size() + 1));
            const size_t then = 1 + texts.below(cuts % 2 == 0 ? 3 : 100);
            const size_t room = 1 + texts.below(cuts % 3 == 0 ? 3 : 1000);
            const Outcome cut = convert(stream, source, first, then, room);
            ASSERT_EQ(cut, whole) << "first " << first << ", then " << then << ", room " << room;
        }
        if (std::string_view(from).starts_with("UTF") && policy == Policy::substitute) {
            const Converted<char16_t> wide = IcuConverter(from).to_utf16(source, 100'000);
            const Converted<char> narrow = IcuConverter(to).from_utf16(
                std::u16string_view(wide.buffer).substr(0, wide.length), 200'000);
            ASSERT_EQ(whole.written, narrow.buffer.substr(0, narrow.length));
        }
    }
}

TEST(ConversionStream, NamesMovesAndFailures) {
    Stream stream("latin1", nullptr);
    EXPECT_STREQ(stream.source_encoding(), "ISO-8859-1");
    EXPECT_STREQ(stream.target_encoding(), "UTF-8");
    Stream moved(std::move(stream));
    moved = Stream("UTF-8", Stream::kUtf16Units);
    EXPECT_EQ(convert(moved, "a\xC3\xA9", 3, 1, 10).written,
              std::string(reinterpret_cast<const char*>(u"a\u00E9"), 4));
    EXPECT_THROW(Stream("UTF-8", "nonsense"), Quorvanix::I18N::InvalidCharacterSetException);
    EXPECT_THROW(Stream("nonsense", "UTF-8"), Quorvanix::I18N::InvalidCharacterSetException);

    if (!kCanFailMalloc) return;
    // ICU keeps what it has loaded.
    const Stream loading("Shift_JIS", "GB18030");
    for (size_t request = 0;; ++request) {
        SCOPED_TRACE(request);
        {
            const FailingMalloc failing(request, true);
            try {
                Stream opened("Shift_JIS", "GB18030");
            } catch (const std::bad_alloc&) {
            }
        }
        EXPECT_LE(FailingMalloc::live_blocks(), 0);
        if (!FailingMalloc::has_failed()) break;
    }
}

}  // namespace
