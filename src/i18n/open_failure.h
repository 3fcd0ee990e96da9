// open_failure.h - a converter that could not be opened, as an exception.
#ifndef QXUT_SRC_I18N_OPEN_FAILURE_H
#define QXUT_SRC_I18N_OPEN_FAILURE_H

#include <new>

#include <qxut/i18n/invalid_character_set_exception.hpp>

#include "i18n/converter.h"

namespace qxut {

// Throws for a failure, if it is one. `name` is not null when the name is unknown.
inline void throw_open_failure(OpenFailure failure, const char* name) {
    if (failure == OpenFailure::unknown_name) {
        throw Quorvanix::I18N::InvalidCharacterSetException(name);
    }
    if (failure == OpenFailure::no_memory) throw std::bad_alloc();
}

}  // namespace qxut

#endif
