// md5.cpp - the MD5 record, which owns the state that does the work (md5_state.h).
//
// Tested by tests/util/md5_test.cpp.
#include <qxut/util/md5.hpp>

#include <new>

#include "util/md5_state.h"

ut_md5ChecksumRec::ut_md5ChecksumRec() : state_(new (std::nothrow) ut_md5ChecksumState) {}

ut_md5ChecksumRec::~ut_md5ChecksumRec() { delete state_; }

void ut_md5ChecksumRec::clear() {
    if (state_ != nullptr) state_->clear();
}

void ut_md5ChecksumRec::addn(const unsigned char* bytes, uint64_t n) {
    if (state_ != nullptr) state_->add(bytes, n);
}

ut_md5ChecksumValue ut_md5ChecksumRec::getValueAndReset() {
    return state_ != nullptr ? state_->finish() : ut_md5ChecksumValue{};
}
