// What the analysis finds out about patterns, as its text tells it.
#include "regexp/analysis.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

namespace qxut::regexp {
namespace {

std::string analysis_of(std::u16string_view pattern, RE_Flags flags = RE_NO_FLAGS) {
    ParseOptions options;
    options.flags = flags;
    Pattern parsed;
    parse(pattern.data(), pattern.size(), options, parsed);
    const std::unique_ptr<StartSearch> starts(analyze(lower(parsed)));
    return describe(*starts);
}

// The lines that follow the given words.
std::string line_of(const std::string& text, const std::string& words) {
    const size_t at = text.find(words + ": ");
    if (at == std::string::npos) return "";
    const size_t begin = at + words.size() + 2;
    return text.substr(begin, text.find('\n', begin) - begin);
}

TEST(Analysis, ChoosesWhereStartsAreSearched) {
    const struct {
        const char16_t* pattern;
        RE_Flags flags;
        const char* starts;
    } kCases[] = {
        {u"", RE_NO_FLAGS, "every position"},
        {u"a*", RE_NO_FLAGS, "every position"},
        {u"[]", RE_NO_FLAGS, "none, nothing matches"},
        {u"^a", RE_NO_FLAGS, "the start of the text"},
        {u"^", RE_MULTI_LINE, "starts of lines"},
        {u"literal", RE_NO_FLAGS, "at the landmark \"literal\""},
        {u"(li)(?:ter)al", RE_NO_FLAGS, "at the landmark \"literal\""},
        {u"xyk", RE_IGNORE_CASE, "at the landmark \"[xX][yY][k\u212AK]\""},
        {u"a|b|c", RE_NO_FLAGS, "at a character that a match begins with"},
        {u"abc|xyz", RE_NO_FLAGS, "at one of \"abc\" \"xyz\""},
        {u"(?:abc|xyz)+", RE_NO_FLAGS, "at one of \"abc\" \"xyz\""},
        {u"[a-z]+ing", RE_NO_FLAGS,
         "at the landmark \"ing\", 1 or more characters from the start, back over [a-z]"},
        {u"[0-9][0-9]-", RE_NO_FLAGS,
         "at the landmark \"-\", 2 characters from the start, back over [0-9]"},
        {u"^.*ERROR", RE_MULTI_LINE | RE_DOT_ALL, "starts of lines"},
        {u"(?<=Mr\\. )[A-Z]", RE_NO_FLAGS, "at the landmark \"Mr. \" in front of character 0"},
        {u"[a-z]+(?=@)", RE_NO_FLAGS,
         "at the landmark \"@\", 1 or more characters from the start, back over [a-z]"},
        // What may be missing is no landmark.
        {u"[a-z]+(?:@)?", RE_NO_FLAGS, "at a character that a match begins with"},
        {u"[a-z]+(?:@|[a-z])", RE_NO_FLAGS, "at a character that a match begins with"},
        {u"[a-z]+(?!@)", RE_NO_FLAGS, "at a character that a match begins with"},
        {u"(a)?(?(1)@|[a-z])", RE_NO_FLAGS, "at a character that a match begins with"},
    };
    for (const auto& c : kCases) {
        const std::string text = analysis_of(c.pattern, c.flags);
        EXPECT_EQ(line_of(text, "starts searched").substr(0, std::string_view(c.starts).size()),
                  c.starts)
            << text;
    }
}

TEST(Analysis, TellsLengthsAnchorsAndWhatIsRequired) {
    EXPECT_EQ(line_of(analysis_of(u"a{3}(?:bc|d)e*"), "shortest match"), "4 characters");
    EXPECT_EQ(line_of(analysis_of(u"(?:a{2000}){2000}"), "shortest match"), "4000000 characters");
    EXPECT_EQ(line_of(analysis_of(u"\\x{1F600}"), "shortest match"), "1 character");
    EXPECT_EQ(line_of(analysis_of(u"(^a)", RE_MULTI_LINE), "anchor"), "start of a line");
    EXPECT_EQ(line_of(analysis_of(u"^a|b"), "anchor"), "");
    EXPECT_EQ(line_of(analysis_of(u"a?[b-d]"), "begins with"), "[a-d]");
    EXPECT_EQ(line_of(analysis_of(u"[ab]+.*@#"), "required"),
              "\"@#\", 1 or more characters from the start");
}

}  // namespace
}  // namespace qxut::regexp
