// md5_state.h - where a record's digest stands. Apart from the record's header, so that the layout
// of the exported class does not depend on it. Tested by tests/util/md5_test.cpp.
#ifndef QXUT_SRC_UTIL_MD5_STATE_H
#define QXUT_SRC_UTIL_MD5_STATE_H

#include <cstddef>
#include <cstdint>

#include <qxut/util/md5.hpp>

class ut_md5ChecksumState {
  public:
    ut_md5ChecksumState() { clear(); }
    virtual ~ut_md5ChecksumState();
    ut_md5ChecksumState(const ut_md5ChecksumState&) = delete;
    ut_md5ChecksumState& operator=(const ut_md5ChecksumState&) = delete;

    void clear();
    void add(const unsigned char* bytes, uint64_t n);
    ut_md5ChecksumValue finish();

    // Advances the length by n bytes, modulo 2^64 bits.
    void count(uint64_t n);

    static constexpr size_t kBlock = 64;
    static constexpr size_t kLengthAt = 56;  // of the length in the last block

    uint32_t a, b, c, d;
    uint32_t bits_low, bits_high;
    // The bytes after the last whole block: as many as the length says, modulo 64.
    unsigned char block[kBlock];

  private:
    size_t buffered() const { return (bits_low / 8) % kBlock; }
    void compress(const unsigned char* blocks, uint64_t count);
};

#endif
