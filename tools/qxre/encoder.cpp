// encoder.cpp - see encoder.h. Tested by tests/tools/qxre_test.py (replace, encodings).
#include "encoder.h"

#include "unicode.h"

namespace qxre {
namespace {

using Quorvanix::I18N::ConversionStream;

// The first surrogate without its other half, which UTF-8 has no bytes for; 0: there is none.
char32_t lone_surrogate(std::u16string_view text) {
    for (size_t i = 0; i < text.size();) {
        const char32_t c = take_character(text, i);
        if (c >= 0xD800 && c <= 0xDFFF) return c;
    }
    return 0;
}

}  // namespace

Encoder::Encoder(const std::string& encoding) {
    if (encoding == "UTF-8") return;
    stream_.emplace(ConversionStream::kUtf16Units, encoding.c_str(),
                    ConversionStream::Policy::stop);
}

bool Encoder::append(std::string& target, std::u16string_view text, char32_t& character) {
    if (!stream_.has_value()) {
        character = lone_surrogate(text);
        if (character == 0) append_utf8(target, text);
        return character == 0;
    }
    stream_->reset();
    const auto* source = reinterpret_cast<const char*>(text.data());
    size_t size = 2 * text.size();
    char bytes[4096];
    for (;;) {
        const ConversionStream::Step step =
            stream_->convert(source, size, true, bytes, sizeof bytes);
        source += step.read;
        size -= step.read;
        target.append(bytes, step.written);
        if (step.status == ConversionStream::Status::finished) return true;
        if (step.status != ConversionStream::Status::stopped) continue;
        const int32_t missing = stream_->fault().character;
        character = missing < 0 ? 0xFFFD : static_cast<char32_t>(missing);
        return false;
    }
}

bool Encoder::is_exact(std::string_view bytes, std::u16string_view text) {
    char32_t ignored = 0;
    scratch_.clear();
    return append(scratch_, text, ignored) && scratch_ == bytes;
}

}  // namespace qxre
