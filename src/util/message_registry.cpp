// message_registry.cpp - a message context's modules and languages: adding, checking, dropping.
//
// Every change checks first, then gets all the memory it may need, then stores; nothing can fail
// any more while it stores, so a failure leaves what the context knows as it was. Memory that was
// got before a later request failed stays where the next attempt finds it: as spare capacity, or
// in the slot that ends the language array.
//
// Entry points: ut_initialize_message_context, ut_add_primary_message_table, ut_add_language.
// Tested by tests/util/message_test.cpp.
#include <cstring>

#include <qxut/util/message.h>

#include "util/builtin_tables.h"
#include "util/message_check.h"
#include "util/message_format.h"
#include "util/message_scratch.h"
#include "util/message_store.h"

namespace qxut {
namespace {

constexpr char kEnglish[] = "English";

// --- the store ---------------------------------------------------------------------------

// Room for this many modules, never less than one step.
uint32_t capacity_for(uint32_t highest_module) {
    return (highest_module / kModuleStep + 1) * kModuleStep;
}

uint32_t language_count(const ut_message_context& context) {
    uint32_t count = 0;
    while (context.languages[count].name != nullptr) ++count;
    return count;
}

size_t store_size(uint32_t modules, uint32_t languages) {
    return size_t{modules} *
               (sizeof(uint64_t) + 2 * sizeof(void*) + sizeof(ModuleTexts) + sizeof(uint32_t)) +
           (size_t{languages} + 1) * sizeof(ut_message_language);
}

// Hands out the store's arrays in their order.
class Layout {
  public:
    explicit Layout(void* store) : next_(static_cast<char*>(store)) {}
    template <class T>
    T* place(size_t count) {
        char* const array = next_;
        next_ += count * sizeof(T);
        return reinterpret_cast<T*>(array);
    }

