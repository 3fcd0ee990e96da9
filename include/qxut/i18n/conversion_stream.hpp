// conversion_stream.hpp - conversion between two encodings in steps, with an account.
//
// A stream of bytes of any length is converted piece by piece into buffers that the caller bounds.
// However source and target are cut into pieces, the bytes written, the account and the position
// of a stop are the same. Text in memory as UTF-16 code units takes part under the encoding name
// ConversionStream::kUtf16Units, two bytes a unit.
//
//     ConversionStream stream("Shift_JIS", "UTF-8", ConversionStream::Policy::substitute);
//     do {
//         if (source is used up) read more; last = that was the end of the file
//         step = stream.convert(source, size, last, target, sizeof target);
//         source += step.read, size -= step.read;
//         write step.written bytes of target
//     } while (step.status != Status::finished && step.status != Status::stopped);
#ifndef QXUT_I18N_CONVERSION_STREAM_HPP
#define QXUT_I18N_CONVERSION_STREAM_HPP

#include <bit>
#include <cstddef>
#include <cstdint>

#include <qxut/util/export.h>
#include <qxut/i18n/invalid_character_set_exception.hpp>

namespace Quorvanix::I18N {

class ConversionStream {
  public:
    // The encoding of UTF-16 units in memory, without a byte-order mark.
    static constexpr const char* kUtf16Units =
        std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

    // What becomes of bytes that are no character of the source encoding, and of characters that
    // the target encoding does not have.
    enum class Policy {
        substitute,  // U+FFFD, or the target encoding's own substitute where it lacks that
        stop,        // everything in front of it is written, then the conversion stops
        escape       // \xHH for each such byte, \uHHHH or \UHHHHHHHH for such a character
    };

    enum class Status {
        more_source,  // all of the source was taken, and was not the last
        more_target,  // the target is full; there may be more to write
        stopped,      // Policy::stop only: see fault(); nothing more is read or written
        finished      // the last source was taken and everything is written
    };

    struct Step {
        Status status;
        size_t read;     // bytes taken from the source
        size_t written;  // bytes put into the target
    };

    // Since construction or the last reset().
    struct Account {
        uint64_t read;         // bytes taken
        uint64_t written;      // bytes put out
        uint64_t substituted;  // faults that were substituted or escaped, each counted once
    };

    // What the conversion stopped at.
    struct Fault {
        uint64_t position;  // of its first byte in the source stream, counted from 0
        uint32_t length;    // bytes of an ill-formed sequence; 0: a character without a counterpart
        int32_t character;  // that character's code point (a lone surrogate, too); -1: ill-formed
    };

    // Opens converters of the stream's own for ICU names such as "UTF-8" or "Shift_JIS"; null is
    // the thread's default encoding, see unicode_converter.hpp. Throws InvalidCharacterSetException
    // for a name that cannot be opened, std::bad_alloc when memory is short.
    QXUT_API ConversionStream(const char* from, const char* to, Policy policy = Policy::substitute);
    QXUT_API ~ConversionStream();
    QXUT_API ConversionStream(ConversionStream&& other) noexcept;
    QXUT_API ConversionStream& operator=(ConversionStream&& other) noexcept;

    // Takes source bytes and puts target bytes until the source is used up or the target full.
    // `last`: the source ends with these bytes; once given it is given again with what is left,
    // until the status is `finished`. Any size may be 0, its pointer then null. A target of a few
    // bytes will do, as what does not fit is kept. After `finished` or `stopped` the answer stays
    // the same until reset(). Throws nothing but std::bad_alloc, which ICU may need; then only
    // reset() and destruction are of use.
    QXUT_API Step convert(const char* source, size_t source_size, bool last, char* target,
                          size_t target_size);

    // Starts a new stream with the same encodings and policy.
    QXUT_API void reset();

    QXUT_API Account account() const;
    // Meaningful after Status::stopped.
    QXUT_API Fault fault() const;

    // The names under which ICU knows the two encodings, valid as long as the stream.
    QXUT_API const char* source_encoding() const;
    QXUT_API const char* target_encoding() const;

  private:
    struct State;
    State* state_;
};

}  // namespace Quorvanix::I18N

#endif
