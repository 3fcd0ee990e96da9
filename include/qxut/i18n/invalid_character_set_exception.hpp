// invalid_character_set_exception.hpp - an encoding name that cannot be opened.
#ifndef QXUT_I18N_INVALID_CHARACTER_SET_EXCEPTION_HPP
#define QXUT_I18N_INVALID_CHARACTER_SET_EXCEPTION_HPP

#include <exception>

#include <qxut/util/export.h>

namespace Quorvanix::I18N {

// what() is "Unknown character set: " and the name, cut after 100 bytes. Copies share nothing and
// allocate nothing.
class QXUT_API InvalidCharacterSetException : public std::exception {
  public:
    explicit InvalidCharacterSetException(const char* name) noexcept;
    InvalidCharacterSetException(const InvalidCharacterSetException&) noexcept;
    InvalidCharacterSetException& operator=(const InvalidCharacterSetException&) noexcept;
    ~InvalidCharacterSetException() override;

    const char* what() const noexcept override;
    // The name, cut as in the message.
    const char* name() const noexcept;

  private:
    static constexpr int kPrefixLength = 23;
    static constexpr int kLongestName = 100;
    char text_[kPrefixLength + kLongestName + 1];
};

}  // namespace Quorvanix::I18N

#endif
