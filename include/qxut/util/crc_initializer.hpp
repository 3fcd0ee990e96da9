// crc_initializer.hpp - the object whose existence stands for an initialised CRC table.
#ifndef QXUT_UTIL_CRC_INITIALIZER_HPP
#define QXUT_UTIL_CRC_INITIALIZER_HPP

#include <qxut/util/crc.h>

// Once one exists, init_crc_i has nothing left to do. The table is constant data, so that holds
// from the start: neither loading nor leaving the process runs anything for it.
class crc_initializer {
  public:
    constexpr crc_initializer() noexcept = default;
};

// The library's own.
extern QXUT_API crc_initializer crc_i;

#endif
