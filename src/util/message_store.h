// message_store.h - how a message context keeps its modules and languages.
//
// A context owns one block, the store, in which all arrays of its record lie one behind the other:
//
//   reference_counts | mnemonics | components | English ModuleTexts | entry_counts | languages
//   '---------------- one element per module, capacity a multiple of 64 -----------'
//
// One block, because a context is given no way to free: initialisation is then a single request,
// and growing is a single reallocation that either happens or changes nothing. `languages` is
// last, so that room for one more slot than is in use does not move the other arrays.
//
// The language slots end in one without a name. Slot 0 is English, its texts those of the primary
// tables; every further slot owns its name and its array of modules.
#ifndef QXUT_SRC_UTIL_MESSAGE_STORE_H
#define QXUT_SRC_UTIL_MESSAGE_STORE_H

#include <qxut/util/message.h>

namespace qxut {

// A module's texts in one language.
struct ModuleTexts {
    const void* record;  // the table that they come from; null: none
    const char* const* texts;
    uint32_t count;
};

constexpr uint32_t kModuleStep = 64;
// Codes are compared as signed numbers, so that the terminator is told by its sign.
constexpr uint32_t kModuleLimit = 0x8000;

constexpr uint32_t module_of(ut_message_code code) { return code >> 16; }
constexpr uint32_t entry_of(ut_message_code code) { return code & 0xFFFFu; }
constexpr ut_message_code code_of(uint32_t module, uint32_t entry) {
    return module * 65536u + entry;
}

}  // namespace qxut

struct ut_message_language {
    const char* name;  // null in the slot that ends the array
    qxut::ModuleTexts* modules;
    uint32_t capacity;  // elements of `modules`
};

namespace qxut {

inline bool is_registered(const ut_message_context& context, uint32_t module) {
    return module <= context.highest_module && context.reference_counts != nullptr &&
           context.reference_counts[module] != 0;
}

// The text of a code in a language; null where the language has none.
inline const char* text_in(const ut_message_language& language, ut_message_code code) {
    const uint32_t module = module_of(code);
    if (module >= language.capacity) return nullptr;
    const ModuleTexts& texts = language.modules[module];
    const uint32_t index = entry_of(code) - 1;
    return index < texts.count ? texts.texts[index] : nullptr;
}

// The text of a code in the current language; null where that is English or has none.
inline const char* translated_text(const ut_message_context& context, ut_message_code code) {
    if (context.current_language == 0 || context.languages == nullptr) return nullptr;
    return text_in(context.languages[context.current_language], code);
}

// The English text of a code, or null. The texts of module 0 are there in an empty context too.
const char* english_text(const ut_message_context& context, ut_message_code code);

}  // namespace qxut

#endif
