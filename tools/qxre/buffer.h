// buffer.h - a block of memory that grows and is not cleared first.
#ifndef QXRE_BUFFER_H
#define QXRE_BUFFER_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace qxre {

template <class T>
class Buffer {
  public:
    T* data() { return data_.get(); }
    const T* data() const { return data_.get(); }
    size_t capacity() const { return capacity_; }

    // Makes room for at least `capacity` elements; the first `kept` of them stay.
    void reserve(size_t capacity, size_t kept) {
        if (capacity <= capacity_) return;
        if (capacity_ <= SIZE_MAX / 2) capacity = std::max(capacity, 2 * capacity_);
        if (capacity > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
        auto grown = std::make_unique_for_overwrite<T[]>(capacity);
        std::copy_n(data_.get(), kept, grown.get());
        data_ = std::move(grown);
        capacity_ = capacity;
    }

  private:
    std::unique_ptr<T[]> data_;
    size_t capacity_ = 0;
};

}  // namespace qxre

#endif
