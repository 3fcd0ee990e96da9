// dsbuffer.cpp - a byte buffer that grows by doubling.
//
// Every append makes room first and copies second; the record changes only when a reallocation
// has succeeded, so a raise leaves the buffer as it was. Short appends that fit, nearly all of
// them, run without another call; everything else is kept out of line. Entry points: the ut_dsbput
// family. Tested by tests/util/dsbuffer_test.cpp.
#include <qxut/util/dsbuffer.h>

#include <cstring>
#include <limits>

#include <qxut/util/error.h>
#include <qxut/util/memory.h>

namespace {

constexpr uint64_t kLargest = std::numeric_limits<uint64_t>::max();

[[noreturn]] void raise_too_large(const ut_dsbuffer& buffer) {
    ut_error(buffer.memory_context->error_context, UT_OUT_OF_MEMORY);
}

uint64_t grown_capacity(const ut_dsbuffer& buffer, uint64_t count) {
    if (count > kLargest - buffer.length) raise_too_large(buffer);
    const uint64_t needed = buffer.length + count;
    uint64_t capacity = buffer.capacity;
    while (capacity < needed) {
        if (capacity == 0 || capacity > kLargest / 2) raise_too_large(buffer);
        capacity *= 2;
    }
    if (capacity > std::numeric_limits<size_t>::max()) raise_too_large(buffer);
    return capacity;
}

// Makes room for `count` more bytes. Returns where `source` is then: a source inside the data
// moves with it.
[[gnu::noinline, gnu::cold]] const char* grow(ut_dsbuffer& buffer, const char* source,
                                              uint64_t count) {
    const uint64_t capacity = grown_capacity(buffer, count);
    const uint64_t offset =
        reinterpret_cast<uintptr_t>(source) - reinterpret_cast<uintptr_t>(buffer.data);
    const bool inside = offset < buffer.capacity;
    buffer.data = static_cast<char*>(ut_mem_realloc(buffer.memory_context, buffer.data, capacity));
    buffer.capacity = capacity;
    return inside ? buffer.data + offset : source;
}

bool has_room(const ut_dsbuffer& buffer, uint64_t count) {
    // The length may have been set past the capacity.
    return buffer.length <= buffer.capacity && count <= buffer.capacity - buffer.length;
}

// Copies a block of T's size from each end of the source. Both are read before one is written,
// so the areas may overlap.
template <class T>
void copy_ends(char* to, const char* from, uint64_t count) {
    T head;
    T tail;
    std::memcpy(&head, from, sizeof head);
    std::memcpy(&tail, from + count - sizeof tail, sizeof tail);
    std::memcpy(to, &head, sizeof head);
    std::memcpy(to + count - sizeof tail, &tail, sizeof tail);
}

template <size_t Words>
struct Block {
    uint64_t words[Words];
};

constexpr uint64_t kShort = 64;

// memmove for up to kShort bytes, without a call.
[[gnu::always_inline]] inline void copy_short(char* to, const char* from, uint64_t count) {
    if (count >= sizeof(Block<4>))
        copy_ends<Block<4>>(to, from, count);
    else if (count >= sizeof(Block<2>))
        copy_ends<Block<2>>(to, from, count);
    else if (count >= sizeof(uint64_t))
        copy_ends<uint64_t>(to, from, count);
    else if (count >= sizeof(uint32_t))
        copy_ends<uint32_t>(to, from, count);
    else if (count >= sizeof(uint16_t))
        copy_ends<uint16_t>(to, from, count);
    else if (count == 1)
        *to = *from;
}

// Appends many bytes, or what does not fit, and returns `result`: the callers end in this call.
template <class Result>
[[gnu::noinline]] Result append_slow(ut_dsbuffer& buffer, const char* source, uint64_t count,
                                     Result result) {
    if (!has_room(buffer, count)) {
        if (count == 0) return result;
        source = grow(buffer, source, count);
    }
    if (count != 0) std::memmove(buffer.data + buffer.length, source, count);
    buffer.length += count;
    return result;
}

template <class Result>
[[gnu::always_inline]] inline Result append(ut_dsbuffer& buffer, const char* source, uint64_t count,
                                            Result result) {
    if (count > kShort || !has_room(buffer, count))
        return append_slow(buffer, source, count, result);
    copy_short(buffer.data + buffer.length, source, count);
    buffer.length += count;
    return result;
}

[[gnu::noinline, gnu::cold]] int putc_growing(unsigned char byte, ut_dsbuffer& buffer) {
    grow(buffer, nullptr, 1);
    buffer.data[buffer.length++] = static_cast<char>(byte);
    return byte;
}

// The bytes of a signed count: a negative one widens to a size that no buffer can have.
uint64_t widen(int32_t count) { return static_cast<uint64_t>(static_cast<int64_t>(count)); }

}  // namespace

void ut_initialize_dsbuffer(ut_dsbuffer* buffer, _memory_context* memory_context,
                            uint64_t capacity) {
    *buffer = {memory_context, nullptr, 0, 0};
    if (capacity > std::numeric_limits<size_t>::max()) raise_too_large(*buffer);
    buffer->data = static_cast<char*>(ut_mem_alloc(memory_context, capacity));
    buffer->capacity = capacity;
}

void ut_clear_dsbuffer(ut_dsbuffer* buffer) {
    if (buffer->memory_context != nullptr) ut_mem_free(buffer->memory_context, buffer->data);
    *buffer = {};
}

int ut_dsbputc(int character, ut_dsbuffer* buffer) {
    const auto byte = static_cast<unsigned char>(character);
    if (buffer->length >= buffer->capacity) [[unlikely]]
        return putc_growing(byte, *buffer);
    buffer->data[buffer->length++] = static_cast<char>(byte);
    return byte;
}

int ut_dsbputsn(void* buffer, const char* source, int32_t count) {
    return append(*static_cast<ut_dsbuffer*>(buffer), source, widen(count), count);
}

int ut_dsbputs(const char* source, void* buffer) {
    const uint64_t length = widen(static_cast<int32_t>(std::strlen(source)));
    return append(*static_cast<ut_dsbuffer*>(buffer), source, length, *source != '\0' ? 1 : 0);
}

uint64_t ut_dsbwrite(const void* source, uint64_t size, uint64_t count, ut_dsbuffer* buffer) {
    if (size != 0 && count > kLargest / size) raise_too_large(*buffer);
    return append(*buffer, static_cast<const char*>(source), size * count, count);
}

void ut_dsb_shrink_buffer(ut_dsbuffer* buffer, uint64_t length) { buffer->length = length; }
