// context.hpp - what a host lends to its regular expressions: a place for warnings, and an
// evaluator for the dynamic parts.
//
// The default context ignores warnings and permits no evaluation. A host derives from it:
//
//     class Context : public RE_Context {
//         void warn(const char16_t* position, const char* format, va_list arguments) override;
//         bool allow_evaluation() const override { return true; }
//         bool evaluate_string(RE_Evaluation_IO& io) override;
//     };
//
// A context outlives the trees and templates that were made with it, and their matches. A tree may
// be matched from many threads: then its context is called from each of them, unless each search
// brings one of its own (RE_Search_Info).
#ifndef QXUT_REGEXP_CONTEXT_HPP
#define QXUT_REGEXP_CONTEXT_HPP

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include <qxut/regexp/memory.hpp>

// One value that an expression may refer to.
struct RE_Evaluation_Input {
    const char16_t* name = nullptr;  // NUL-terminated; null: the value goes by its number only
    size_t token = 0;                // its token's number; kNoToken for what is no token
    const char16_t* text = nullptr;  // not NUL-terminated; null when it is not set
    size_t length = 0;               // of the text, in UTF-16 units
    size_t start = 0;                // its extent in the text that is searched
    size_t end = 0;
    bool is_set = false;

    static constexpr size_t kNoToken = SIZE_MAX;
};

// The values that an expression sees: the tokens matched so far, or what a template's expression
// names. Valid during the call that it is handed to.
class QXUT_API RE_Evaluation_Inputs : public RE_Memory {
  public:
    RE_Evaluation_Inputs(const RE_Evaluation_Input* inputs, size_t count) noexcept
        : inputs_(inputs), count_(count) {}
    size_t count() const noexcept { return count_; }
    // In order of number; index from 0. Null when there is none.
    const RE_Evaluation_Input* get(size_t index) const noexcept {
        return index < count_ ? inputs_ + index : nullptr;
    }
    // The first set one of that name, else the first of that name, else null.
    const RE_Evaluation_Input* get(const char16_t* name) const noexcept;
    // The token of that number, or null.
    const RE_Evaluation_Input* token(size_t number) const noexcept;

  private:
    const RE_Evaluation_Input* inputs_;
    size_t count_;
};

enum RE_Evaluation_Purpose {
    RE_EVALUATE_EFFECT,     // (?@...): the answer is discarded, a failure fails the path
    RE_EVALUATE_PATTERN,    // (??@...): the answer is the text of a pattern
    RE_EVALUATE_CONDITION,  // (?(?@...)...): the answer is a truth value
    RE_EVALUATE_TEXT,       // ${...} of a template: the answer is text to insert
};

// One question to the host and its answer.
class QXUT_API RE_Evaluation_IO : public RE_Memory {
  public:
    RE_Evaluation_IO(RE_Evaluation_Purpose purpose, const char16_t* expression, size_t length,
                     const RE_Evaluation_Inputs& inputs) noexcept
        : purpose_(purpose), expression_(expression), length_(length), inputs_(inputs) {}
    ~RE_Evaluation_IO();
    RE_Evaluation_IO(const RE_Evaluation_IO&) = delete;
    RE_Evaluation_IO& operator=(const RE_Evaluation_IO&) = delete;

    RE_Evaluation_Purpose purpose() const noexcept { return purpose_; }
    // The expression as it stands in the pattern, in a template with its inputs' names put in.
    const char16_t* expression() const noexcept { return expression_; }
    size_t expression_length() const noexcept { return length_; }
    // What create_fcn made of the expression; null when it made nothing.
    void* function = nullptr;
    const RE_Evaluation_Inputs& inputs() const noexcept { return inputs_; }
    // The text that is searched and where the match stands in it.
    const char16_t* subject = nullptr;
    size_t subject_length = 0;
    size_t position = 0;

    // The answer: a text (copied; throws std::bad_alloc) or a truth value; the last one counts.
    // Asked for a text, a truth value is "1" or "0"; asked for a truth value, a text is true unless
    // it is empty. Without an answer the text is empty and the truth value false.
    void set_text(const char16_t* text, size_t length);
    void set_truth(bool truth) noexcept;

    const char16_t* text() const noexcept;
    size_t text_length() const noexcept;
    bool truth() const noexcept;

  private:
    RE_Evaluation_Purpose purpose_;
    const char16_t* expression_;
    size_t length_;
    const RE_Evaluation_Inputs& inputs_;
    char16_t* text_ = nullptr;
    size_t text_length_ = 0;
    size_t capacity_ = 0;
    enum class Answer : unsigned char { none, text, yes, no } answer_ = Answer::none;
};

class QXUT_API RE_Context : public RE_Memory {
  public:
    RE_Context() noexcept = default;
    RE_Context(const RE_Context&) noexcept = default;
    RE_Context& operator=(const RE_Context&) noexcept = default;
    virtual ~RE_Context();

    // A problem in a pattern or template. `position` points into it: the first character of the
    // construct or the letter at fault. `format` is a printf format whose only conversion is %c,
    // for an int code point; utFormatRegexpWarning fills it in. What it throws ends the
    // compilation.
    virtual void warn(const char16_t* position, const char* format, va_list arguments);

    // A dynamic pattern is about to be parsed, in the middle of a match: the positions of the
    // warnings until the next one is, or until the match ends, point into this text.
    virtual void parse_dynamic(const char16_t* text, size_t length);

    // Whether dynamic expressions may be evaluated; asked when a construct is parsed.
    virtual bool allow_evaluation() const;

    // Prepares an expression that will be evaluated often; null (the default): there is nothing to
    // prepare. Called once for each expression of a tree or template, `inputs` with names but
    // without texts. The result is given back through delete_fcn.
    virtual void* create_fcn(RE_Evaluation_Purpose purpose, const char16_t* expression,
                             size_t length, const RE_Evaluation_Inputs& inputs);
    virtual void delete_fcn(void* function) noexcept;

    // Evaluates. False is a failure: the path of the match fails, a template's piece is empty. An
    // exception or an error raised by code ends the match and passes through.
    virtual bool evaluate_string(RE_Evaluation_IO& io);
};

// Writes a warning as UTF-8 with its NUL into `buffer`, cut between characters where `size` bytes
// do not hold it; returns the bytes that the whole text has, without the NUL. `arguments` is left
// as it was.
extern "C" QXUT_API size_t utFormatRegexpWarning(char* buffer, size_t size, const char* format,
                                                 va_list arguments);

#endif
