// encodings.hpp - the names of the encodings that can be converted.
#ifndef QXUT_I18N_ENCODINGS_HPP
#define QXUT_I18N_ENCODINGS_HPP

#include <string>
#include <vector>

#include <qxut/util/export.h>

namespace Quorvanix::I18N {

// One name an encoding, the one that the Internet's registry of character sets prefers where it has
// it ("Shift_JIS", "windows-1252"), sorted. Throws std::bad_alloc when memory is short.
QXUT_API std::vector<std::string> encodingNames();

}  // namespace Quorvanix::I18N

#endif
