// unicode_converter.cpp - references to a thread's converters; the work is done in
// thread_converters.cpp and converter.cpp. Tested by tests/i18n/thread_converters_test.cpp.
#include <qxut/i18n/unicode_converter.hpp>

#include <utility>

#include "i18n/open_failure.h"
#include "i18n/thread_converters.h"

namespace Quorvanix::I18N {

UnicodeConverterX UnicodeConverterX::getThreadSpecific(const char* name) {
    qxut::OpenFailure failure = qxut::OpenFailure::none;
    qxut::Converter* const converter = qxut::acquire_converter(name, failure);
    if (converter == nullptr) [[unlikely]]
        qxut::throw_open_failure(failure, name);
    return UnicodeConverterX(converter);
}

void UnicodeConverterX::pushTssDefaultConvName(const char* name) {
    qxut::OpenFailure failure = qxut::OpenFailure::none;
    qxut::push_default_converter(name, failure);
    qxut::throw_open_failure(failure, name);
}

void UnicodeConverterX::popTssDefaultConvName() { qxut::pop_default_converter(); }

UnicodeConverterX::UnicodeConverterX(const UnicodeConverterX& other) noexcept
    : converter_(other.converter_) {
    qxut::share_converter(converter_);
}

UnicodeConverterX& UnicodeConverterX::operator=(const UnicodeConverterX& other) noexcept {
    UnicodeConverterX copy(other);
    std::swap(converter_, copy.converter_);
    return *this;
}

UnicodeConverterX::~UnicodeConverterX() { qxut::release_converter(converter_); }

const char* UnicodeConverterX::getName() const {
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_getName(converter_->icu, &error);
}

int32_t UnicodeConverterX::getMaxCharSize() const { return ucnv_getMaxCharSize(converter_->icu); }

int32_t UnicodeConverterX::toUnicode(char16_t* target, int32_t capacity, const char* source,
                                     int32_t length) const {
    UErrorCode error = U_ZERO_ERROR;
    return qxut::convert_to_utf16(*converter_, target, capacity, source, length, error);
}

int32_t UnicodeConverterX::fromUnicode(char* target, int32_t capacity, const char16_t* source,
                                       int32_t length) const {
    UErrorCode error = U_ZERO_ERROR;
    return qxut::convert_from_utf16(*converter_, target, capacity, source, length, error);
}

}  // namespace Quorvanix::I18N
