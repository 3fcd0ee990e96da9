// sort_elements.h - how the sort moves elements: one class for each way to copy a given size.
//
// Each class offers the same members over an array of elements of `size()` bytes:
//   at(i)               address of element i; the array may be aligned to bytes only
//   exchange(a, b)      exchanges two elements
//   permute(first, p)   rearranges up to 16 elements: the one at first + i comes from first + p[i]
// None of them calls anything of the caller's, so a raise never finds an element in two places.
#ifndef QXUT_SRC_UTIL_SORT_ELEMENTS_H
#define QXUT_SRC_UTIL_SORT_ELEMENTS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qxut {

using SortIndex = int64_t;

inline constexpr int kSmallSort = 16;

// The order of up to 16 elements, four bits for each: bits 4i to 4i + 3 hold the index of the
// element that comes i-th.
class SmallOrder {
  public:
    int operator[](int place) const { return static_cast<int>(places_ >> (4 * place) & 0xF); }

    // Puts an element before the one at `place`.
    void insert(int place, int element) {
        const uint64_t before = (uint64_t{1} << (4 * place)) - 1;
        places_ = (places_ & before) | (places_ & ~before) << 4 |
                  static_cast<uint64_t>(element) << (4 * place);
    }

  private:
    uint64_t places_ = 0;
};

// Elements of a size that the compiler knows: moved through registers.
template <size_t Size>
class FixedElements {
  public:
    FixedElements(void* base, size_t /*size*/, void* /*buffer*/)
        : base_(static_cast<char*>(base)) {}

    static constexpr size_t size() { return Size; }
    char* at(SortIndex i) const { return base_ + static_cast<size_t>(i) * Size; }
    void exchange(SortIndex a, SortIndex b) const {
        const Element element_a = load(at(a));
        const Element element_b = load(at(b));
        std::memcpy(at(a), &element_b, Size);
        std::memcpy(at(b), &element_a, Size);
    }
    void permute(SortIndex first, int count, SmallOrder order) const {
        Element copies[kSmallSort];
        for (int i = 0; i < count; ++i) copies[i] = load(at(first + order[i]));
        std::memcpy(at(first), copies, static_cast<size_t>(count) * Size);
    }

  private:
    struct Element {
        unsigned char bytes[Size];
    };
    static Element load(const char* from) {
        Element element;
        std::memcpy(&element, from, Size);
        return element;
    }

    char* base_;
};

// What the classes for sizes known at run time share: permuting along cycles, through the buffer.
// Copier::copy(to, from, size) and Copier::exchange(a, b, size, buffer) do the moves.
template <class Copier>
class SizedElements {
  public:
    SizedElements(void* base, size_t size, void* buffer)
        : base_(static_cast<char*>(base)), size_(size), buffer_(static_cast<char*>(buffer)) {}

    size_t size() const { return size_; }
    char* at(SortIndex i) const { return base_ + static_cast<size_t>(i) * size_; }
    void exchange(SortIndex a, SortIndex b) const {
        if (a != b) Copier::exchange(at(a), at(b), size_, buffer_);
    }
    void permute(SortIndex first, int count, SmallOrder order) const {
        unsigned moved = 0;
        for (int start = 0; start < count; ++start) {
            if ((moved >> start & 1u) != 0 || order[start] == start) continue;
            Copier::copy(buffer_, at(first + start), size_);
            int hole = start;
            for (; order[hole] != start; hole = order[hole]) {
                Copier::copy(at(first + hole), at(first + order[hole]), size_);
                moved |= 1u << hole;
            }
            Copier::copy(at(first + hole), buffer_, size_);
            moved |= 1u << hole;
        }
    }

  private:
    char* base_;
    size_t size_;
    char* buffer_;
};

// Sizes that are a multiple of a Word's.
template <class Word>
struct WordCopier {
    static void copy(char* to, const char* from, size_t size) {
        for (size_t at = 0; at < size; at += sizeof(Word)) {
            Word word;
            std::memcpy(&word, from + at, sizeof word);
            std::memcpy(to + at, &word, sizeof word);
        }
    }
    static void exchange(char* a, char* b, size_t size, char* /*buffer*/) {
        for (size_t at = 0; at < size; at += sizeof(Word)) {
            Word word_a;
            Word word_b;
            std::memcpy(&word_a, a + at, sizeof word_a);
            std::memcpy(&word_b, b + at, sizeof word_b);
            std::memcpy(a + at, &word_b, sizeof word_b);
            std::memcpy(b + at, &word_a, sizeof word_a);
        }
    }
};

struct ByteCopier {
    static void copy(char* to, const char* from, size_t size) { std::memcpy(to, from, size); }
    static void exchange(char* a, char* b, size_t size, char* buffer) {
        copy(buffer, a, size);
        copy(a, b, size);
        copy(b, buffer, size);
    }
};

struct SortWord16 {
    uint64_t words[2];
};

}  // namespace qxut

#endif
