// agreement_test.cpp - the engine against the reference matcher, against itself without its fast
// paths, and against ICU's engine, over patterns and texts at random.
//
// QXUT_REGEXP_ROUNDS sets the number of patterns, QXUT_REGEXP_SEED the first seed. A difference is
// reported with the smallest pattern and text that show it.
#include <gtest/gtest.h>
#include <unicode/uregex.h>

#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <sstream>

#include <qxut/system/throwable.hpp>

#include "regexp/engine.h"
#include "regexp/random_pattern.h"
#include "regexp/reference_matcher.h"
#include "regexp/tree_parts.h"

namespace qxut_test {
namespace {

size_t from_environment(const char* name, size_t otherwise) {
    const char* const value = std::getenv(name);
    return value != nullptr ? std::strtoull(value, nullptr, 10) : otherwise;
}

// In the writing of the table of matches.
std::string visible(std::u16string_view text) {
    std::ostringstream out;
    for (const char16_t unit : text) {
        if (unit >= 0x21 && unit < 0x7F) {
            out << static_cast<char>(unit);
        } else {
            out << "«" << std::hex << std::uppercase << static_cast<unsigned>(unit) << "»";
        }
    }
    return out.str();
}

std::string visible(RE_Flags flags) {
    std::string letters;
    for (size_t i = 0; i < 5; ++i) {
        if ((unsigned(flags) >> i & 1U) != 0) letters += "ismxe"[i];
    }
    return letters;
}

constexpr char kLimit[] = "limit";

struct Case {
    std::u16string pattern;
    RE_Flags flags = RE_NO_FLAGS;
    std::u16string text;
};

// What differs, or nothing. Empty too when one side gave up.
using Comparison = std::function<std::string(const Case&)>;

// Drops units from pattern and text as long as there is a difference.
Case smallest(Case found, const Comparison& compare) {
    for (bool is_smaller = true; is_smaller;) {
        is_smaller = false;
        for (std::u16string Case::*part : {&Case::text, &Case::pattern}) {
            for (size_t count : {8, 4, 2, 1}) {
                for (size_t i = 0; i + count <= (found.*part).size();) {
                    Case tried = found;
                    (tried.*part).erase(i, count);
                    if (compare(tried).empty()) {
                        ++i;
                    } else {
                        found = tried;
                        is_smaller = true;
                    }
                }
            }
        }
    }
    return found;
}

void report(const Case& found, const Comparison& compare) {
    const Case small = smallest(found, compare);
    ADD_FAILURE() << visible(small.pattern) << " ¦ " << visible(small.flags) << " ¦ "
                  << visible(small.text) << "\n"
                  << compare(small);
}

// A search that runs into a limit, which a back-reference may do, has no answer to compare.
std::string answer_of(const std::function<std::string()>& search) {
    try {
        return search();
    } catch (const Quorvanix::System::UserException&) {
        return kLimit;
    }
}

bool is_unit_inside_pair(const std::u16string& text, size_t i) {
    return i > 0 && i < text.size() && (text[i] & 0xFC00) == 0xDC00 &&
           (text[i - 1] & 0xFC00) == 0xD800;
}

std::string joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) text += part;
    return text;
}

