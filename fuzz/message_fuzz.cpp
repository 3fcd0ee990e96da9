// message_fuzz.cpp - texts of a message table: an English one, a NUL, a translated one.
//
// What registration accepts is formatted with arguments of the types that the English text asks
// for, and compared with snprintf; the translation, when it is accepted too, is formatted with
// the same arguments and must print each of them once. Texts that registration lets through by
// mistake show as reads of arguments that are not there.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <qxut/util/message.h>

namespace {

constexpr ut_message_code kCode = 9 * 65536 + 1;
constexpr size_t kMostArguments = 4;
constexpr size_t kLargestText = 100000;

enum class Kind { word, long_word, pointer, number, long_number, callback };

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "message_fuzz: %s\n", what);
    std::abort();
}

int append(void* text, const char* piece, int32_t length) {
    if (length <= 0) fail("an empty piece");
    static_cast<std::string*>(text)->append(piece, static_cast<size_t>(length));
    return length;
}

int print_callback(ut_writer writer, void* stream, ut_arguments* /*arguments*/) {
    return writer(stream, "<U>", 3);
}

// What the conversions of an accepted text take. Written apart from the library's parser.
struct Arguments {
    std::vector<Kind> kinds;
    bool comparable = true;  // with snprintf
    bool too_large = false;
};

Kind kind_of(char letter, const std::string& between) {
    const bool is_long = between.find_first_of("lzjt") != std::string::npos;
    switch (letter) {
        case 's':
        case 'p':
        case 'n':
            return Kind::pointer;
        case 'U':
            return Kind::callback;
        case 'f':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
            return between.find('L') != std::string::npos ? Kind::long_number : Kind::number;
        case 'c':
            return Kind::word;
        default:
            return is_long ? Kind::long_word : Kind::word;
    }
}

Arguments arguments_of(const std::string& text) {
    Arguments arguments;
    for (size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at)) {
        const size_t letter = text.find_first_of("diuoxXfeEgGcspn%U", at + 1);
        if (letter == std::string::npos) fail("accepted a stranded %");
        const std::string between = text.substr(at + 1, letter - at - 1);
        at = letter + 1;
        if (text[letter] == '%') continue;
        arguments.kinds.push_back(kind_of(text[letter], between));
        if (text[letter] == 'n' || text[letter] == 'U') arguments.comparable = false;
        size_t digits = 0;
        for (const char c : between) {
            digits = c >= '0' && c <= '9' ? digits + 1 : 0;
            if (digits > 4) arguments.too_large = true;
        }
    }
    return arguments;
}

struct Subject {
    ut_message_context* context;
    const char* english;
    bool comparable;
};

template <class... Values>
void print(const Subject& subject, Values... values) {
    int32_t status = 0;
    ut_change_language(&status, subject.context, "English");
    std::string text;
    const int result = ut_printm(subject.context, append, &text, kCode, values...);
    if (result >= 0 && static_cast<size_t>(result) != text.size()) fail("wrong length");
    if (subject.comparable) {
        std::vector<char> expected(kLargestText);
        // One argument too many, so that there always is one.
        const int length =
            std::snprintf(expected.data(), expected.size(), subject.english, values..., 0);
        if ((length < 0) != (result < 0)) fail("success differs from snprintf's");
        if (length >= 0 && static_cast<size_t>(length) < expected.size() &&
            text != std::string(expected.data(), static_cast<size_t>(length)))
            fail("text differs from snprintf's");
    }
    char buffer[8];
    const int stored = ut_sprintm(subject.context, buffer, sizeof buffer, kCode, values...);
    if (result >= 0 && text.compare(0, sizeof buffer - 1, buffer, static_cast<size_t>(stored)) != 0)
        fail("cut text differs");

    ut_change_language(&status, subject.context, "xx");
    if (status != 0) return;
    std::string translated;
    ut_printm(subject.context, append, &translated, kCode, values...);
}

// Calls print with one value for each kind.
template <class... Values>
void dispatch(const Subject& subject, const std::vector<Kind>& kinds, Values... values) {
    if (sizeof...(values) == kinds.size()) return print(subject, values...);
    if constexpr (sizeof...(values) < kMostArguments) {
        alignas(16) static char bytes[16];
        std::strcpy(bytes, "text");
        switch (kinds[sizeof...(values)]) {
            case Kind::word:
                return dispatch(subject, kinds, values..., -66);
            case Kind::long_word:
                return dispatch(subject, kinds, values..., -5000000000L);
            case Kind::pointer:
                return dispatch(subject, kinds, values..., static_cast<void*>(bytes));
            case Kind::number:
                return dispatch(subject, kinds, values..., 1234.5678);
            case Kind::long_number:
                return dispatch(subject, kinds, values..., 1.0e30L / 3);
            case Kind::callback:
                return dispatch(subject, kinds, values..., ut_message_formatter{print_callback});
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string english = input.c_str();
    const std::string translated =
        english.size() < size ? input.substr(english.size() + 1).c_str() : "";

    const ut_message_code codes[] = {kCode, UT_MESSAGE_CODES_END};
    const char* const mnemonics[] = {"FUZZED"};
    const char* const texts[] = {english.c_str()};
    const ut_message_table table = {1, 9, codes, mnemonics, texts, "fuzz"};
    const char* const translations[] = {translated.c_str()};
    const ut_translated_table module = {9, 1, translations};
    const ut_language_tables language = {1, &module};

    ut_message_context context;
    int32_t status = 0;
    ut_initialize_message_context(&status, &context, std::malloc, std::realloc);
    ut_add_primary_message_table(&status, &context, &table, std::realloc);
    if (status == 0) {
        const Arguments arguments = arguments_of(english);
        ut_add_language(&status, &context, "xx", &language, std::realloc);
        if (!arguments.too_large && arguments.kinds.size() <= kMostArguments)
            dispatch({&context, english.c_str(), arguments.comparable}, arguments.kinds);
    }
    ut_clear_message_context(&context, std::free);
    return 0;
}
