// matched.h - a pattern, parsed and lowered, for tests that look inside the matcher.
#ifndef QXUT_TESTS_REGEXP_MATCHED_H
#define QXUT_TESTS_REGEXP_MATCHED_H

#include <string>
#include <string_view>
#include <vector>

#include "regexp/matcher.h"
#include "regexp/pattern.h"
#include "regexp/program.h"

namespace qxut_test {

class Matched {
  public:
    explicit Matched(std::u16string_view pattern, RE_Flags flags = RE_NO_FLAGS,
                     RE_Context* context = nullptr) {
        qxut::regexp::ParseOptions options;
        options.flags = flags;
        options.context = context;
        qxut::regexp::parse(pattern.data(), pattern.size(), options, pattern_);
        program_ = qxut::regexp::lower(pattern_);
        request_.program = &program_;
        request_.context = context;
    }

    const qxut::regexp::Program& program() const { return program_; }
    // What the next search is asked; what the last one answered.
    qxut::regexp::SearchRequest& request() { return request_; }

    // The extents; empty when there is no match.
    std::vector<size_t> find(std::u16string_view text, size_t start = 0) {
        request_.text = text.data() != nullptr ? text.data() : u"";
        request_.length = text.size();
        request_.start = start;
        std::vector<size_t> extents(2 * (pattern_.token_count + 1));
        if (!qxut::regexp::search(request_, extents.data())) extents.clear();
        return extents;
    }

  private:
    qxut::regexp::Pattern pattern_;
    qxut::regexp::Program program_;
    qxut::regexp::SearchRequest request_;
};

}  // namespace qxut_test

#endif