// The forms of a search: all have to say the same.
std::string compare_forms(const RE_Tree& tree, const Case& tried,
                          const std::vector<Extents>& matches) {
    const ExactText text(tried.text);
    const std::string expected = to_text(matches);
    for (const unsigned form : {qxut::regexp::kPlainSearch, qxut::regexp::kRecordingSearch}) {
        RE_Search_Info info;
        info.flags = form;
        const std::string found =
            answer_of([&] { return to_text(engine_matches(tree, text, 0, &info)); });
        // Without records a search may take too long.
        if (found == expected || (found == kLimit && form == qxut::regexp::kPlainSearch)) continue;
        const char* const other =
            form == qxut::regexp::kPlainSearch ? "without fast paths " : "that records at once ";
        return joined({"a search ", expected, "\none ", other, found});
    }
    RE_Seek_Table table;
    for (int round = 0; round < 2; ++round) {
        const std::string sought = to_text(engine_matches(tree, text, 0, nullptr, &table));
        if (sought != expected)
            return joined({"without a table ", expected, "\nwith one ", sought});
    }
    for (size_t start = 0; start <= tried.text.size(); ++start) {
        if (is_unit_inside_pair(tried.text, start)) continue;
        const auto first = engine_matches(tree, text, start, nullptr, &table, 1);
        RE_Search_Info info;
        info.length = text.size();
        size_t position = start;
        const bool is_found = tree.match_bool(text.data(), &position, &info);
        if (is_found != !first.empty() ||
            (is_found && (position != first[0][0] || info.end != first[0][1]))) {
            return "from " + std::to_string(start) + " match says " + to_text(first) +
                   "\nmatch_bool " + (is_found ? std::to_string(position) : "none");
        }
    }
    return {};
}

std::string compare_with_reference(const Case& tried) {
    const RE_Tree tree(tried.pattern.data(), tried.pattern.size(), tried.flags, nullptr);
    const ExactText text(tried.text);
    ReferenceSearch search;
    search.text = text;
    std::vector<Extents> expected;
    if (reference_matches(tree.parts().pattern, search, expected) == ReferenceAnswer::gave_up) {
        return {};
    }
    std::vector<Extents> found;
    const std::string answer = answer_of([&] {
        found = engine_matches(tree, text);
        return to_text(found);
    });
    // A search without back-references is done in time that grows with the text.
    if (answer == kLimit && tree.parts().pattern.has_back_references) return {};
    if (answer != to_text(expected)) return "engine " + answer + "\nreference " + to_text(expected);
    std::string difference = compare_forms(tree, tried, found);
    if (!difference.empty()) return difference;
    for (size_t start = 1; start <= tried.text.size(); ++start) {
        if (is_unit_inside_pair(tried.text, start)) continue;
        search.start = start;
        Extents extents;
        const ReferenceAnswer result = reference_match(tree.parts().pattern, search, extents);
        if (result == ReferenceAnswer::gave_up) continue;
        if (result == ReferenceAnswer::match) expected.assign(1, extents);
        if (result == ReferenceAnswer::no_match) expected.clear();
        found = engine_matches(tree, text, start, nullptr, nullptr, 1);
        if (found != expected) {
            return "from " + std::to_string(start) + " engine " + to_text(found) + "\nreference " +
                   to_text(expected);
        }
    }
    return {};
}

// Small parts of a pattern become counters when the threshold is low.
class InlineThreshold {
  public:
    explicit InlineThreshold(size_t value) { RE_Tree::inlineThreshold = value; }
    ~InlineThreshold() { RE_Tree::inlineThreshold = usual_; }
    InlineThreshold(const InlineThreshold&) = delete;
    InlineThreshold& operator=(const InlineThreshold&) = delete;

  private:
    size_t usual_ = RE_Tree::inlineThreshold;
};

constexpr int kTextsEach = 8;

void compare_many(size_t rounds, uint64_t seed, const Comparison& compare) {
    for (size_t round = 0; round < rounds; ++round) {
        RandomPatterns random(seed + round);
        const RandomPatterns::Pattern pattern = random.pattern();
        for (int i = 0; i < kTextsEach; ++i) {
            const Case tried{pattern.ours, pattern.flags, random.text(i < 6 ? 9 : 25)};
            if (!compare(tried).empty()) {
                SCOPED_TRACE("seed " + std::to_string(seed + round));
                report(tried, compare);
                break;
            }
        }
        if (::testing::Test::HasFailure() && from_environment("QXUT_REGEXP_KEEP_ON", 0) == 0) break;
    }
}

