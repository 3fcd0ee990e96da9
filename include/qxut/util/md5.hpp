// md5.hpp - the MD5 message digest (RFC 1321) of a stream of bytes fed in pieces.
//
//     ut_md5ChecksumRec md5;
//     while ((n = read_some(file, block)) > 0) md5.addn(block, n);
//     const ut_md5ChecksumValue digest = md5.getValueAndReset();
//
//     record                          state, on the heap
//     [ vtable | state ]------------> [ vtable | A B C D | bits, low and high | 64-byte block ]
//
// A record is not for several threads at a time; different records are independent. Nothing here
// raises. MD5 finds accidental changes; it is no protection against deliberate ones.
#ifndef QXUT_UTIL_MD5_HPP
#define QXUT_UTIL_MD5_HPP

#include <cstdint>

#include <qxut/util/export.h>

class ut_md5ChecksumState;

// A digest.
union ut_md5ChecksumValue {
    unsigned char bytes[16];  // in the order in which digests are written
    uint32_t words[4];        // the same memory, for comparing and hashing
};

static_assert(sizeof(ut_md5ChecksumValue) == 16);

class QXUT_API ut_md5ChecksumRec {
  public:
    // An empty stream. Where there is no memory for the state the record stays without one: it
    // takes bytes without effect, and its digests are 16 zero bytes.
    ut_md5ChecksumRec();
    virtual ~ut_md5ChecksumRec();

    // Starts over with an empty stream.
    void clear();

    // Appends `n` bytes; n = 0 does nothing, and `bytes` may then be null. The digest takes in the
    // stream's length in bits, modulo 2^64.
    void addn(const unsigned char* bytes, uint64_t n);

    // The digest of the stream, which then starts over as after clear().
    ut_md5ChecksumValue getValueAndReset();

  private:
    ut_md5ChecksumRec(const ut_md5ChecksumRec&) = delete;
    ut_md5ChecksumRec& operator=(const ut_md5ChecksumRec&) = delete;

    ut_md5ChecksumState* state_;
};

static_assert(sizeof(ut_md5ChecksumRec) == 2 * sizeof(void*));

#endif
