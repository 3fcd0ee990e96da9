// invalid_character_set_exception.cpp - see the header. Tested by
// tests/i18n/thread_converters_test.cpp.
#include <qxut/i18n/invalid_character_set_exception.hpp>

#include <cstdio>

namespace Quorvanix::I18N {
namespace {

constexpr char kPrefix[] = "Unknown character set: ";
constexpr int kLongestName = 100;

struct Text {
    char bytes[sizeof kPrefix + kLongestName];

    explicit Text(const char* name) : bytes{} {
        std::snprintf(bytes, sizeof bytes, "%s%.*s", kPrefix, kLongestName,
                      name == nullptr ? "" : name);
    }
};

}  // namespace

InvalidCharacterSetException::InvalidCharacterSetException(const char* name)
    : UserException(Text(name).bytes) {}

InvalidCharacterSetException::~InvalidCharacterSetException() = default;

const char* InvalidCharacterSetException::className() const noexcept {
    return "InvalidCharacterSetException";
}

const char* InvalidCharacterSetException::name() const noexcept {
    return what() + sizeof kPrefix - 1;
}

}  // namespace Quorvanix::I18N
