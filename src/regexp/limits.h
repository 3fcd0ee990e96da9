// limits.h - the bounds of one search with the process-wide defaults put in.
#ifndef QXUT_SRC_REGEXP_LIMITS_H
#define QXUT_SRC_REGEXP_LIMITS_H

#include <cstddef>

#include <qxut/regexp/search.hpp>

namespace qxut::regexp {

// What a caller asked with each 0 replaced: by the default that the host set, else by that of
// RE_Limits. The default number of steps grows with the text and the program, and saturates.
RE_Limits resolve_limits(const RE_Limits& asked, size_t length, size_t program_size) noexcept;

}  // namespace qxut::regexp

#endif
