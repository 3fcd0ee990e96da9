// message_format.cpp - formats a message with its arguments to a writer.
//
// A run has two passes. The first walks the English text, the only one that knows the arguments'
// types, and fills one slot per conversion: each argument is fetched exactly once, in the order
// in which it was passed. The second walks the text to print and writes slots between literal
// pieces, in order for the English text, by number for a translated one. So whatever a
// translated text names, no argument is read that is not there.
//
//   "%d of %s"   slots: [ text "7" ][ string -> "nine" ]   "%2 のうち %1"
//
// The slots of most messages, and what most conversions give, fit into the run's own frame; the
// rest comes from the context's scratch stack. Nothing of a run is kept in the context, so a
// callback or a writer may itself print on the same context.
//
// Entry point: ut_vprintm. Tested by tests/util/message_format_test.cpp.
#include "util/message_format.h"

#include <cfenv>
#include <charconv>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <limits>
#include <type_traits>

#include <qxut/util/bstream.h>

#include "util/builtin_tables.h"
#include "util/message_check.h"
#include "util/message_conversion.h"
#include "util/message_scratch.h"
#include "util/message_store.h"

namespace qxut {
namespace {

constexpr int kOutOfMemory = -1;
constexpr uint32_t kFrameSlots = 8;
constexpr size_t kSmallText = 48;  // any plain integer, and all floating point but huge %f

struct Slot {
    enum class Kind { text, string, callback };
    struct Callback {
        ut_message_formatter formatter;
        ut_arguments position;  // where the callback's own arguments begin
    };

    Kind kind;
    const char* begin;  // the conversion in the English text
    const char* end;
    const char* bytes;  // text: the formatted argument; string: the argument itself
    size_t length;      // of a text
    union {
        char small[kSmallText];
        Callback callback;
    };
};

int discard(void* /*stream*/, const char* /*text*/, int32_t length) { return length; }

class Run {
  public:
    Run(ut_message_context& context, ut_writer writer, void* stream)
        : scratch_(context), writer_(writer), stream_(stream) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() {
        for (uint32_t i = 0; callbacks_ != 0; ++i) {
            if (slot(i).kind != Slot::Kind::callback) continue;
            va_end(slot(i).callback.position.list);
            --callbacks_;
        }
    }

    // Fills the slots from the arguments of an English text. False: failed, see total().
    bool collect(const char* english, ut_arguments& arguments);

    void write_english(const char* text);
    void write_translated(const char* text);

    // Sum of the writer's results, or the first negative result.
    int total() const { return total_; }

  private:
    Slot& slot(uint32_t index) {
        return index < kFrameSlots ? frame_slots_[index] : more_slots_[index - kFrameSlots];
    }
    Slot* next_slot(const char* english);
    int fill(Slot& slot, const Conversion& conversion, ut_arguments& arguments);
    int record_callback(Slot& slot, ut_arguments& arguments);
    template <class T>
    int print_integer(Slot& slot, const Conversion& conversion, T value);
    int print_double(Slot& slot, const Conversion& conversion, double value);
    template <class T>
    int print(Slot& slot, const Conversion& conversion, const char* length, T value);

    // Takes a result into the total; false when it is negative.
    bool add(int result) {
        if (result < 0) [[unlikely]] {
            total_ = result;
            return false;
        }
        total_ = total_ > INT_MAX - result ? INT_MAX : total_ + result;
        return true;
    }
    bool write(const char* text, size_t length);
    bool write_literal(const char* from, const char* to);
    bool write_slot(Slot& slot);

