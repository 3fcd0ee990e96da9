// The closers found in one pass, against scans written out: one for each question, with recursion.
#include "regexp/closers.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace qxut::regexp;

namespace {

// The scan of the language: steps over escapes, sets, groups and comments from `at` on.
class Scan {
  public:
    explicit Scan(std::u16string_view text) : text_(text) {}

    size_t bracket(size_t opener) const {
        for (size_t i = opener + 1; i < text_.size(); ++i) {
            if (text_[i] == u']') return i;
            if (text_[i] == u'\\') ++i;
        }
        return text_.size();
    }
    size_t parenthesis(size_t opener, bool free_spacing) const {
        const bool is_comment = text_.substr(opener).starts_with(u"(?#");
        return end_of_level(opener + 1, free_spacing && !is_comment, nullptr);
    }
    size_t bar(size_t at, size_t end, bool free_spacing) const {
        size_t bar = text_.size();
        for (; at < end; ++at) {
            at = end_of_level(at, free_spacing, &bar);
            if (bar < end) return bar;
        }
        return end;
    }

  private:
    // The ')' that ends the level, or the end; the first '|' on the way.
    size_t end_of_level(size_t at, bool free_spacing, size_t* bar) const {
        while (at < text_.size()) {
            const char16_t c = text_[at];
            size_t step = 1;
            if (c == u')') return at;
            if (c == u'|' && bar != nullptr && *bar == text_.size()) *bar = at;
            if (c == u'\\') step = 2;
            if (c == u'[' && bracket(at) < text_.size()) step = bracket(at) + 1 - at;
            if (c == u'(' && parenthesis(at, free_spacing) < text_.size()) {
                step = parenthesis(at, free_spacing) + 1 - at;
            }
            if (c == u'#' && free_spacing)
                step = std::min(text_.find(u'\n', at), text_.size()) - at;
            at += step;
        }
        return text_.size();
    }

    std::u16string_view text_;
};

TEST(Closers, AgreeWithScans) {
    const std::u16string_view pieces[] = {u"a", u"(", u"(", u")",  u")",  u"[",
                                          u"]", u"|", u"#", u"\\", u"\n", u"(?#"};
    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        std::u16string text;
        for (size_t i = random() % 14; i > 0; --i) text += pieces[random() % std::size(pieces)];
        const Source source{text.data(), text.size(), text.data(), nullptr};
        Arena arena;
        Closers closers(source, arena);
        const Scan scan(text);
        for (size_t i = 0; i < text.size(); ++i) {
            for (const bool free_spacing : {false, true}) {
                ASSERT_EQ(closers.bar(i, text.size(), free_spacing),
                          scan.bar(i, text.size(), free_spacing))
                    << std::string(text.begin(), text.end()) << " at " << i;
                if (text[i] != u'(') continue;
                ASSERT_EQ(closers.parenthesis(i, free_spacing), scan.parenthesis(i, free_spacing))
                    << std::string(text.begin(), text.end()) << " at " << i;
            }
            if (text[i] == u'[') {
                ASSERT_EQ(closers.bracket(i), scan.bracket(i));
            }
        }
    }
}

}  // namespace
