// warning_settings.h - the states of warnings by identifier: a sorted array with owned identifiers.
//
// Hosts set a few dozen at most, while every warning looks one up. Nothing here knows of the
// warning context; memory is the caller's memory context.
#ifndef QXUT_SRC_UTIL_WARNING_SETTINGS_H
#define QXUT_SRC_UTIL_WARNING_SETTINGS_H

#include <qxut/util/warning.h>

namespace qxut {

// The setting of an identifier, or null.
ut_warning_setting* find_setting(const ut_warning_settings& settings, const char* identifier);

// Adds a setting for an identifier that has none. Raises OUT_OF_MEMORY with nothing changed.
void add_setting(ut_warning_settings& settings, _memory_context* memory, const char* identifier,
                 ut_warning_state state);

// Copies to an empty record. Raises OUT_OF_MEMORY with `to` empty.
void copy_settings(ut_warning_settings& to, const ut_warning_settings& from,
                   _memory_context* memory);

// Frees everything and zeroes the record.
void clear_settings(ut_warning_settings& settings, _memory_context* memory);

}  // namespace qxut

#endif
