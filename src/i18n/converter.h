// converter.h - one open converter: ICU's, and whatever goes faster than it for its encoding.
//
// A converter belongs to one thread. Whole texts are converted with the arguments and the answers
// of ucnv_toUChars and ucnv_fromUChars; the fast paths give the same.
#ifndef QXUT_SRC_I18N_CONVERTER_H
#define QXUT_SRC_I18N_CONVERTER_H

#include <unicode/ucnv.h>

#include <cstddef>
#include <cstdint>

#include "i18n/single_byte.h"

namespace qxut {

struct Converter {
    UConverter* icu;
    enum class Kind : unsigned char {
        icu_only,
        utf8,
        single_byte,  // its tables are made when they are first needed
    } kind;
    bool tables_were_tried;
    bool is_counted;     // its uses count as uses of its thread, see thread_converters.h
    bool is_kept;        // by its thread; otherwise its last use closes it
    uint32_t uses;       // references to it, pushed names too
    uint64_t last_used;  // the thread's count of look-ups then
    SingleByteTables* tables;
    Converter* next;  // with the same hash
    uint32_t hash;
    size_t name_length;
    char name[1];  // as it was asked for; the block is as long as it takes
};

enum class OpenFailure { none, unknown_name, no_memory };

// Null on failure. The name is not null.
Converter* open_converter(const char* name, OpenFailure& failure);
void close_converter(Converter* converter);

// Opens ICU's converter, for open_converter and streams: refuses the names that ICU would take for
// its default or for a file's path.
UConverter* open_icu_converter(const char* name, OpenFailure& failure);

// The result's full length. `error` is ICU's: U_BUFFER_OVERFLOW_ERROR when it exceeds the capacity.
int32_t convert_to_utf16(Converter& converter, char16_t* target, int32_t capacity,
                         const char* source, int32_t length, UErrorCode& error);
int32_t convert_from_utf16(Converter& converter, char* target, int32_t capacity,
                           const char16_t* source, int32_t length, UErrorCode& error);

// The same for UTF-8, without a converter.
int32_t convert_utf8_to_utf16(char16_t* target, int32_t capacity, const char* source,
                              int32_t length, UErrorCode& error);
int32_t convert_utf16_to_utf8(char* target, int32_t capacity, const char16_t* source,
                              int32_t length, UErrorCode& error);

}  // namespace qxut

#endif
