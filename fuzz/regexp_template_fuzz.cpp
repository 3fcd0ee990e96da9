// regexp_template_fuzz.cpp - any replacement template: its warnings and what it builds for a match
// are those of the model, and its dumps come without a fault.
//
// Input: a byte of flags, the template.
#include <cstdlib>

#include <qxut/util/output.h>
#include <qxut/regexp/replace.hpp>

#include "regexp/template_model.h"
#include "regexp_input.h"

namespace {

int swallow(const char* /*text*/, void* /*data*/) { return 1; }

void dump(const RE_Replace& replacement) {
    utPutsFcn puts_fcn = swallow;
    void* data = nullptr;
    utIsHotFcn is_hot = nullptr;
    _error_context* errors = nullptr;
    utSwapVprintfCallbacks(&puts_fcn, &data, &is_hot, &errors);
    replacement.dump();
    utSwapVprintfCallbacks(&puts_fcn, &data, &is_hot, &errors);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t kLongest = 300;
    if (size == 0) return 0;
    const std::u16string text = units_of(data + 1, size - 1);
    if (text.size() > kLongest) return 0;
    const bool allows = (data[0] & RE_EVALUATE) != 0;

    const std::u16string subject = u"<<ab-cd>>";
    RE_Token_Stack tokens(3);
    const auto set = [&](size_t token, const char16_t* name, size_t start, size_t end) {
        tokens.set_start(token, name, start);
        tokens.set_end(token, end);
    };
    set(0, nullptr, 2, 7);
    set(1, u"n", 2, 4);
    set(2, u"matched", 5, 7);

    qxut_test::TextContext context(allows);
    context.set_source(text.data());
    const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
    RE_Replace_Text built;
    replacement.build_replace({subject.data(), subject.size(), &tokens}, built);
    const qxut_test::TemplateModel model(text, allows);
    if (context.warnings != model.warnings) std::abort();
    if (std::u16string(built.text(), built.length()) != model.replacement(subject, tokens)) {
        std::abort();
    }
    dump(replacement);
    if (replacement.graph().rfind("\n\ndigraph regexprep {", 0) != 0) std::abort();
    // Under free spacing only the codes of escapes read otherwise.
    const RE_Replace spaced(text.data(), text.size(), RE_Flags(data[0] & 31), nullptr);
    return 0;
}
