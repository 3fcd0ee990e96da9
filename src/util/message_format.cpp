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

#include <climits>
#include <cstring>
#include <limits>

#include <qxut/util/bstream.h>

#include "util/builtin_tables.h"
#include "util/message_check.h"
#include "util/message_conversion.h"
#include "util/message_scratch.h"
#include "util/message_slot.h"
#include "util/message_store.h"

namespace qxut {
namespace {

constexpr uint32_t kFrameSlots = 8;

class Run {
  public:
    Run(ut_message_context& context, ut_writer writer, void* stream)
        : scratch_(context), writer_(writer), stream_(stream) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() {
        for (uint32_t i = 0; i < count_; ++i)
            if (slot(i).kind == Slot::Kind::callback) va_end(slot(i).callback.position.list);
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
    bool has_doubled_ = false;  // the English text has a "%%"
    int total_ = 0;
};

// --- first pass: arguments ---------------------------------------------------------------

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
        if (!add(fill_slot(*next, conversion, arguments, scratch_))) return false;
        p = std::strchr(conversion.end, '%');
    }
    return true;
}

// --- second pass: output -----------------------------------------------------------------

bool Run::write(const char* text, size_t length) {
    constexpr size_t kLargestPiece = std::numeric_limits<int32_t>::max();
    while (length > kLargestPiece) {
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
    const char* const translated = translated_text(context, code);
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
