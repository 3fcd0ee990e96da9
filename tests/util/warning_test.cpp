#include <qxut/util/warning.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;

// --- a module with warnings, in two languages

constexpr ut_message_code kModule = 900;
constexpr ut_message_code kDivision = kModule * 65536 + 1;
constexpr ut_message_code kHint = kModule * 65536 + 2;
constexpr ut_message_code kCodes[] = {kDivision, kHint, UT_MESSAGE_CODES_END};
constexpr const char* kMnemonics[] = {"DIVISION", "HINT"};
constexpr const char* kTexts[] = {"%s divided by %d.", "[silence %s]"};
constexpr const char* kGerman[] = {"Durch %2 geteilt: %1.", "[%1 abschalten]"};
constexpr ut_message_table kTable = {2, kModule, kCodes, kMnemonics, kTexts, "test"};
constexpr ut_translated_table kGermanTable = {kModule, 2, kGerman};
constexpr ut_language_tables kGermanTables = {1, &kGermanTable};

constexpr char kDivisionId[] = "VELUMA:division";

// A warning context that prints to a string.
struct Warnings : private qxut_test::NotCopied {
    explicit Warnings(Contexts& own) : contexts(own) {
        ut_mem_add_primary_message_table(&contexts.memory, &kTable);
        ut_initialize_warning_context(&context, &contexts.messages, &contexts.errors,
                                      &contexts.memory, print, this);
    }
    ~Warnings() { ut_clear_warning_context(&context); }

    // What a warning printed.
    std::string warn(const char* name = "one", int number = 0) {
        printed.clear();
        ut_warning(&context, kDivision, name, number);
        return printed;
    }
    std::string last() const {
        return std::string(ut_get_last_warning_identifier(&context)) + "=" +
               ut_get_last_warning_text(&context);
    }

    static int print(void* self, const char* text, int32_t length) {
        auto& warnings = *static_cast<Warnings*>(self);
        ++warnings.calls;
        warnings.printed.append(text, static_cast<size_t>(length));
        if (warnings.on_print != nullptr) warnings.on_print(warnings);
        return length;
    }

    Contexts& contexts;
    ut_warning_context context{};
    std::string printed;
    int calls = 0;
    void (*on_print)(Warnings& warnings) = nullptr;
};

