/* expressions.cpp - a host that answers the dynamic expressions of its regular expressions; what
 * docs/embedding.md says of them is taken from here. Reads texts from standard input, a line each.
 */
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <qxut/i18n/conversion.h>
#include <qxut/regexp/context.hpp>
#include <qxut/regexp/tree.hpp>
#include <qxut/system/throwable.hpp>

namespace {

using Quorvanix::System::UserException;

/* The number that a token spells; 0 where it is not set. */
int number(const RE_Evaluation_Input* token) {
    int value = 0;
    for (size_t i = 0; token != nullptr && token->is_set && i < token->length && value < 100000;
         ++i)
        value = 10 * value + (token->text[i] - u'0');
    return value;
}

int days_of_month(int year, int month) {
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    const bool is_leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return month == 2 && is_leap ? 29 : kDays[month - 1];
}

class Host : public RE_Context {
  public:
    Host(const char16_t* pattern, size_t length) : pattern_(pattern), length_(length) {}

    bool allow_evaluation() const override { return true; }

    bool evaluate_string(RE_Evaluation_IO& io) override {
        const std::u16string_view expression(io.expression(), io.expression_length());
        const RE_Evaluation_Inputs& tokens = io.inputs();
        if (expression == u"day_exists") {
            const int day = number(tokens.get(u"day"));
            io.set_truth(day >= 1 && day <= days_of_month(number(tokens.get(u"year")),
                                                          number(tokens.get(u"month"))));
            return true;
        }
        if (expression == u"that_many") {
            const std::string text = ".{" + std::to_string(number(tokens.token(1))) + "}";
            const std::u16string pattern(text.begin(), text.end());
            io.set_text(pattern.data(), pattern.size());
            return true;
        }
        throw UserException("No such function.");
    }

    void warn(const char16_t* position, const char* format, va_list arguments) override {
        char text[200];
        utFormatRegexpWarning(text, sizeof text, format, arguments);
        std::printf("%s\n", text);
        if (position < pattern_ || position > pattern_ + length_) return;
        char line[200];
        uint32_t capacity = sizeof line - 1;
        line[utf16_to_utf8_n(line, &capacity, pattern_, static_cast<uint32_t>(length_))] = '\0';
        std::printf("  %s\n  %*s\n", line, static_cast<int>(position - pattern_) + 1, "^");
    }

  private:
    const char16_t* pattern_;
    size_t length_;
};

struct Rule {
    const char* what;
    std::u16string_view pattern;
};

constexpr Rule kRules[] = {
    {"a date", u"(?<year>\\d{4})-(?<month>\\d\\d)-(?<day>\\d\\d)(?(?@day_exists)|(?!))"},
    {"a counted text", u"(\\d+):((??@that_many)),"},
    {"a slip", u"[a-](?@no_such_function)\\q"},
};

/* Prints every match of a rule in a text. */
void apply(const Rule& rule, const char16_t* text, size_t length) {
    Host host(rule.pattern.data(), rule.pattern.size());
    try {
        const RE_Tree tree(rule.pattern.data(), rule.pattern.size(), RE_EVALUATE, &host);
        const std::unique_ptr<RE_Results> found{tree.match(text, length, 0)};
        for (bool more = found != nullptr; more; more = found->next())
            std::printf("%s: [%zu,%zu]\n", rule.what, found->start(), found->end());
    } catch (const UserException& problem) {
        std::printf("%s\n", problem.what());
    }
}

}  // namespace

int main() {
    char line[200];
    while (std::fgets(line, sizeof line, stdin) != nullptr) {
        line[std::strcspn(line, "\n")] = '\0';
        char16_t text[200];
        uint32_t length = 200;
        utf8_to_utf16_n(text, &length, line, static_cast<uint32_t>(std::strlen(line)));
        std::printf("> %s\n", line);
        for (const Rule& rule : kRules) apply(rule, text, length);
    }
    return 0;
}
