// warning_settings.cpp - see warning_settings.h. Tested by tests/util/warning_test.cpp.
#include "util/warning_settings.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "util/cleanup_guard.h"

namespace qxut {
namespace {

constexpr uint32_t kInitialCapacity = 8;

// The first setting that does not come before the identifier.
ut_warning_setting* lower_bound(const ut_warning_settings& settings, const char* identifier) {
    return std::lower_bound(settings.settings, settings.settings + settings.count, identifier,
                            [](const ut_warning_setting& setting, const char* wanted) {
                                return std::strcmp(setting.identifier, wanted) < 0;
                            });
}

void grow(ut_warning_settings& settings, _memory_context* memory) {
    if (settings.capacity > std::numeric_limits<uint32_t>::max() / 2)
        ut_error(memory->error_context, UT_OUT_OF_MEMORY);
    const uint32_t capacity = std::max(kInitialCapacity, settings.capacity * 2);
    settings.settings = static_cast<ut_warning_setting*>(
        ut_mem_realloc(memory, settings.settings, capacity * sizeof(ut_warning_setting)));
    settings.capacity = capacity;
}

void clear_copy(void* memory, void* settings) {
    clear_settings(*static_cast<ut_warning_settings*>(settings),
                   static_cast<_memory_context*>(memory));
}

}  // namespace

ut_warning_setting* find_setting(const ut_warning_settings& settings, const char* identifier) {
    ut_warning_setting* const found = lower_bound(settings, identifier);
    const bool equal = found != settings.settings + settings.count &&
                       std::strcmp(found->identifier, identifier) == 0;
    return equal ? found : nullptr;
}

void add_setting(ut_warning_settings& settings, _memory_context* memory, const char* identifier,
                 ut_warning_state state) {
    if (settings.count == settings.capacity) grow(settings, memory);
    char* const copy = ut_mem_strdup(memory, identifier);
    ut_warning_setting* const place = lower_bound(settings, identifier);
    ut_warning_setting* const end = settings.settings + settings.count;
    std::move_backward(place, end, end + 1);
    *place = {copy, state};
    ++settings.count;
}

void copy_settings(ut_warning_settings& to, const ut_warning_settings& from,
                   _memory_context* memory) {
    to = {from.all, nullptr, 0, 0};
    if (from.count == 0) return;
    ut_warning_settings* partial = &to;
    CleanupGuard guard(memory->error_context, &partial, memory, clear_copy);
    to.settings = static_cast<ut_warning_setting*>(
        ut_mem_alloc(memory, from.count * sizeof(ut_warning_setting)));
    to.capacity = from.count;
    for (; to.count < from.count; ++to.count) {
        const ut_warning_setting& setting = from.settings[to.count];
        to.settings[to.count] = {ut_mem_strdup(memory, setting.identifier), setting.state};
    }
    guard.release();
}

void clear_settings(ut_warning_settings& settings, _memory_context* memory) {
    for (uint32_t i = 0; i < settings.count; ++i)
        ut_mem_free(memory, settings.settings[i].identifier);
    if (settings.settings != nullptr) ut_mem_free(memory, settings.settings);
    settings = {};
}

}  // namespace qxut
