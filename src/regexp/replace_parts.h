// replace_parts.h - what a replacement template is parsed into.
#ifndef QXUT_SRC_REGEXP_REPLACE_PARTS_H
#define QXUT_SRC_REGEXP_REPLACE_PARTS_H

#include <cstddef>

#include "regexp/allocator.h"
#include "regexp/replace_nodes.h"

struct RE_Replace::Parts : RE_Memory {
    Parts() noexcept = default;
    ~Parts();
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    RE_Replace_Node* first = nullptr;     // owned, as is what follows it
    size_t evaluable_count = 0;           // the inputs of expressions too
    qxut::regexp::Vector<size_t> tokens;  // used, ascending
    qxut::regexp::Vector<qxut::regexp::Vector<char16_t>> text_of_names;  // with their NULs
    qxut::regexp::Vector<const char16_t*> names;  // used, in order of first use
    bool uses[4] = {};                            // by RE_Replace_Special_Kind
};

namespace qxut::regexp {

// Parses into empty parts; replace_parser.cpp. Throws std::bad_alloc and what the context throws.
void parse_template(const char16_t* text, size_t length, RE_Flags flags, RE_Context* context,
                    RE_Replace::Parts& parts);

}  // namespace qxut::regexp

#endif
