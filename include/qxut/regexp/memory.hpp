// memory.hpp - the base class through which everything of the regular expressions allocates.
//
// The class operators go to utMalloc and utFree. They are noexcept: a request that fails, and one
// for zero bytes, gives null, and a new-expression of a derived class is then null without a
// constructor having run. Constructors and matches that meet such a null call the out-of-memory
// listener and throw std::bad_alloc.
#ifndef QXUT_REGEXP_MEMORY_HPP
#define QXUT_REGEXP_MEMORY_HPP

#include <cstddef>

#include <qxut/util/export.h>

class QXUT_API RE_Memory {
  public:
    static void* operator new(size_t size) noexcept;
    static void* operator new[](size_t size) noexcept;
    static void operator delete(void* block) noexcept;
    static void operator delete[](void* block) noexcept;
    // Placement, which the operators above would hide.
    static void* operator new(size_t, void* place) noexcept { return place; }
    static void operator delete(void*, void*) noexcept {}
};

#endif
