// patterns.cpp - see patterns.h. Tested by tests/console (patterns).
//
// The library's regular expressions throw exceptions; here they become errors of the statement, as
// what is raised by an expression inside a pattern is one already. Everything that is held while a
// match runs has a destructor or a guard.
#include "patterns.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include <qxut/regexp/replace.hpp>
#include <qxut/regexp/tree.hpp>
#include <qxut/system/mediator.hpp>

#include "expressions.h"
#include "guard.h"
#include "machine.h"
#include "messages.h"
#include "wide_text.h"

namespace console {
namespace {

// Calls body(tree) with the compiled pattern that is `depth` places below the top.
template <class Body>
void with_pattern(Machine& machine, const Function& self, size_t depth, Body body) {
    const Value& value = machine.top(depth);
    if (value.kind != Kind::text || value.is_vector) raise(Message::needs_text, self.name);
    WideText pattern;
    const Guard free_pattern(pattern);
    pattern.set(text_of(value.text));
    Expressions context(machine, pattern);
    Quorvanix::System::raiseExceptions(utGetErrorContext(), [&] {
        const RE_Tree tree(pattern.begin(), pattern.length(), RE_EVALUATE, &context);
        body(tree);
    });
}

const Value& need_texts(const Value& value, const Function& self) {
    if (value.kind != Kind::text) raise(Message::needs_texts, self.name);
    return value;
}

const Value& need_one_text(const Value& value, const Function& self) {
    if (value.kind != Kind::text || value.is_vector) raise(Message::needs_text, self.name);
    return value;
}

using Results = std::unique_ptr<RE_Results>;

Results first_match(const RE_Tree& tree, const WideText& text) {
    return Results(tree.match(text.begin(), text.length(), 0));
}

// Calls store(i, result or null, text) for the first match in each of the texts.
template <class Store>
void match_each(const RE_Tree& tree, const Value& texts, Store store) {
    WideText text;
    const Guard free_text(text);
    const size_t count = texts.count();
    in_blocks(count, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            text.set(text_of(texts.texts()[i]));
            const Results found = first_match(tree, text);
            store(i, found.get(), text);
        }
    });
}

TextCode token_text(const RE_Results* found, size_t token, Array<char>& scratch) {
    size_t length = 0;
    const char16_t* text = found == nullptr ? nullptr : found->text(token, &length);
    return text == nullptr ? kEmptyText : wide_text_code(text, length, scratch);
}

// Pushes the texts that were collected.
void push_texts(Machine& machine, const Array<TextCode>& texts) {
    TextCode* result = machine.push_texts(texts.size());
    for (size_t i = 0; i < texts.size(); ++i) result[i] = texts[i];
}

// The tokens of one text's first match; none without a match.
void push_all_tokens(Machine& machine, const Function& self) {
    Array<TextCode> texts;
    const Guard free_texts(texts);
    Array<char> scratch;
    const Guard free_scratch(scratch);
    with_pattern(machine, self, 0, [&](const RE_Tree& tree) {
        match_each(tree, need_one_text(machine.top(1), self),
                   [&](size_t, const RE_Results* found, const WideText&) {
                       const size_t count = found == nullptr ? 0 : found->tokens().count();
                       for (size_t i = 1; i <= count; ++i)
                           texts.push(token_text(found, i, scratch));
                   });
    });
    push_texts(machine, texts);
}

// The result of a replacement.
class Replaced : public RE_Replace_Writer {
  public:
    void write(const char16_t* text, size_t length) override {
        const size_t before = units_.size();
        units_.resize(before + length);
        std::copy_n(text, length, units_.begin() + before);
    }
    // Its code; the next result begins empty.
    TextCode take(Array<char>& scratch) {
        const TextCode code = wide_text_code(units_.begin(), units_.size(), scratch);
        units_.resize(0);
        return code;
    }
    void clear() { units_.clear(); }

  private:
    Array<char16_t> units_;
};

