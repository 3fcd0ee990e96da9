// invalid_character_set_exception.hpp - an encoding name that cannot be opened.
#ifndef QXUT_I18N_INVALID_CHARACTER_SET_EXCEPTION_HPP
#define QXUT_I18N_INVALID_CHARACTER_SET_EXCEPTION_HPP

#include <qxut/system/throwable.hpp>

namespace Quorvanix::I18N {

// The text is "Unknown character set: " and the name, cut after 100 bytes.
class QXUT_API InvalidCharacterSetException : public Quorvanix::System::UserException {
  public:
    // Null counts as empty. Throws std::bad_alloc when there is no memory.
    explicit InvalidCharacterSetException(const char* name);
    InvalidCharacterSetException(const InvalidCharacterSetException&) noexcept = default;
    InvalidCharacterSetException& operator=(const InvalidCharacterSetException&) noexcept = default;
    ~InvalidCharacterSetException() override;

    const char* className() const noexcept override;
    // The name, cut as in the text; lives as long as the exception or a copy of it.
    const char* name() const noexcept;
};

}  // namespace Quorvanix::I18N

#endif