  private:
    char* next_;
};

void set_arrays(ut_message_context& context, void* store, uint32_t modules) {
    Layout layout(store);
    context.reference_counts = layout.place<uint64_t>(modules);
    context.mnemonics = layout.place<const char* const*>(modules);
    context.components = layout.place<const char*>(modules);
    auto* const english = layout.place<ModuleTexts>(modules);
    context.entry_counts = layout.place<uint32_t>(modules);
    context.languages = layout.place<ut_message_language>(0);
    context.languages[0].modules = english;
    context.languages[0].capacity = modules;
}

// Moves an array of a grown store to its new place and clears the elements that are new.
template <class T>
void move_array(T* to, const void* from, size_t old_count, size_t new_count) {
    if (old_count != 0) std::memmove(static_cast<void*>(to), from, old_count * sizeof(T));
    std::memset(static_cast<void*>(to + old_count), 0, (new_count - old_count) * sizeof(T));
}

// Grows the store to this many modules and named languages. Neither may be fewer than now.
bool grow_store(ut_message_context& context, uint32_t modules, uint32_t languages,
                ut_realloc_fcn reallocate) {
    const uint32_t old_modules = capacity_for(context.highest_module);
    const uint32_t old_languages = language_count(context);
    if (modules == old_modules && languages == old_languages) return true;
    void* const store = reallocate(context.reference_counts, store_size(modules, languages));
    if (store == nullptr) return false;

    Layout old(store);
    const void* const counts = old.place<uint64_t>(old_modules);
    const void* const mnemonics = old.place<const char* const*>(old_modules);
    const void* const components = old.place<const char*>(old_modules);
    const void* const english = old.place<ModuleTexts>(old_modules);
    const void* const entries = old.place<uint32_t>(old_modules);
    const void* const slots = old.place<ut_message_language>(0);

    // Arrays move up, so the last one goes first.
    Layout now(store);
    auto* const new_counts = now.place<uint64_t>(modules);
    auto* const new_mnemonics = now.place<const char* const*>(modules);
    auto* const new_components = now.place<const char*>(modules);
    auto* const new_english = now.place<ModuleTexts>(modules);
    auto* const new_entries = now.place<uint32_t>(modules);
    auto* const new_slots = now.place<ut_message_language>(0);
    move_array(new_slots, slots, size_t{old_languages} + 1, size_t{languages} + 1);
    move_array(new_entries, entries, old_modules, modules);
    move_array(new_english, english, old_modules, modules);
    move_array(new_components, components, old_modules, modules);
    move_array(new_mnemonics, mnemonics, old_modules, modules);
    move_array(new_counts, counts, old_modules, modules);
    set_arrays(context, store, modules);
    return true;
}

// --- checks ------------------------------------------------------------------------------

struct Result {
    int32_t status;
    ut_message_code position;
};

constexpr Result kSuccess{UT_MESSAGE_OK, 0};

// A context that was never initialised, that got no memory when it was, or that was cleared.
bool is_empty(const ut_message_context& context) { return context.languages == nullptr; }

bool is_terminator(ut_message_code code) { return static_cast<int32_t>(code) < 0; }

Result check_codes(const ut_message_table& table) {
    for (uint32_t i = 0; i < table.count; ++i) {
        const ut_message_code position = code_of(table.module, i + 1);
        if (is_terminator(table.codes[i])) return {UT_TOO_FEW_STRINGS, position};
        const bool possible = i < 0xFFFFu && table.module < kModuleLimit;
        if (!possible || table.codes[i] != position) return {UT_WRONG_CODE, position};
    }
    if (!is_terminator(table.codes[table.count]))
        return {UT_TOO_MANY_STRINGS, code_of(table.module, table.count + 1)};
    return kSuccess;
}

// Checks every English text; `holes` becomes the largest number of holes of one.
Result check_texts(const ut_message_table& table, uint32_t& holes) {
    holes = 0;
    for (uint32_t i = 0; i < table.count; ++i) {
        uint32_t own = 0;
        const int32_t status = check_english_text(table.texts[i], own);
        if (status != UT_MESSAGE_OK) return {status, code_of(table.module, i + 1)};
        if (own > holes) holes = own;
    }
    return kSuccess;
}

// Checks translated texts against their English counterparts, which are known to be right.
Result check_translation(uint32_t module, const char* const* english, uint32_t english_count,
                         const char* const* translated, uint32_t translated_count) {
    for (uint32_t i = 0; i < translated_count; ++i) {
        uint32_t holes = 0;
        if (i < english_count) check_english_text(english[i], holes);
        const int32_t status = check_translated_text(translated[i], holes);
        if (status != UT_MESSAGE_OK) return {status, code_of(module, i + 1)};
    }
    return kSuccess;
}

Result check_languages(const ut_message_context& context, const ut_message_table& table) {
    for (uint32_t i = 1; context.languages[i].name != nullptr; ++i) {
        const ut_message_language& language = context.languages[i];
        if (table.module >= language.capacity) continue;
        const ModuleTexts& texts = language.modules[table.module];
        const Result result =
            check_translation(table.module, table.texts, table.count, texts.texts, texts.count);
        if (result.status != UT_MESSAGE_OK) return result;
    }
    return kSuccess;
}

// --- registration ------------------------------------------------------------------------

Result register_table(ut_message_context& context, const ut_message_table& table,
                      ut_realloc_fcn reallocate) {
    const uint32_t module = table.module;
    if (is_empty(context)) return {UT_NO_MEMORY_FOR_MESSAGE_CONTEXT, code_of(module, 0)};
    if (is_registered(context, module)) {
        if (context.entry_counts[module] != table.count)
            return {UT_MSG_MODULE_COUNT_MISMATCH, code_of(module, 0)};
        if (context.languages[0].modules[module].record != &table)
            return {UT_MSG_MODULE_TABLE_MISMATCH, code_of(module, 0)};
        ++context.reference_counts[module];
        return kSuccess;
    }
    uint32_t holes = 0;
    Result result = check_codes(table);
    if (result.status == UT_MESSAGE_OK) result = check_texts(table, holes);
    if (result.status == UT_MESSAGE_OK && module >= kModuleLimit)  // a table without entries
        result = {UT_WRONG_CODE, code_of(module, 0)};
    if (result.status == UT_MESSAGE_OK) result = check_languages(context, table);
    if (result.status != UT_MESSAGE_OK) return result;

    const uint32_t highest = module > context.highest_module ? module : context.highest_module;
    if (!reserve_slots(context, holes, reallocate) ||
        !grow_store(context, capacity_for(highest), language_count(context), reallocate))
        return {UT_NO_MEMORY_FOR_MESSAGE_CONTEXT, code_of(module, 0)};

    context.highest_module = highest;
    context.entry_counts[module] = table.count;
    context.reference_counts[module] = 1;
    context.mnemonics[module] = table.mnemonics;
    context.components[module] = table.component;
    context.languages[0].modules[module] = {&table, table.texts, table.count};
    return kSuccess;
}

int32_t unregister_table(ut_message_context& context, const ut_message_table& table) {
    const uint32_t module = table.module;
    if (!is_registered(context, module)) return UT_BAD_MSG_CODE;
    ModuleTexts& english = context.languages[0].modules[module];
    if (english.record != &table) return UT_MSG_MODULE_TABLE_MISMATCH;
    if (--context.reference_counts[module] != 0) return UT_MESSAGE_OK;
    // The highest module stays, since it tells the size of the store.
    context.entry_counts[module] = 0;
    context.mnemonics[module] = nullptr;
    context.components[module] = nullptr;
    english = {};
    return UT_MESSAGE_OK;
}

// --- languages ---------------------------------------------------------------------------

// Index of a language, or of the slot that ends the array.
uint32_t find_language(const ut_message_context& context, const char* name) {
    uint32_t index = 0;
    while (context.languages[index].name != nullptr &&
           std::strcmp(context.languages[index].name, name) != 0)
        ++index;
    return index;
}

Result check_language(const ut_message_context& context, const ut_language_tables& tables) {
    for (uint32_t i = 0; i < tables.count; ++i) {
        const ut_translated_table& table = tables.tables[i];
        if (table.module >= kModuleLimit) return {UT_WRONG_CODE, code_of(table.module, 0)};
        if (!is_registered(context, table.module)) continue;
        const ModuleTexts& english = context.languages[0].modules[table.module];
        const Result result =
            check_translation(table.module, english.texts, english.count, table.texts, table.count);
        if (result.status != UT_MESSAGE_OK) return result;
    }
    return kSuccess;
}

bool grow_language(ut_message_language& language, uint32_t capacity, ut_realloc_fcn reallocate) {
    if (capacity <= language.capacity) return true;
    auto* const modules = static_cast<ModuleTexts*>(
        reallocate(language.modules, size_t{capacity} * sizeof(ModuleTexts)));
    if (modules == nullptr) return false;
    std::memset(modules + language.capacity, 0,
                (capacity - language.capacity) * sizeof(ModuleTexts));
    language.modules = modules;
    language.capacity = capacity;
    return true;
}

Result add_language(ut_message_context& context, const char* name, const ut_language_tables& tables,
                    ut_realloc_fcn reallocate) {
    constexpr Result kNoMemory{UT_NO_MEMORY_FOR_MESSAGE_CONTEXT, 0};
    if (is_empty(context)) return kNoMemory;
    const uint32_t index = find_language(context, name);
    // English texts are the primary tables' own.
    if (index == 0) return {UT_MSG_MODULE_TABLE_MISMATCH, 0};
    const Result result = check_language(context, tables);
    if (result.status != UT_MESSAGE_OK) return result;

    uint32_t highest = 0;
    for (uint32_t i = 0; i < tables.count; ++i)
        if (tables.tables[i].module > highest) highest = tables.tables[i].module;
    const bool is_new = context.languages[index].name == nullptr;
    if (is_new && !grow_store(context, capacity_for(context.highest_module), index + 1, reallocate))
        return kNoMemory;
    ut_message_language& language = context.languages[index];
    if (!grow_language(language, capacity_for(highest), reallocate)) return kNoMemory;
    if (is_new) {
        const size_t size = std::strlen(name) + 1;
        void* const copy = reallocate(nullptr, size);
        if (copy == nullptr) return kNoMemory;
        language.name = static_cast<const char*>(std::memcpy(copy, name, size));
    }
    for (uint32_t i = 0; i < tables.count; ++i) {
        const ut_translated_table& table = tables.tables[i];
        language.modules[table.module] = {&table, table.texts, table.count};
    }
    return kSuccess;
}

}  // namespace
}  // namespace qxut