    ScratchScope scratch_;
    ut_writer writer_;
    void* stream_;
    Slot frame_slots_[kFrameSlots];
    Slot* more_slots_ = nullptr;
    uint32_t count_ = 0;
    uint32_t callbacks_ = 0;    // slots with a position to end
    bool has_doubled_ = false;  // the English text has a "%%"
    int total_ = 0;
};

// --- first pass: arguments ---------------------------------------------------------------

intmax_t fetch_signed(ArgumentLength length, ut_arguments& arguments) {
    switch (length) {
        case ArgumentLength::hh:
            return static_cast<signed char>(va_arg(arguments.list, int));
        case ArgumentLength::h:
            return static_cast<short>(va_arg(arguments.list, int));
        case ArgumentLength::l:
            return va_arg(arguments.list, long);
        case ArgumentLength::ll:
            return va_arg(arguments.list, long long);
        case ArgumentLength::z:
            return va_arg(arguments.list, std::make_signed_t<size_t>);
        case ArgumentLength::j:
            return va_arg(arguments.list, intmax_t);
        case ArgumentLength::t:
            return va_arg(arguments.list, ptrdiff_t);
        default:
            return va_arg(arguments.list, int);
    }
}

uintmax_t fetch_unsigned(ArgumentLength length, ut_arguments& arguments) {
    switch (length) {
        case ArgumentLength::hh:
            return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
        case ArgumentLength::h:
            return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
        case ArgumentLength::l:
            return va_arg(arguments.list, unsigned long);
        case ArgumentLength::ll:
            return va_arg(arguments.list, unsigned long long);
        case ArgumentLength::z:
            return va_arg(arguments.list, size_t);
        case ArgumentLength::j:
            return va_arg(arguments.list, uintmax_t);
        case ArgumentLength::t:
            return va_arg(arguments.list, std::make_unsigned_t<ptrdiff_t>);
        default:
            return va_arg(arguments.list, unsigned);
    }
}

template <class T>
void store_zero(void* target) {
    if (target != nullptr) *static_cast<T*>(target) = 0;
}

// "%n" counts nothing: what stands before it in one language does not in another. Done without
// the C library, which may end the process over it.
void clear_count(ArgumentLength length, void* target) {
    switch (length) {
        case ArgumentLength::hh:
            return store_zero<signed char>(target);
        case ArgumentLength::h:
            return store_zero<short>(target);
        case ArgumentLength::l:
            return store_zero<long>(target);
        case ArgumentLength::ll:
            return store_zero<long long>(target);
        case ArgumentLength::z:
            return store_zero<std::make_signed_t<size_t>>(target);
        case ArgumentLength::j:
            return store_zero<intmax_t>(target);
        case ArgumentLength::t:
            return store_zero<ptrdiff_t>(target);
        default:
            return store_zero<int>(target);
    }
}

bool is_bare(const Conversion& conversion) {
    return conversion.flags[0] == '\0' && conversion.width == 0 && conversion.precision < 0;
}

// Formats a value with the C library, under a specification with the conversion's own flags,
// width and precision and the length of the type that was fetched.
template <class T>
int Run::print(Slot& slot, const Conversion& conversion, const char* length, T value) {
    const bool bare = is_bare(conversion);
    char specification[16];
    char* p = specification;
    const auto append = [&p](const char* part) {
        for (; *part != '\0'; ++part) *p++ = *part;
    };
    append("%");
    if (!bare) {
        append(conversion.flags);
        append("*.*");
    }
    append(length);
    *p++ = conversion.letter;
    *p = '\0';
    const auto format = [&](char* text, size_t size) {
        return bare ? std::snprintf(text, size, specification, value)
                    : std::snprintf(text, size, specification, conversion.width,
                                    conversion.precision, value);
    };
    const int needed = format(slot.small, sizeof slot.small);
    if (needed < 0) return needed;
    slot.length = static_cast<size_t>(needed);
    if (slot.length < sizeof slot.small) return 0;
    auto* const text = static_cast<char*>(scratch_.take(slot.length + 1));
    if (text == nullptr) return kOutOfMemory;
    slot.bytes = text;
    const int written = format(text, slot.length + 1);
    return written < 0 ? written : 0;
}

// The bare conversions of integers, without the C library.
template <class T>
int Run::print_integer(Slot& slot, const Conversion& conversion, T value) {
    if (!is_bare(conversion)) return print(slot, conversion, "j", value);
    const int base = conversion.letter == 'o' ? 8 : (conversion.letter | 0x20) == 'x' ? 16 : 10;
    const auto result = std::to_chars(slot.small, slot.small + sizeof slot.small, value, base);
    if (conversion.letter == 'X')
        for (char* p = slot.small; p != result.ptr; ++p)
            if (*p >= 'a') *p = static_cast<char>(*p - 'a' + 'A');
    slot.length = static_cast<size_t>(result.ptr - slot.small);
    return 0;
}

// Whether std::to_chars prints as the C library would: it knows one decimal point and one way
// of rounding.
bool numbers_are_plain() {
    const char* const point = std::localeconv()->decimal_point;
    return point[0] == '.' && point[1] == '\0' && std::fegetround() == FE_TONEAREST;
}

// The conversions of double that have at most a precision, without the C library where possible.
int Run::print_double(Slot& slot, const Conversion& conversion, double value) {
    std::chars_format format{};
    switch (conversion.letter) {
        case 'f':
            format = std::chars_format::fixed;
            break;
        case 'e':
            format = std::chars_format::scientific;
            break;
        case 'g':
            format = std::chars_format::general;
            break;
        default:
            break;  // E and G
    }
    if (format != std::chars_format{} && conversion.flags[0] == '\0' && conversion.width == 0 &&
        numbers_are_plain()) {
        const int precision = conversion.precision < 0 ? 6 : conversion.precision;
        const auto result =
            std::to_chars(slot.small, slot.small + sizeof slot.small, value, format, precision);
        if (result.ec == std::errc()) {
            slot.length = static_cast<size_t>(result.ptr - slot.small);
            return 0;
        }
    }
    return print(slot, conversion, "", value);
}

// Records where the callback's arguments begin and steps over them.
int Run::record_callback(Slot& slot, ut_arguments& arguments) {
    slot.callback.formatter = va_arg(arguments.list, ut_message_formatter);
    va_copy(slot.callback.position.list, arguments.list);
    slot.kind = Slot::Kind::callback;
    ++callbacks_;
    const int result = slot.callback.formatter(discard, nullptr, &arguments);
    return result < 0 ? result : 0;
}

// Fetches the argument of a conversion and fills its slot. 0, or a negative result.
int Run::fill(Slot& slot, const Conversion& conversion, ut_arguments& arguments) {
    slot.kind = Slot::Kind::text;
    slot.bytes = slot.small;
    slot.length = 0;
    const ArgumentLength length = conversion.length;
    switch (conversion.letter) {
        case 's':
            slot.kind = Slot::Kind::string;
            slot.bytes = va_arg(arguments.list, const char*);
            return 0;
        case 'd':
        case 'i':
            return print_integer(slot, conversion, fetch_signed(length, arguments));
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            return print_integer(slot, conversion, fetch_unsigned(length, arguments));
        case 'c':
            if (length == ArgumentLength::l)
                return print(slot, conversion, "l", va_arg(arguments.list, wint_t));
            if (!is_bare(conversion))
                return print(slot, conversion, "", va_arg(arguments.list, int));
            slot.small[0] = static_cast<char>(va_arg(arguments.list, int));
            slot.length = 1;
            return 0;
        case 'p':
            return print(slot, conversion, "", va_arg(arguments.list, void*));
        case 'n':
            clear_count(length, va_arg(arguments.list, void*));
            return 0;
        case 'U':
            return record_callback(slot, arguments);
        default:
            if (length == ArgumentLength::L)
                return print(slot, conversion, "L", va_arg(arguments.list, long double));
            return print_double(slot, conversion, va_arg(arguments.list, double));
    }
}

// Where the next slot is; null when out of memory.
Slot* Run::next_slot(const char* english) {
    if (count_ == kFrameSlots) {
        uint32_t holes = 0;
        check_english_text(english, holes);
        more_slots_ = static_cast<Slot*>(scratch_.take((holes - kFrameSlots) * sizeof(Slot)));
        if (more_slots_ == nullptr) return nullptr;
    }
    return &slot(count_);
}

bool Run::collect(const char* english, ut_arguments& arguments) {
    const char* p = std::strchr(english, '%');
    while (p != nullptr) {
        if (p[1] == '%') {
            has_doubled_ = true;
            p = std::strchr(p + 2, '%');
            continue;
        }
        Slot* const next = next_slot(english);
        if (next == nullptr) return add(kOutOfMemory);
        const Conversion conversion = parse_conversion(p);
        next->begin = p;
        next->end = conversion.end;
        ++count_;
        if (!add(fill(*next, conversion, arguments))) return false;
        p = std::strchr(conversion.end, '%');
    }
    return true;
}

// --- second pass: output -----------------------------------------------------------------

bool Run::write(const char* text, size_t length) {
    constexpr size_t kLargestPiece = std::numeric_limits<int32_t>::max();
    while (length > kLargestPiece) [[unlikely]] {
            if (!add(writer_(stream_, text, std::numeric_limits<int32_t>::max()))) return false;
            text += kLargestPiece;
            length -= kLargestPiece;
        }
    return length == 0 || add(writer_(stream_, text, static_cast<int32_t>(length)));
}

bool Run::write_slot(Slot& slot) {
    switch (slot.kind) {
        case Slot::Kind::text:
            return write(slot.bytes, slot.length);
        case Slot::Kind::string: {
            const char* const text = slot.bytes != nullptr ? slot.bytes : "(null)";
            return write(text, std::strlen(text));
        }
        default:
            return add(slot.callback.formatter(writer_, stream_, &slot.callback.position));
    }
}

// Writes a piece of the English text that has no conversion but "%%".
bool Run::write_literal(const char* from, const char* to) {
    while (has_doubled_) {
        const void* const found = std::memchr(from, '%', static_cast<size_t>(to - from));
        if (found == nullptr) break;
        const char* const percent = static_cast<const char*>(found);
        if (!write(from, static_cast<size_t>(percent + 1 - from))) return false;
        from = percent + 2;
    }
    return write(from, static_cast<size_t>(to - from));
}

void Run::write_english(const char* text) {
    for (uint32_t i = 0; i < count_; ++i) {
        Slot& next = slot(i);
        if (!write_literal(text, next.begin) || !write_slot(next)) return;
        text = next.end;
    }
    write_literal(text, text + std::strlen(text));
}

void Run::write_translated(const char* text) {
    while (const char* percent = std::strchr(text, '%')) {
        const bool doubled = percent[1] == '%';
        if (!write(text, static_cast<size_t>(percent + (doubled ? 1 : 0) - text))) return;
        text = percent + (doubled ? 2 : 1);
        if (doubled) continue;
        const uint32_t hole = parse_hole_number(text);
        if (hole - 1 < count_ && !write_slot(slot(hole - 1))) return;
    }
    write(text, std::strlen(text));
}

// --- the message -------------------------------------------------------------------------

// Prints a message whose English text is known.
int print_text(ut_message_context& context, ut_writer writer, void* stream, ut_message_code code,
               const char* english, ut_arguments& arguments) {
    const char* translated = nullptr;
    if (context.current_language != 0)
        translated = text_in(context.languages[context.current_language], code);
    Run run(context, writer, stream);
    if (!run.collect(english, arguments)) return run.total();
    if (translated != nullptr)
        run.write_translated(translated);
    else
        run.write_english(english);
    return run.total();
}

// Prints a message of module 0.
int print_own(ut_message_context& context, ut_writer writer, void* stream, ut_message_code code,
              ...) {
    ut_arguments arguments;
    va_start(arguments.list, code);
    const int result = print_text(context, writer, stream, code,
                                  message_context_table.texts[entry_of(code) - 1], arguments);
    va_end(arguments.list);
    return result;
}

// What the module-0 message of a registration status says beside the module.
struct StatusMessage {
    ut_message_code code;
    int module;
    int entry;
};

StatusMessage status_message(int32_t status, ut_message_code position) {
    StatusMessage message{UT_BAD_MSG_CODE, static_cast<int>(module_of(position)),
                          static_cast<int>(entry_of(position))};
    if (status > 0 && static_cast<uint32_t>(status) <= message_context_table.count)
        message.code = static_cast<ut_message_code>(status);
    // These two name the number of elements before the entry at fault.
    if (status == UT_TOO_FEW_STRINGS || status == UT_TOO_MANY_STRINGS) --message.entry;
    return message;
}

}  // namespace

bool reserve_slots(ut_message_context& context, uint32_t holes, ut_realloc_fcn reallocate) {
    return holes <= kFrameSlots ||
           reserve_scratch(context, size_t{holes - kFrameSlots} * sizeof(Slot), reallocate);
}

}  // namespace qxut