size_t token_number(const Value& value, const Function& self) {
    need_numbers(value, self.name);
    constexpr double kMost = 1e9;
    const double number = value.is_vector ? -1 : value.number;
    if (!(number >= 0 && number <= kMost && number == std::floor(number)))
        raise(Message::not_whole, self.name, NumberText(number).text);
    return static_cast<size_t>(number);
}

}  // namespace

void run_find(Machine& machine, const Function& self, size_t) {
    const Value& texts = need_texts(machine.top(1), self);
    const auto place = [](const RE_Results* found, const WideText& text) {
        return found == nullptr
                   ? 0.0
                   : static_cast<double>(count_characters(text.begin(), found->start()) + 1);
    };
    if (!texts.is_vector) {
        double result = 0;
        with_pattern(machine, self, 0, [&](const RE_Tree& tree) {
            match_each(tree, texts, [&](size_t, const RE_Results* found, const WideText& text) {
                result = place(found, text);
            });
        });
        return machine.push(Value::of(result));
    }
    Array<double> places;
    const Guard free_places(places);
    places.resize(texts.count());
    with_pattern(machine, self, 0, [&](const RE_Tree& tree) {
        match_each(tree, texts, [&](size_t i, const RE_Results* found, const WideText& text) {
            places[i] = place(found, text);
        });
    });
    double* result = machine.push_numbers(places.size());
    for (const double one : places) *result++ = one;
}

void run_matches(Machine& machine, const Function& self, size_t) {
    WideText text;
    const Guard free_text(text);
    text.set(text_of(need_one_text(machine.top(1), self).text));
    Array<TextCode> texts;
    const Guard free_texts(texts);
    Array<char> scratch;
    const Guard free_scratch(scratch);
    with_pattern(machine, self, 0, [&](const RE_Tree& tree) {
        const Results found = first_match(tree, text);
        for (bool more = found != nullptr; more; more = found->next()) {
            texts.push(token_text(found.get(), 0, scratch));
            utPollInterrupt(utGetErrorContext());
        }
    });
    push_texts(machine, texts);
}

void run_tokens(Machine& machine, const Function& self, size_t count) {
    if (count == 2) return push_all_tokens(machine, self);
    const size_t token = token_number(machine.top(0), self);
    const Value& from = need_texts(machine.top(2), self);
    Array<TextCode> texts;
    const Guard free_texts(texts);
    texts.resize(from.count());
    Array<char> scratch;
    const Guard free_scratch(scratch);
    with_pattern(machine, self, 1, [&](const RE_Tree& tree) {
        match_each(tree, from, [&](size_t i, const RE_Results* found, const WideText&) {
            texts[i] = token_text(found, token, scratch);
        });
    });
    if (!from.is_vector) return machine.push(Value::of(texts[0]));
    push_texts(machine, texts);
}

void run_replace(Machine& machine, const Function& self, size_t) {
    const Value& from = need_texts(machine.top(2), self);
    WideText replacement;
    const Guard free_replacement(replacement);
    replacement.set(text_of(need_one_text(machine.top(0), self).text));
    Expressions context(machine, replacement);
    WideText text;
    const Guard free_text(text);
    Replaced result;
    const Guard free_result(result);
    Array<char> scratch;
    const Guard free_scratch(scratch);
    Array<TextCode> texts;
    const Guard free_texts(texts);
    texts.resize(from.count());
    with_pattern(machine, self, 1, [&](const RE_Tree& tree) {
        const RE_Replace build(replacement.begin(), replacement.length(), RE_EVALUATE, &context);
        in_blocks(from.count(), [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i) {
                text.set(text_of(from.texts()[i]));
                build.stream(text.begin(), text.length(), tree, false, nullptr, result);
                texts[i] = result.take(scratch);
            }
        });
    });
    if (!from.is_vector) return machine.push(Value::of(texts[0]));
    push_texts(machine, texts);
}

}  // namespace console