using namespace qxut;

void ut_initialize_message_context(int32_t* status, ut_message_context* context,
                                   ut_alloc_fcn allocate, ut_realloc_fcn reallocate) {
    *context = ut_message_context{};
    const size_t size = store_size(kModuleStep, 1);
    void* const store = allocate(size);
    if (store == nullptr) {
        *status = UT_NO_MEMORY_FOR_MESSAGE_CONTEXT;
        return;
    }
    std::memset(store, 0, size);
    context->allocate = allocate;
    context->reallocate = reallocate;
    set_arrays(*context, store, kModuleStep);
    context->languages[0].name = kEnglish;
    ut_add_primary_message_table(status, context, &message_context_table, reallocate);
}

void ut_clear_message_context(ut_message_context* context, ut_free_fcn release) {
    if (context->languages != nullptr) {
        // The slot that ends the array may hold what a failed addition got.
        for (ut_message_language* language = context->languages + 1;; ++language) {
            if (language->modules != nullptr) release(language->modules);
            if (language->name == nullptr) break;
            release(const_cast<char*>(language->name));
        }
        release(context->reference_counts);
    }
    release_scratch(*context, release);
    *context = ut_message_context{};
}

ut_message_code ut_add_primary_message_table(int32_t* status, ut_message_context* context,
                                             const ut_message_table* table,
                                             ut_realloc_fcn reallocate) {
    const Result result = register_table(*context, *table, reallocate);
    *status = result.status;
    return result.position;
}

void ut_remove_primary_message_table(int32_t* status, ut_message_context* context,
                                     const ut_message_table* table) {
    *status = unregister_table(*context, *table);
}

ut_message_code ut_add_language(int32_t* status, ut_message_context* context, const char* name,
                                const ut_language_tables* tables, ut_realloc_fcn reallocate) {
    const Result result = add_language(*context, name, *tables, reallocate);
    *status = result.status;
    return result.position;
}

ut_message_code ut_add_builtin_japanese(int32_t* status, ut_message_context* context,
                                        ut_realloc_fcn reallocate) {
    return ut_add_language(status, context, kJapanese, &builtin_japanese, reallocate);
}

void ut_change_language(int32_t* status, ut_message_context* context, const char* name) {
    *status = UT_MESSAGE_OK;
    if (context->languages == nullptr) {
        if (std::strcmp(name, kEnglish) != 0) *status = UT_BAD_MSG_CODE;
        return;
    }
    const uint32_t index = find_language(*context, name);
    if (context->languages[index].name == nullptr)
        *status = UT_BAD_MSG_CODE;
    else
        context->current_language = index;
}

const char* ut_get_language(const ut_message_context* context) {
    return context->languages == nullptr ? kEnglish
                                         : context->languages[context->current_language].name;
}