using namespace qxut;

int ut_vprintm(ut_message_context* context, ut_writer writer, void* stream, ut_message_code code,
               va_list arguments) {
    const char* const english = english_text(*context, code);
    const bool empty = context->languages == nullptr;
    if (english == nullptr || (empty && code == UT_BAD_MSG_CODE)) {
        if (code == UT_BAD_MSG_CODE) return 0;
        const int result =
            print_own(*context, writer, stream, UT_BAD_MSG_CODE, static_cast<int>(module_of(code)),
                      static_cast<int>(entry_of(code)));
        if (result >= 0) writer(stream, "\n", 1);
        return 0;
    }
    ut_arguments own;
    va_copy(own.list, arguments);
    const int result = print_text(*context, writer, stream, code, english, own);
    va_end(own.list);
    return result;
}

int ut_printm(ut_message_context* context, ut_writer writer, void* stream, ut_message_code code,
              ...) {
    va_list arguments;
    va_start(arguments, code);
    const int result = ut_vprintm(context, writer, stream, code, arguments);
    va_end(arguments);
    return result;
}

int ut_vsprintm(ut_message_context* context, char* buffer, size_t size, ut_message_code code,
                va_list arguments) {
    if (size == 0) return 0;
    ut_bstream stream{buffer, size};
    const int result = ut_vprintm(context, ut_bputsn, &stream, code, arguments);
    if (stream.remaining == 0) --stream.position;
    *stream.position = '\0';
    // A full buffer is a writer's failure to the formatter, but an ordinary cut here.
    if (result < 0 && stream.remaining != 0) return result;
    const auto stored = static_cast<size_t>(stream.position - buffer);
    return stored > INT_MAX ? INT_MAX : static_cast<int>(stored);
}

