// translate.cpp - see translate.h. Tested by tests/tools/qxre_test.py.
#include "translate.h"

#include <algorithm>
#include <memory>
#include <new>

#include <qxut/util/heap.h>
#include <qxut/regexp/translate.hpp>

#include "lines.h"
#include "output.h"
#include "text_input.h"
#include "unicode.h"

namespace qxre {
namespace {

using Translation = char16_t* (*)(char16_t* buffer, size_t* length, size_t* capacity);

struct Free {
    void operator()(char16_t* block) const { utFree(block); }
};

void print(Output& output, Translation translate, std::u16string_view text) {
    size_t length = text.size();
    size_t capacity = 2 * length + 1;
    std::unique_ptr<char16_t, Free> buffer(
        static_cast<char16_t*>(utMalloc(capacity * sizeof(char16_t))));
    if (buffer == nullptr) throw std::bad_alloc();
    std::copy_n(text.data(), length, buffer.get());
    char16_t* const translated = translate(buffer.get(), &length, &capacity);
    static_cast<void>(buffer.release());  // which may have been reallocated
    buffer.reset(translated);
    append_utf8(output.text(), {buffer.get(), length});
    output.text() += '\n';
    output.flush_if_full();
}

int translate_all(const std::vector<std::string>& texts, Translation translate) {
    Output output;
    for (const std::string& text : texts) print(output, translate, to_utf16(text));
    if (texts.empty()) {
        TextInput input("-", "UTF-8");
        for (Block block; input.read(block); output.flush()) {
            for (size_t from = 0; from < block.text.size();) {
                const Line line = line_at(block.text, from);
                print(output, translate, block.text.substr(line.begin, line.end - line.begin));
                from = line.next;
            }
        }
    }
    output.flush();
    return 0;
}

}  // namespace

int escape(const std::vector<std::string>& texts) {
    return translate_all(texts, RE_Translate::escape);
}

int wildcard(const std::vector<std::string>& texts) {
    return translate_all(texts, RE_Translate::translateWildcard);
}

}  // namespace qxre