TEST(Warning, IsPrintedInTheCurrentLanguageWithAHint) {
    Contexts contexts;
    Warnings warnings(contexts);
    EXPECT_EQ(warnings.last(), "=");
    EXPECT_EQ(warnings.warn(), "Warning: one divided by 0.\n");
    EXPECT_EQ(ut_set_warning_hint(&warnings.context, kHint), 0u);
    EXPECT_EQ(warnings.warn(), "Warning: one divided by 0.\n[silence VELUMA:division]\n");
    EXPECT_EQ(warnings.calls, 2);
    EXPECT_EQ(warnings.last(), "VELUMA:division=one divided by 0.");

    ut_mem_add_language(&contexts.memory, "de", &kGermanTables);
    int32_t status = 0;
    ut_change_language(&status, &contexts.messages, "de");
    EXPECT_EQ(warnings.warn("1", 2),
              "Warning: Durch 2 geteilt: 1.\n[VELUMA:division abschalten]\n");
    ut_add_builtin_japanese(&status, &contexts.messages, qxut_test::CountdownHeap::reallocate);
    ut_change_language(&status, &contexts.messages, "ja");
    // The module has no texts in this language.
    EXPECT_EQ(warnings.warn("1", 2), "警告: 1 divided by 2.\n[silence VELUMA:division]\n");
    EXPECT_EQ(ut_set_warning_hint(&warnings.context, UT_WARNING_HINT), kHint);
    EXPECT_NE(warnings.warn().find("\"warning off VELUMA:division\""), std::string::npos);

    const std::string longest(100'000, 'x');
    EXPECT_EQ(warnings.warn(longest.c_str()).find(longest), std::string("警告: ").size());
    EXPECT_EQ(warnings.last(), "VELUMA:division=" + longest + " divided by 0.");
    ut_clear_last_warning(&warnings.context);
    EXPECT_EQ(warnings.last(), "=");
}

TEST(Warning, StateOfOneAndOfAll) {
    Contexts contexts;
    Warnings warnings(contexts);
    ut_warning_context* const context = &warnings.context;
    constexpr char kOther[] = "host:other";
    const auto states = [&] {
        return std::vector{ut_get_warning_state(context, kDivisionId),
                           ut_get_warning_state(context, kOther),
                           ut_get_warning_state(context, "VELUMA:warn_all")};
    };
    const auto on = UT_WARNING_ON;
    const auto off = UT_WARNING_OFF;
    const auto error = UT_WARNING_ERROR;
    EXPECT_EQ(states(), (std::vector{on, on, on}));
    ut_set_warning_state(context, kDivisionId, off);
    EXPECT_EQ(states(), (std::vector{off, on, on}));
    EXPECT_EQ(warnings.warn(), "");
    EXPECT_EQ(warnings.last(), "VELUMA:division=one divided by 0.") << "asked for later";

    ut_warning_settings saved;
    ut_save_warning_states(context, &saved);
    ut_set_all_warning_states(context, error);  // forgets what was set before
    EXPECT_EQ(states(), (std::vector{error, error, error}));
    ut_set_warning_state(context, kOther, on);
    char identifier[UT_MESSAGE_IDENTIFIER_SIZE];
    ut_make_message_identifier(identifier, &contexts.messages, UT_WARN_ALL);
    EXPECT_STREQ(identifier, "VELUMA:warn_all");
    ut_set_warning_state(context, identifier, off);
    EXPECT_EQ(states(), (std::vector{off, off, off}));
    ut_warning_settings dropped;
    ut_save_warning_states(context, &dropped);
    ut_restore_warning_states(context, &saved);
    EXPECT_EQ(states(), (std::vector{off, on, on}));
    ut_restore_warning_states(context, &dropped);
    EXPECT_EQ(states(), (std::vector{off, off, off}));
    ut_drop_warning_states(context, &dropped);

    // Many, in an order that is not theirs.
    for (int i = 0; i < 100; ++i)
        ut_set_warning_state(context, std::to_string(i * 37 % 100).c_str(),
                             i % 2 == 0 ? on : error);
    EXPECT_EQ(context->settings.count, 100u);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(ut_get_warning_state(context, std::to_string(i * 37 % 100).c_str()),
                  i % 2 == 0 ? on : error);
    // The last one set counts.
    ut_set_warning_state(context, "37", off);
    EXPECT_EQ(ut_get_warning_state(context, "37"), off);
    EXPECT_EQ(context->settings.count, 100u);
}

TEST(Warning, RaisedAsAnError) {
    Contexts contexts;
    Warnings warnings(contexts);
    ut_set_warning_state(&warnings.context, "host:mine", UT_WARNING_ERROR);
    struct Caught {
        ut_warning_context* context;
        std::string identifier;
    } caught{&warnings.context, ""};
    const auto body = [](_error_context*, void* data) {
        ut_warning_id(static_cast<Caught*>(data)->context, "host:mine", kDivision, "x", 5);
    };
    const auto accept = [](_error_context* errors, void* data, const char* identifier,
                           ut_message_code code, va_list arguments) {
        char text[80];
        ut_vsprintm(errors->messages, text, sizeof text, code, arguments);
        static_cast<Caught*>(data)->identifier = std::string(identifier) + "=" + text;
        return 1;
    };
    EXPECT_EQ(ut_try_catch_id(&contexts.errors, &caught, body, accept), kDivision);
    EXPECT_EQ(caught.identifier, "host:mine=x divided by 5.");
    EXPECT_EQ(warnings.printed, "");
    EXPECT_EQ(warnings.last(), "=");
}

// Whatever the print function does to the context, the warning under way is whole.
TEST(Warning, PrintFunctionMayUseTheContextOrRaise) {
    Contexts contexts;
    Warnings warnings(contexts);
    warnings.on_print = [](Warnings& w) {
        w.on_print = nullptr;
        ut_set_all_warning_states(&w.context, UT_WARNING_OFF);
        ut_clear_last_warning(&w.context);
        ut_warning(&w.context, kDivision, "inner", 1);
    };
    EXPECT_EQ(warnings.warn("outer", 2), "Warning: outer divided by 2.\n");
    EXPECT_EQ(warnings.last(), "VELUMA:division=inner divided by 1.");

    ut_set_all_warning_states(&warnings.context, UT_WARNING_ON);
    const size_t blocks = contexts.blocks();
    warnings.on_print = [](Warnings& w) { ut_error(&w.contexts.errors, UT_ERR_RETHROW, "no"); };
    EXPECT_EQ(contexts.run([&] { warnings.warn("third", 3); }).text, "no");
    warnings.on_print = [](Warnings&) { throw std::runtime_error("foreign"); };
    EXPECT_THROW(warnings.warn("third", 3), std::runtime_error);
    EXPECT_EQ(contexts.blocks(), blocks);
    EXPECT_EQ(warnings.last(), "VELUMA:division=third divided by 3.");

    // Its own last warning as what is set.
    ut_set_last_warning(&warnings.context, ut_get_last_warning_text(&warnings.context), "t");
    EXPECT_EQ(warnings.last(), "third divided by 3.=t");
}

TEST(Warning, OutOfMemoryChangesNothing) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        Warnings warnings(contexts);
        ut_warning_context* const context = &warnings.context;
        ut_warning_settings saved{};
        const auto attempt = [&](const std::function<void()>& step) {
            const std::string last = warnings.last();
            const uint32_t count = context->settings.count;
            const auto raised = contexts.run(step);
            if (raised.code == 0) return;
            EXPECT_EQ(warnings.last(), last);
            EXPECT_EQ(context->settings.count, count);
            EXPECT_EQ(saved.count, 0u);
            ut_error(&contexts.errors, raised.code);
        };
        ut_set_warning_hint(context, kHint);
        for (int i = 0; i < 20; ++i) {
            attempt(
                [&] { ut_set_warning_state(context, std::to_string(i).c_str(), UT_WARNING_OFF); });
        }
        attempt([&] { warnings.warn(std::string(600, 'x').c_str(), 7); });
        attempt([&] { warnings.warn("short", 7); });
        attempt([&] { ut_set_last_warning(context, "a", "b"); });
        attempt([&] { ut_save_warning_states(context, &saved); });
        ut_restore_warning_states(context, &saved);
    });
}

}  // namespace
