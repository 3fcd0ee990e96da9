// expressions.h - the console behind its regular expressions: evaluates their dynamic parts and
// prints their warnings.
//
//     find("2024-11-30", '(\d+)-(\d+)(?(?@number(t2) > 12)(?!))')
//
// In `(?@...)`, `(??@...)` and a condition `(?(?@...)...)` stands an expression of the console, or
// an assignment. It sees the tokens that are set so far, before variables of the same name: t1, t2,
// ... are the texts of the tokens by number, and a named token also goes by its name. A token that
// is not set is the empty text. The value must be one number or text.
#ifndef CONSOLE_EXPRESSIONS_H
#define CONSOLE_EXPRESSIONS_H

#include <qxut/regexp/context.hpp>

#include "machine.h"

namespace console {

class WideText;

class Expressions : public RE_Context {
  public:
    // The pattern (or template) is what warnings point into. Both outlive the context.
    Expressions(Machine& machine, const WideText& pattern) : machine_(machine), pattern_(pattern) {}
    void warn(const char16_t* position, const char* format, va_list arguments) override;
    void parse_dynamic(const char16_t* text, size_t length) override {
        dynamic_ = text;
        dynamic_length_ = length;
    }
    bool allow_evaluation() const override { return true; }
    void* create_fcn(RE_Evaluation_Purpose purpose, const char16_t* expression, size_t length,
                     const RE_Evaluation_Inputs& inputs) override;
    void delete_fcn(void* function) noexcept override;
    bool evaluate_string(RE_Evaluation_IO& io) override;

  private:
    Machine& machine_;
    const WideText& pattern_;
    const char16_t* dynamic_ = nullptr;  // the dynamic pattern parsed last
    size_t dynamic_length_ = 0;
};

}  // namespace console

#endif
