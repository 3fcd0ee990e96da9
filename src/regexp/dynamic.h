// dynamic.h - the programs of dynamic patterns, by their text.
#ifndef QXUT_SRC_REGEXP_DYNAMIC_H
#define QXUT_SRC_REGEXP_DYNAMIC_H

#include <map>
#include <memory>

#include "regexp/program.h"

namespace qxut::regexp {

// What a run has parsed so far. A text is parsed once with the same flags, so its warnings come
// once.
class DynamicPrograms : public RE_Memory {
  public:
    // `outer` is the program around it, whose tokens the text refers to. Throws what parsing does.
    const Program& program_of(const char16_t* text, size_t length, RE_Flags flags,
                              RE_Context* context, const Program& outer);

    // About what they take.
    size_t bytes() const noexcept { return bytes_; }

  private:
    struct Known : RE_Memory {
        Pattern pattern;
        Program program;
    };
    struct Key {
        Vector<char16_t> text;
        RE_Flags flags;
        auto operator<=>(const Key&) const = default;
    };
    std::map<Key, std::unique_ptr<Known>, std::less<>,
             Allocator<std::pair<const Key, std::unique_ptr<Known>>>>
        known_;
    size_t bytes_ = 0;
};

}  // namespace qxut::regexp

#endif
