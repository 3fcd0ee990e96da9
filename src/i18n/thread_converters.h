// thread_converters.h - the converters that each thread keeps.
#ifndef QXUT_SRC_I18N_THREAD_CONVERTERS_H
#define QXUT_SRC_I18N_THREAD_CONVERTERS_H

#include "i18n/converter.h"

namespace qxut {

// The thread's converter for a name (null: its default encoding), with one use more; null on
// failure. A failure of the default is never that of an unknown name.
Converter* acquire_converter(const char* name, OpenFailure& failure);
// One use more, or less, of a converter that this thread acquired.
void share_converter(Converter* converter);
void release_converter(Converter* converter);

// True when the thread's default encoding is UTF-8 and nothing needs to be opened for it.
bool default_is_utf8();

// See unicode_converter.hpp.
void push_default_converter(const char* name, OpenFailure& failure);
void pop_default_converter();

// A converter in use for the length of a scope.
class ConverterUse {
  public:
    explicit ConverterUse(const char* name) : converter_(acquire_converter(name, failure_)) {}
    ~ConverterUse() {
        if (converter_ != nullptr) release_converter(converter_);
    }
    ConverterUse(const ConverterUse&) = delete;
    ConverterUse& operator=(const ConverterUse&) = delete;

    Converter* get() const { return converter_; }
    OpenFailure failure() const { return failure_; }

  private:
    OpenFailure failure_ = OpenFailure::none;
    Converter* converter_;
};

}  // namespace qxut

#endif
