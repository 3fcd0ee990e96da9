// counting_heap.h - the allocator that the console gives to its contexts: counted and limited.
//
// Every block carries its size in front, so that the heap knows the bytes that are in use, their
// peak and the number of blocks. A request that would pass the limit is refused with null, which
// the library turns into OUT_OF_MEMORY on the host's error context. Counted are the bytes asked
// for and the size in front.
//
// The library's allocation functions take no data, so there is one heap, and it is used by the
// one thread that runs statements.
#ifndef CONSOLE_COUNTING_HEAP_H
#define CONSOLE_COUNTING_HEAP_H

#include <cstddef>

namespace console {

struct HeapUse {
    size_t bytes;   // in use now
    size_t blocks;  // in use now
    size_t peak;    // the most bytes that were ever in use
};

// The contracts of malloc, realloc and free.
void* heap_allocate(size_t size);
void* heap_reallocate(void* block, size_t size);
void heap_release(void* block);

// Refuses what would pass `bytes`; 0: no limit.
void set_heap_limit(size_t bytes);

HeapUse heap_use();

}  // namespace console

#endif
