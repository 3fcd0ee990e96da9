// encoder.h - UTF-16 as the bytes of an encoding, with nothing lost.
#ifndef QXRE_ENCODER_H
#define QXRE_ENCODER_H

#include <optional>
#include <string>
#include <string_view>

#include <qxut/i18n/conversion_stream.hpp>

namespace qxre {

class Encoder {
  public:
    // Throws InvalidCharacterSetException for an encoding that is not known.
    explicit Encoder(const std::string& encoding);

    // Appends the bytes of a text. False: the encoding lacks one of its characters, `character`.
    bool append(std::string& target, std::u16string_view text, char32_t& character);

    // Whether the bytes are those of the text: nothing in them was ill-formed or has another form.
    bool is_exact(std::string_view bytes, std::u16string_view text);

  private:
    std::optional<Quorvanix::I18N::ConversionStream> stream_;  // empty: UTF-8
    std::string scratch_;
};

}  // namespace qxre

#endif
