// array.h - a growable array of plain records in the current memory context.
//
// Does not clean up after itself: give it a Guard, or clear it where its owner is cleared. A push
// that raises OUT_OF_MEMORY leaves the array as it was.
#ifndef CONSOLE_ARRAY_H
#define CONSOLE_ARRAY_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <qxut/util/contexts.h>

namespace console {

template <class T>
class Array {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

  public:
    size_t size() const { return size_; }
    T& operator[](size_t i) { return data_[i]; }
    const T& operator[](size_t i) const { return data_[i]; }
    T* begin() { return data_; }
    T* end() { return data_ + size_; }
    T& back() { return data_[size_ - 1]; }

    void reserve(size_t capacity) {
        if (capacity <= capacity_) return;
        if (capacity > SIZE_MAX / sizeof(T)) ut_error(utGetErrorContext(), UT_OUT_OF_MEMORY);
        data_ = static_cast<T*>(ut_mem_realloc(utGetMemoryContext(), data_, capacity * sizeof(T)));
        capacity_ = capacity;
    }
    void push(const T& element) {
        if (size_ == capacity_) reserve(capacity_ < 8 ? 16 : 2 * capacity_);
        data_[size_++] = element;
    }
    void pop() { --size_; }
    // Elements that are added are not set. Raises OUT_OF_MEMORY.
    void resize(size_t size) {
        reserve(size);
        size_ = size;
    }

    void clear() {
        ut_mem_free(utGetMemoryContext(), data_);
        data_ = nullptr;
        size_ = capacity_ = 0;
    }

  private:
    T* data_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

}  // namespace console

#endif
