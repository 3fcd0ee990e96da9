// ascii_case.h - lowers A to Z, whatever the locale; every other byte maps to itself.
#ifndef QXUT_SRC_UTIL_ASCII_CASE_H
#define QXUT_SRC_UTIL_ASCII_CASE_H

namespace qxut {

constexpr unsigned char ascii_lower(unsigned char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte | 0x20) : byte;
}

}  // namespace qxut

#endif