TEST(Engine, AgreesWithTheReference) {
    compare_many(from_environment("QXUT_REGEXP_ROUNDS", 3000),
                 from_environment("QXUT_REGEXP_SEED", 1), compare_with_reference);
}

TEST(Engine, AgreesWithTheReferenceWithCountersForCopies) {
    const InlineThreshold none(1);
    compare_many(from_environment("QXUT_REGEXP_ROUNDS", 3000),
                 from_environment("QXUT_REGEXP_SEED", 1) + 1'000'000, compare_with_reference);
}

// ICU's answer to a pattern of the shared subset: the first match from the start of the text.
class IcuPattern {
  public:
    IcuPattern(const std::u16string& pattern, RE_Flags flags) {
        uint32_t icu_flags = UREGEX_UNIX_LINES;
        if ((flags & RE_IGNORE_CASE) != 0) icu_flags |= UREGEX_CASE_INSENSITIVE;
        if ((flags & RE_DOT_ALL) != 0) icu_flags |= UREGEX_DOTALL;
        regex_ = uregex_open(pattern.data(), static_cast<int32_t>(pattern.size()), icu_flags,
                             nullptr, &error_);
    }
    ~IcuPattern() { uregex_close(regex_); }
    IcuPattern(const IcuPattern&) = delete;
    IcuPattern& operator=(const IcuPattern&) = delete;

    bool is_good() const { return U_SUCCESS(error_); }
    std::vector<Extents> first_match(const ExactText& text) {
        uregex_setText(regex_, text.data(), static_cast<int32_t>(text.size()), &error_);
        std::vector<Extents> matches;
        if (!uregex_find(regex_, 0, &error_) || U_FAILURE(error_)) return matches;
        Extents extents;
        for (int32_t group = 0; group <= uregex_groupCount(regex_, &error_); ++group) {
            const int32_t start = uregex_start(regex_, group, &error_);
            const int32_t end = uregex_end(regex_, group, &error_);
            extents.push_back(start < 0 ? SIZE_MAX : static_cast<size_t>(start));
            extents.push_back(end < 0 ? SIZE_MAX : static_cast<size_t>(end));
        }
        matches.push_back(extents);
        return matches;
    }

  private:
    URegularExpression* regex_ = nullptr;
    UErrorCode error_ = U_ZERO_ERROR;
};

TEST(Engine, AgreesWithIcuOnTheSharedSubset) {
    const size_t rounds = from_environment("QXUT_REGEXP_ROUNDS", 3000);
    const uint64_t seed = from_environment("QXUT_REGEXP_SEED", 1) + 2'000'000;
    size_t compared = 0;
    for (size_t round = 0; round < rounds; ++round) {
        RandomPatterns random(seed + round);
        const RandomPatterns::Pattern pattern = random.shared_pattern();
        IcuPattern icu(pattern.icus, pattern.flags);
        if (!icu.is_good()) continue;
        const RE_Tree tree(pattern.ours.data(), pattern.ours.size(), pattern.flags, nullptr);
        for (int i = 0; i < kTextsEach; ++i) {
            const std::u16string written = random.text(i < 6 ? 9 : 25);
            const ExactText text(written);
            const std::string theirs = to_text(icu.first_match(text));
            if (!icu.is_good()) break;
            const std::string ours = to_text(engine_matches(tree, text, 0, nullptr, nullptr, 1));
            ++compared;
            EXPECT_EQ(ours, theirs) << "seed " << seed + round << ": " << visible(pattern.ours)
                                    << " ¦ " << visible(pattern.flags) << " ¦ " << visible(written)
                                    << "\nICU's writing " << visible(pattern.icus);
        }
        if (HasFailure() && from_environment("QXUT_REGEXP_KEEP_ON", 0) == 0) break;
    }
    EXPECT_GT(compared, rounds * kTextsEach / 2);
}

}  // namespace
}  // namespace qxut_test
