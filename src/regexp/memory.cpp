// memory.cpp - the class operators of RE_Memory and the memory of the subsystem's containers.
//
// Entry points: RE_Memory, allocate_objects. Tested by tests/regexp/failure_test.cpp.
#include <qxut/regexp/memory.hpp>

#include <cstdint>

#include <qxut/util/heap.h>

#include "regexp/allocator.h"
#include "regexp/failure.h"

void* RE_Memory::operator new(size_t size) noexcept { return utMalloc(size); }
void* RE_Memory::operator new[](size_t size) noexcept { return utMalloc(size); }
void RE_Memory::operator delete(void* block) noexcept { utFree(block); }
void RE_Memory::operator delete[](void* block) noexcept { utFree(block); }

namespace qxut::regexp {

void* allocate_objects(size_t count, size_t size) {
    if (count == 0) return nullptr;
    if (count > SIZE_MAX / size) fail_memory();
    return require(utMalloc(count * size));
}

void free_objects(void* block) noexcept { utFree(block); }

}  // namespace qxut::regexp
