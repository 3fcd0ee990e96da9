// message_lookup.cpp - from a code to its mnemonic, component, texts and identifier.
//
// The module-0 entries are found in an empty context too: they say why a context is empty.
// Tested by tests/util/message_test.cpp.
#include <cstring>

#include <qxut/util/message.h>

#include "util/builtin_tables.h"
#include "util/message_store.h"

namespace qxut {
namespace {

// Whether the code is an entry of a registered module.
bool is_known(const ut_message_context& context, ut_message_code code) {
    const uint32_t module = module_of(code);
    return module <= context.highest_module && context.entry_counts != nullptr &&
           entry_of(code) - 1 < context.entry_counts[module];
}

// Whether the code is one of module 0 that the context itself, being empty, does not know.
bool is_own_of_empty(const ut_message_context& context, ut_message_code code) {
    return context.entry_counts == nullptr && code - 1 < message_context_table.count;
}

}  // namespace

const char* english_text(const ut_message_context& context, ut_message_code code) {
    if (is_own_of_empty(context, code)) return message_context_table.texts[code - 1];
    return is_known(context, code) ? text_in(context.languages[0], code) : nullptr;
}

}  // namespace qxut

using namespace qxut;

const char* ut_get_message_mnemonic(const ut_message_context* context, ut_message_code code) {
    if (is_own_of_empty(*context, code)) return message_context_table.mnemonics[code - 1];
    return is_known(*context, code) ? context->mnemonics[module_of(code)][entry_of(code) - 1]
                                    : nullptr;
}

const char* ut_get_message_component(const ut_message_context* context, ut_message_code code) {
    if (is_own_of_empty(*context, code)) return message_context_table.component;
    return is_known(*context, code) ? context->components[module_of(code)] : nullptr;
}

const char* ut_get_primary_message(const ut_message_context* context, ut_message_code code) {
    return english_text(*context, code);
}

const char* ut_get_message(const ut_message_context* context, ut_message_code code) {
    const char* const translated =
        is_known(*context, code) ? translated_text(*context, code) : nullptr;
    return translated != nullptr ? translated : english_text(*context, code);
}

void ut_make_message_identifier(char* buffer, const ut_message_context* context,
                                ut_message_code code) {
    constexpr char kPrefix[] = "VELUMA:";
    constexpr size_t kPrefixLength = sizeof kPrefix - 1;
    std::memcpy(buffer, kPrefix, kPrefixLength);
    size_t length = kPrefixLength;
    const char* mnemonic = ut_get_message_mnemonic(context, code);
    if (mnemonic == nullptr) mnemonic = "";
    for (; *mnemonic != '\0' && length < UT_MESSAGE_IDENTIFIER_SIZE - 1; ++mnemonic) {
        const char c = *mnemonic;
        buffer[length++] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    buffer[length] = '\0';
}