int ut_sprintm(ut_message_context* context, char* buffer, size_t size, ut_message_code code, ...) {
    va_list arguments;
    va_start(arguments, code);
    const int result = ut_vsprintm(context, buffer, size, code, arguments);
    va_end(arguments);
    return result;
}

int ut_vfprintm(ut_message_context* context, FILE* file, ut_message_code code, va_list arguments) {
    return ut_vprintm(context, ut_fputsn, file, code, arguments);
}

int ut_fprintm(ut_message_context* context, FILE* file, ut_message_code code, ...) {
    va_list arguments;
    va_start(arguments, code);
    const int result = ut_vfprintm(context, file, code, arguments);
    va_end(arguments);
    return result;
}

int ut_print_message_context_error(ut_message_context* context, ut_writer writer, void* stream,
                                   int32_t status, ut_message_code position) {
    if (status == UT_MESSAGE_OK) return 0;
    const StatusMessage message = status_message(status, position);
    return print_own(*context, writer, stream, message.code, message.module, message.entry);
}

void ut_handle_message_context_error(_error_context* context, ut_raise_fcn raise, int32_t status,
                                     ut_message_code position) {
    if (status == UT_MESSAGE_OK) return;
    const StatusMessage message = status_message(status, position);
    raise(context, message.code, message.module, message.entry);
}
