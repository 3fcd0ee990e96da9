// exception.cpp - the class RE_Exception; failure.cpp throws it.
#include <qxut/regexp/exception.hpp>

RE_Exception::RE_Exception(const char* text, ut_message_code code, const char* identifier,
                           uint64_t limit, size_t position)
    : UserException(text, code, identifier), limit_(limit), position_(position) {}

RE_Exception::~RE_Exception() = default;

const char* RE_Exception::className() const noexcept { return "RE_Exception"; }
