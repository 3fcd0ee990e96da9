// regexp_match_fuzz.cpp - any pattern over any text: the engine against the reference matcher, and
// against itself without its fast paths.
//
// Input: a byte of flags, the pattern, a byte 0xFF, the text. Long ones are cut, as the reference
// matcher takes its time; where either side gives up there is nothing to compare.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <qxut/system/throwable.hpp>

#include "regexp/engine.h"
#include "regexp/reference_matcher.h"
#include "regexp/tree_parts.h"
#include "regexp_input.h"

namespace {

constexpr size_t kLongestPattern = 80;
constexpr size_t kLongestText = 40;
constexpr size_t kMostNodes = 5000;

using qxut_test::ExactText;
using qxut_test::ReferenceAnswer;
using qxut_test::to_text;

[[noreturn]] void fail(const char* what, const std::string& one, const std::string& other) {
    std::fprintf(stderr, "regexp_match_fuzz: %s: %s, else %s\n", what, one.c_str(), other.c_str());
    std::abort();
}

void compare(const RE_Tree& tree, const ExactText& text) {
    qxut_test::ReferenceSearch search;
    search.text = text;
    search.steps = 20'000;
    std::vector<qxut_test::Extents> expected;
    const ReferenceAnswer answer =
        qxut_test::reference_matches(tree.parts().pattern, search, expected);
    RE_Seek_Table table;
    const auto found = qxut_test::engine_matches(tree, text, 0, nullptr, &table);
    if (answer != ReferenceAnswer::gave_up && found != expected) {
        fail("the reference says", to_text(expected), to_text(found));
    }
    for (const unsigned form : {qxut::regexp::kPlainSearch, qxut::regexp::kRecordingSearch}) {
        RE_Search_Info info;
        info.flags = form;
        info.limits.steps = 1'000'000;
        const auto other = qxut_test::engine_matches(tree, text, 0, &info);
        if (other != found) fail("in another form", to_text(other), to_text(found));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t* const end = data + size;
    const uint8_t* const middle = std::find(data + 1, end, uint8_t{0xFF});
    const std::u16string pattern = units_of(data + 1, static_cast<size_t>(middle - data - 1));
    const std::u16string text = middle == end
                                    ? std::u16string()
                                    : units_of(middle + 1, static_cast<size_t>(end - middle - 1));
    if (pattern.size() > kLongestPattern || text.size() > kLongestText) return 0;
    RE_Tree::inlineThreshold = (data[0] & 0x20) != 0 ? 2 : 1024;
    try {
        const RE_Tree tree(pattern.data(), pattern.size(), RE_Flags(data[0] & 15), nullptr);
        if (tree.parts().pattern.nodes.size() > kMostNodes) return 0;
        compare(tree, ExactText(text));
    } catch (const Quorvanix::System::UserException&) {
        // A limit, or a repeated flag.
    }
    return 0;
}
