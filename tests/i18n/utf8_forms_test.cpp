#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "i18n/processor.h"
#include "i18n/utf8.h"
#include "support/icu_reference.h"

// The forms stay inside the library; this test brings its own copies of them. The plain forms are
// compared with ICU by conversion_test.

namespace {

using namespace qxut_test;

constexpr size_t kEnough = 1000;

template <typename Source, typename Target, typename Step>
struct Form {
    const char* name;
    Step (*convert)(const Source*, const Source*, Target*, Target*);
    // Of a well-formed text the form leaves fewer units than this, where there is room.
    size_t most_left;
};
using Decode = Form<unsigned char, char16_t, qxut::DecodeStep>;
using Encode = Form<char16_t, unsigned char, qxut::EncodeStep>;

// Those that this processor can run.
std::vector<Decode> decode_forms() {
    std::vector<Decode> forms;
#if defined(QXUT_I18N_VECTORS)
    if (qxut::has_vectors()) forms.push_back({"narrow", qxut::utf8_decode_vectors, 80 + 64});
    if (qxut::has_wide_vectors()) forms.push_back({"wide", qxut::utf8_decode_wide, 1});
#endif
    return forms;
}
std::vector<Encode> encode_forms() {
    std::vector<Encode> forms;
#if defined(QXUT_I18N_VECTORS)
    if (qxut::has_vectors()) forms.push_back({"narrow", qxut::utf8_encode_vectors, 32 + 16});
    if (qxut::has_wide_vectors()) forms.push_back({"wide", qxut::utf8_encode_wide, 1});
#endif
    return forms;
}

template <typename Source, typename Target>
struct Result {
    size_t taken;
    std::basic_string<Target> written;  // and the units behind
    bool operator==(const Result&) const = default;
};

// What `convert` makes of the text, in blocks of exactly these sizes, and the plain form of what
// that leaves.
template <typename Source, typename Target, typename Convert, typename Plain>
Result<Source, Target> finish(const Source* text, size_t size, size_t room, Convert convert,
                              Plain plain) {
    std::basic_string<Target> target(room, Target{'#'});
    const auto first = convert(text, text + size, target.data(), target.data() + room);
    const auto second = plain(first.source, text + size, first.target, target.data() + room);
    return {static_cast<size_t>(second.source - text), target};
}

template <typename Source, typename Target, typename Step>
void compare(const std::vector<Form<Source, Target, Step>>& forms, const Source* text, size_t size,
             size_t room, Step (*plain)(const Source*, const Source*, Target*, Target*)) {
    // So that a read past the end is found.
    const std::unique_ptr<Source[]> exact(new Source[size]);
    std::copy_n(text, size, exact.get());
    const auto expected = finish<Source, Target>(exact.get(), size, room, plain, plain);
    for (const auto& form : forms) {
        const auto found = finish<Source, Target>(exact.get(), size, room, form.convert, plain);
        ASSERT_EQ(found.taken, expected.taken) << form.name << ' ' << size << " into " << room;
        ASSERT_TRUE(found.written == expected.written)
            << form.name << ' ' << size << " into " << room;
    }
}

class Utf8Forms : public testing::Test {
  protected:
    const std::vector<Decode> decoders = decode_forms();
    const std::vector<Encode> encoders = encode_forms();

