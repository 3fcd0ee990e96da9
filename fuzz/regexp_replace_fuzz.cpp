// regexp_replace_fuzz.cpp - any pattern, template and text: the buffer, the stream and the narrow
// form give one result, and replacing every match by itself gives the text back.
//
// Input: a byte of flags, the pattern, a byte 0xFF, the template, a byte 0xFF, the text.
#include <algorithm>
#include <cstdlib>
#include <string>

#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>
#include <qxut/regexp/replace.hpp>
#include <qxut/regexp/tree.hpp>
#include <qxut/system/throwable.hpp>

#include "regexp_input.h"

namespace {

class Collector : public RE_Replace_Writer {
  public:
    void write(const char16_t* text, size_t length) override { result.append(text, length); }
    void replaced(const RE_Replacement& replacement) override {
        if (replacement.result_end != result.size()) std::abort();
        if (replacement.start < end_ || replacement.end < replacement.start) std::abort();
        end_ = replacement.end;
        ++count;
    }
    std::u16string result;
    size_t count = 0;

  private:
    size_t end_ = 0;
};

std::u16string replaced(const RE_Tree& tree, const RE_Replace& replacement,
                        const std::u16string& text, size_t* count) {
    size_t length = text.size();
    size_t capacity = length;
    // Exactly full, so that the sanitizer sees what is beyond.
    auto* buffer = static_cast<char16_t*>(utMalloc(capacity * sizeof(char16_t)));
    text.copy(buffer, length);
    RE_Search_Info info;
    info.limits.steps = 100'000;
    std::u16string result;
    try {
        buffer = replacement.replace(buffer, &length, &capacity, tree, false, count, &info);
        if (length > capacity) std::abort();
        result.assign(buffer, length);
    } catch (...) {
        if (std::u16string(buffer, length) != text) std::abort();
        utFree(buffer);
        throw;
    }
    utFree(buffer);
    return result;
}

bool is_well_formed(const std::u16string& text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if ((text[i] & 0xF800) != 0xD800) continue;
        if ((text[i] & 0x400) != 0 || i + 1 == text.size() || (text[i + 1] & 0xFC00) != 0xDC00) {
            return false;
        }
        ++i;
    }
    return true;
}

void check_narrow(const RE_Tree& tree, const std::u16string& text) {
    std::string bytes(3 * text.size() + 1, 0);
    auto size = static_cast<uint32_t>(bytes.size());
    utf16_to_utf8_n(bytes.data(), &size, text.data(), static_cast<uint32_t>(text.size()));
    bytes.resize(size);
    size_t length = size;
    size_t capacity = size;
    auto* buffer = static_cast<char*>(utMalloc(capacity));
    bytes.copy(buffer, length);
    RE_Search_Info info;
    info.limits.steps = 100'000;
    try {
        buffer =
            RE_Replace(u"$0", 2).replace(buffer, &length, &capacity, tree, false, nullptr, &info);
    } catch (const Quorvanix::System::UserException&) {
        // The limit.
    }
    if (std::string(buffer, length) != bytes || capacity != size) std::abort();
    utFree(buffer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t kLongest = 100;
    if (size == 0) return 0;
    const uint8_t* const end = data + size;
    std::u16string parts[3];
    const uint8_t* begin = data + 1;
    for (std::u16string& part : parts) {
        const uint8_t* const stop = std::find(begin, end, uint8_t{0xFF});
        part = units_of(begin, static_cast<size_t>(stop - begin));
        if (part.size() > kLongest) return 0;
        begin = stop == end ? end : stop + 1;
    }
    const auto& [pattern, replacement_text, text] = parts;
    try {
        const RE_Tree tree(pattern.data(), pattern.size(), RE_Flags(data[0] & 15), nullptr);
        const RE_Replace replacement(replacement_text.data(), replacement_text.size());
        size_t count = 0;
        const std::u16string result = replaced(tree, replacement, text, &count);
        Collector collector;
        size_t streamed = 0;
        replacement.stream(text.data(), text.size(), tree, false, &streamed, collector);
        if (collector.result != result || collector.count != count || streamed != count) {
            std::abort();
        }
        size_t ignored = 0;
        if (replaced(tree, RE_Replace(u"$0", 2), text, &ignored) != text || ignored != count) {
            std::abort();
        }
        if (is_well_formed(text)) check_narrow(tree, text);
    } catch (const Quorvanix::System::UserException&) {
        // A limit, or a repeated flag.
    }
    return 0;
}
