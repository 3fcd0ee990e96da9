#include <qxut/util/c_string_output.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

// Writer calls and callbacks in their order; the writer answers with the number of calls.
using Calls = std::vector<std::string>;
int record(const char* text, void* calls) {
    auto& list = *static_cast<Calls*>(calls);
    list.emplace_back(text);
    return static_cast<int>(list.size());
}
void mark_before(void* calls) { static_cast<Calls*>(calls)->emplace_back("<"); }
void mark_after(void* calls) { static_cast<Calls*>(calls)->emplace_back(">"); }

std::string joined(const Calls& calls) {
    std::string text;
    for (const std::string& call : calls) text += call;
    return text;
}

std::string literal(const std::string& bytes) {
    Calls calls;
    ut_output_c_string_with_length(record, &calls, bytes.data(), bytes.size());
    return joined(calls);
}

TEST(CStringOutput, EscapesAsCReadsThem) {
    struct Row {
        std::string bytes;
        const char* literal;
    };
    const Row rows[] = {
        {"", R"("")"},
        {"A\t\x01\x7F\xE9", "\"A\\t\\001\x7F\\351\""},
        {"\n\"\\\r\t\a\b\f\v", R"("\n\"\\\r\t\a\b\f\v")"},
        {std::string("a\0b", 3), R"("a\0b")"},
        {" ~\x1F\x80\xFF", "\" ~\\037\\200\\377\""},
        {"%d%s", R"("%d%s")"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(literal(row.bytes), row.literal);
        Calls calls;
        ut_output_c_string(record, &calls, row.bytes.c_str());
        EXPECT_EQ(joined(calls), literal(row.bytes.c_str()));
    }
}

TEST(CStringOutput, EveryPieceIsACallOfItsOwn) {
    Calls calls;
    EXPECT_EQ(ut_output_c_string(record, &calls, "a\n\x01"), 9);
    EXPECT_EQ(calls, (Calls{"\"", "a", "\\", "n", "", "\\", "001", "", "\""}));
    calls.clear();
    ut_output_c_string_with_tse(record, &calls, "a\n", mark_before, mark_after, &calls);
    EXPECT_EQ(calls, (Calls{"\"", "a", "<", "\\", "n", "", ">", "\""}));
    calls.clear();
    ut_output_c_string_with_tse(record, &calls, "\n", nullptr, mark_after, &calls);
    EXPECT_EQ(calls, (Calls{"\"", "\\", "n", "", ">", "\""}));
}

TEST(CStringOutput, TargetsHaveTheirOwnEscapes) {
    Calls calls;
    EXPECT_EQ(ut_output_target_string(record, &calls, "a<\n&", "<&", "LAz", "&#", "x%02X", ";",
                                      mark_before, nullptr, &calls),
              15);
    EXPECT_EQ(calls, (Calls{"\"", "a", "<", "&#", "L", ";", "<", "&#", "x0A", ";", "<", "&#", "A",
                            ";", "\""}));
    calls.clear();
    ut_output_target_string_with_length(record, &calls, "\0\xFF", 2, "", "z", "^", "%0100o", "",
                                        nullptr, nullptr, nullptr);
    EXPECT_EQ(joined(calls), "\"^z^" + std::string(31, '0') + "\"");
}

TEST(CStringOutput, NamedEscapesAreCounted) {
    EXPECT_EQ(ut_count_c_escape_sequences(""), 0u);
    EXPECT_EQ(ut_count_c_escape_sequences("\t\x01"), 1u);
    EXPECT_EQ(ut_count_c_escape_sequences("\n\"\\\r\t\a\b\f\vabc\x7F\xFF"), 9u);
}

}  // namespace