    void decode(std::string_view text, size_t room) {
        compare(decoders, reinterpret_cast<const unsigned char*>(text.data()), text.size(), room,
                qxut::utf8_decode_plain);
    }
    void encode(std::u16string_view text, size_t room) {
        compare(encoders, text.data(), text.size(), room, qxut::utf8_encode_plain);
    }
};

TEST_F(Utf8Forms, EqualThePlainOneAtEveryCutOfTheSource) {
    HardTexts texts(11);
    for (int round = 0; round < 40; ++round) {
        const std::string bytes = texts.utf8(330, round % 2 == 0);
        for (size_t from = 0; from < 64; ++from) {
            const std::string_view tail = std::string_view(bytes).substr(from);
            ASSERT_NO_FATAL_FAILURE(decode(tail, kEnough));
            ASSERT_NO_FATAL_FAILURE(decode(tail.substr(0, 200 + from), kEnough));
        }
        const std::u16string units = texts.utf16(230, round % 2 == 0);
        for (size_t from = 0; from < 64; ++from) {
            const std::u16string_view tail = std::u16string_view(units).substr(from);
            ASSERT_NO_FATAL_FAILURE(encode(tail, kEnough));
            ASSERT_NO_FATAL_FAILURE(encode(tail.substr(0, 100 + from), kEnough));
        }
        for (size_t size = 0; size < 200; ++size) {
            ASSERT_NO_FATAL_FAILURE(decode(std::string_view(bytes).substr(0, size), kEnough));
            ASSERT_NO_FATAL_FAILURE(encode(std::u16string_view(units).substr(0, size), kEnough));
        }
    }
}

TEST_F(Utf8Forms, EqualThePlainOneInEveryRoom) {
    HardTexts texts(12);
    for (int round = 0; round < 40; ++round) {
        const std::string bytes = texts.utf8(300, round % 2 == 0);
        const std::u16string units = texts.utf16(250, round % 2 == 0);
        for (size_t room = 0; room < 320; ++room) {
            ASSERT_NO_FATAL_FAILURE(decode(bytes, room));
            ASSERT_NO_FATAL_FAILURE(encode(units, room));
        }
    }
}

// One sequence of every kind, whole, cut and spoilt, at every place of a block among characters of
// every length.
TEST_F(Utf8Forms, EqualThePlainOneAroundEveryKindOfSequence) {
    static constexpr std::string_view kSequences[] = {"\x7F",
                                                      "\xC2\x80",
                                                      "\xDF\xBF",
                                                      "\xE0\xA0\x80",
                                                      "\xED\x9F\xBF",
                                                      "\xEE\x80\x80",
                                                      "\xEF\xBF\xBF",
                                                      "\xF0\x90\x80\x80",
                                                      "\xF4\x8F\xBF\xBF",
                                                      "\x80",
                                                      "\xBF\xBF\xBF\xBF",
                                                      "\xC0\x80",
                                                      "\xC1\xBF",
                                                      "\xC2",
                                                      "\xE0\x9F\xBF",
                                                      "\xED\xA0\x80",
                                                      "\xF0\x8F\xBF\xBF",
                                                      "\xF4\x90\x80\x80",
                                                      "\xF5\x80\x80\x80",
                                                      "\xF8\x88\x80\x80\x80",
                                                      "\xFF",
                                                      "\xE1\x80",
                                                      "\xF1\x80\x80",
                                                      "\xF1\x80",
                                                      "\xE1\x80\x80\x80",
                                                      "\xC2\x80\x80",
                                                      "\xF1\x80\x80\x80\x80"};
    static constexpr std::u16string_view kUnits[] = {u"\x7F",
                                                     u"\x80",
                                                     u"\x7FF",
                                                     u"\x800",
                                                     u"\xD7FF",
                                                     u"\xE000",
                                                     u"\xFFFF",
                                                     u"\xD800\xDC00",
                                                     u"\xDBFF\xDFFF",
                                                     u"\xD800",
                                                     u"\xDC00",
                                                     u"\xDC00\xD800",
                                                     u"\xD800\xD800\xDC00"};
    static constexpr std::string_view kFillers[] = {"a", "\xD0\xB6", "\xE4\xB8\xAD",
                                                    "\xF0\x9F\x98\x80"};
    static constexpr std::u16string_view kUnitFillers[] = {u"a", u"\u0436", u"\u4E2D",
                                                           u"\U0001F600"};
    for (size_t filler = 0; filler < std::size(kFillers); ++filler) {
        for (size_t at = 0; at < 70; ++at) {
            for (const std::string_view sequence : kSequences) {
                std::string text(at % 4, 'x');
                while (text.size() < at) text += kFillers[filler];
                text += sequence;
                ASSERT_NO_FATAL_FAILURE(decode(text, kEnough));
                while (text.size() < 300) text += kFillers[filler];
                ASSERT_NO_FATAL_FAILURE(decode(text, kEnough));
            }
            for (const std::u16string_view sequence : kUnits) {
                std::u16string text(at % 2, 'x');
                while (text.size() < at) text += kUnitFillers[filler];
                text += sequence;
                ASSERT_NO_FATAL_FAILURE(encode(text, kEnough));
                while (text.size() < 200) text += kUnitFillers[filler];
                ASSERT_NO_FATAL_FAILURE(encode(text, kEnough));
            }
        }
    }
}

// That they are forms at all: well-formed text is theirs.
TEST_F(Utf8Forms, TakeWellFormedTextWhole) {
    HardTexts texts(13);
    for (int round = 0; round < 50; ++round) {
        const std::string bytes = texts.utf8(2000, true);
        const auto* const from = reinterpret_cast<const unsigned char*>(bytes.data());
        std::u16string units(bytes.size() + 200, 0);
        for (const Decode& form : decoders) {
            const qxut::DecodeStep step =
                form.convert(from, from + bytes.size(), units.data(), units.data() + units.size());
            EXPECT_LT(static_cast<size_t>(from + bytes.size() - step.source), form.most_left)
                << form.name;
        }
        const std::u16string wide = texts.utf16(2000, true);
        std::basic_string<unsigned char> narrow(4 * wide.size(), 0);
        for (const Encode& form : encoders) {
            const qxut::EncodeStep step =
                form.convert(wide.data(), wide.data() + wide.size(), narrow.data(),
                             narrow.data() + narrow.size());
            EXPECT_LT(static_cast<size_t>(wide.data() + wide.size() - step.source), form.most_left)
                << form.name;
        }
    }
}

#if defined(QXUT_I18N_VECTORS)

// Whatever the processor has, the whole is the same.
TEST_F(Utf8Forms, TheProcessorDecidesTheForm) {
    HardTexts texts(14);
    const qxut::Vectors found = qxut::vectors();
    for (int round = 0; round < 20; ++round) {
        const std::string bytes = texts.utf8(3000, round % 2 == 0);
        const std::u16string units = texts.utf16(3000, round % 2 == 0);
        std::u16string wide;
        std::string narrow;
        for (const size_t capacity : {0u, 700u, 2048u, 20'000u}) {
            for (auto level = qxut::Vectors::none; level <= found;
                 level = static_cast<qxut::Vectors>(static_cast<int>(level) + 1)) {
                qxut::vectors_known.store(level);
                std::u16string wide_now(capacity, u'#');
                wide_now += static_cast<char16_t>(qxut::utf8_to_utf16_whole(
                    wide_now.data(), capacity, bytes.data(), bytes.size()));
                std::string narrow_now(capacity, '#');
                narrow_now += std::to_string(qxut::utf16_to_utf8_whole(narrow_now.data(), capacity,
                                                                       units.data(), units.size()));
                if (level != qxut::Vectors::none) {
                    EXPECT_TRUE(wide_now == wide) << capacity;
                    EXPECT_TRUE(narrow_now == narrow) << capacity;
                }
                wide = wide_now;
                narrow = narrow_now;
            }
        }
    }
    qxut::vectors_known.store(found);
}

#endif

}  // namespace
