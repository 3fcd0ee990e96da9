// encodings.cpp - see encodings.h. Tested by tests/console (encodings).
#include "encodings.h"

#include <filesystem>
#include <system_error>

#include <qxut/i18n/classification.h>
#include <qxut/util/interrupt.h>
#include <qxut/i18n/utf8_string.hpp>

#include "guard.h"
#include "machine.h"
#include "messages.h"
#include "text_file.h"

namespace console {
namespace {

using Quorvanix::I18N::ConversionStream;
using Quorvanix::I18N::Utf8String;

const char* need_text(const Value& value, const Function& self) {
    if (value.kind != Kind::text || value.is_vector) raise(Message::needs_text, self.name);
    return text_of(value.text);
}

const char* class_of(char32_t c) {
    constexpr struct {
        int (*test)(int32_t);
        const char* name;
    } kClasses[] = {{qxu_isupper, "upper"},   {qxu_islower, "lower"}, {qxu_isalpha, "letter"},
                    {qxu_isdigit, "digit"},   {qxu_isspace, "space"}, {qxu_ispunct, "punctuation"},
                    {qxu_iscntrl, "control"}, {qxu_isgraph, "symbol"}};
    for (const auto& entry : kClasses) {
        if (entry.test(static_cast<int32_t>(c)) != 0) return entry.name;
    }
    return "other";
}

// A file that is being written in some encoding.
struct EncodedFile {
    std::FILE* file = nullptr;
    void clear() {
        if (file != nullptr) std::fclose(file);
        file = nullptr;
    }
};

ConversionStream converter_to(const char* encoding) {
    try {
        return ConversionStream("UTF-8", encoding);
    } catch (const Quorvanix::I18N::InvalidCharacterSetException&) {
        raise(Message::unknown_encoding, encoding);
    }
}

}  // namespace

void run_detect(Machine& machine, const Function& self, size_t) {
    Array<char> path;
    const Guard free_path(path);
    machine.resolve(need_text(machine.top(), self), path);
    TextFile file;
    const Guard close_file(file);
    file.open(path.begin());
    machine.push(Value::of(text_code(file.encoding().name.c_str())));
}

void run_classify(Machine& machine, const Function& self, size_t) {
    const Utf8String text = Utf8String::repaired(need_text(machine.top(), self));
    TextCode* classes = machine.push_texts(text.length());
    for (const char32_t c : text) *classes++ = text_code(class_of(c));
}

void convert_file(const char* from, const char* to, const char* name, const char* encoding) {
    ConversionStream converter = converter_to(encoding);
    TextFile source;
    const Guard close_source(source);
    source.open(from);
    std::error_code ignored;
    if (std::filesystem::equivalent(from, to, ignored)) raise(Message::file_unreadable, name);
    EncodedFile target;
    const Guard close_target(target);
    target.file = std::fopen(to, "wb");
    if (target.file == nullptr) raise(Message::file_unreadable, name);
    char text[4096];
    char bytes[8192];
    ConversionStream::Step step{ConversionStream::Status::more_source, 0, 0};
    while (step.status != ConversionStream::Status::finished) {
        utPollInterrupt(utGetErrorContext());
        const size_t size = source.read(text, sizeof text);
        size_t taken = 0;
        do {
            step = converter.convert(text + taken, size - taken, size == 0, bytes, sizeof bytes);
            taken += step.read;
            if (std::fwrite(bytes, 1, step.written, target.file) != step.written)
                raise(Message::file_unreadable, name);
        } while (step.status == ConversionStream::Status::more_target);
    }
    std::FILE* const written = target.file;
    target.file = nullptr;
    if (std::fclose(written) != 0) raise(Message::file_unreadable, name);
    const ConversionStream::Account account = converter.account();
    say(Message::converted, name, source.encoding().name.c_str(), encoding,
        static_cast<size_t>(account.written), static_cast<size_t>(account.substituted));
}

}  // namespace console
