// Registration, languages and look-up.
#include <qxut/util/message.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/countdown_heap.h"
#include "support/message_tables.h"
#include "util/builtin_tables.h"

using qxut_test::CountdownHeap;
using qxut_test::Table;
using qxut_test::Translation;

namespace {

constexpr ut_message_code code(uint32_t module, uint32_t entry) { return module * 65536 + entry; }

struct Answer {
    int32_t status;
    ut_message_code position;
    bool operator==(const Answer&) const = default;
};
void PrintTo(const Answer& answer, std::ostream* out) {
    *out << "status " << answer.status << " at " << answer.position / 65536 << ":"
         << answer.position % 65536;
}
constexpr Answer kGood{0, 0};

class Message : public testing::Test {
  protected:
    Message() {
        int32_t status = -1;
        ut_initialize_message_context(&status, &context, CountdownHeap::allocate,
                                      CountdownHeap::reallocate);
        EXPECT_EQ(status, 0);
    }
    ~Message() override {
        ut_clear_message_context(&context, CountdownHeap::release);
        EXPECT_EQ(heap.live_blocks(), 0u);
        ut_clear_message_context(&context, CountdownHeap::release);  // harmless
    }

    Answer add(const Table& table) {
        Answer answer{-1, 0};
        answer.position = ut_add_primary_message_table(&answer.status, &context, &table.record,
                                                       CountdownHeap::reallocate);
        return answer;
    }
    int32_t remove(const Table& table) {
        int32_t status = -1;
        ut_remove_primary_message_table(&status, &context, &table.record);
        return status;
    }
    Answer add_language(const char* name, const ut_language_tables& tables) {
        Answer answer{-1, 0};
        answer.position =
            ut_add_language(&answer.status, &context, name, &tables, CountdownHeap::reallocate);
        return answer;
    }
    int32_t change(const char* name) {
        int32_t status = -1;
        ut_change_language(&status, &context, name);
        return status;
    }
    std::string text(ut_message_code which) {
        const char* found = ut_get_message(&context, which);
        return found != nullptr ? found : "<null>";
    }
    std::string identifier(ut_message_code which) {
        char buffer[UT_MESSAGE_IDENTIFIER_SIZE];
        ut_make_message_identifier(buffer, &context, which);
        return buffer;
    }

    CountdownHeap heap;
    ut_message_context context{};
};

TEST_F(Message, LooksUpCodes) {
    const Table table(7, {"seven %d", nullptr});
    ASSERT_EQ(add(table), kGood);
    EXPECT_STREQ(ut_get_message_mnemonic(&context, code(7, 2)), "MESSAGE_2");
    EXPECT_STREQ(ut_get_message_component(&context, code(7, 1)), "test");
    EXPECT_STREQ(ut_get_primary_message(&context, code(7, 1)), "seven %d");
    EXPECT_EQ(ut_get_primary_message(&context, code(7, 2)), nullptr);
    EXPECT_STREQ(ut_get_message_component(&context, UT_BAD_MSG_CODE), "message_context");
    EXPECT_EQ(identifier(code(7, 2)), "VELUMA:message_2");
    EXPECT_EQ(identifier(UT_OMITTED_HOLE), "VELUMA:omitted_hole");
    EXPECT_STREQ(ut_get_language(&context), "English");

    for (const ut_message_code unknown :
         {code(0, 0), code(0, 16), code(6, 1), code(7, 0), code(7, 3), code(8, 1), code(64, 1),
          code(0xFFFF, 0xFFFF)}) {
        SCOPED_TRACE(unknown);
        EXPECT_EQ(ut_get_message_mnemonic(&context, unknown), nullptr);
        EXPECT_EQ(ut_get_message_component(&context, unknown), nullptr);
        EXPECT_EQ(ut_get_primary_message(&context, unknown), nullptr);
        EXPECT_EQ(ut_get_message(&context, unknown), nullptr);
        EXPECT_EQ(identifier(unknown), "VELUMA:");
    }
}

TEST_F(Message, IdentifiersAreLoweredAndCut) {
    const std::string letters = "A_Z\xC4[" + std::string(3000, 'Q');
    const char* const mnemonics[] = {letters.c_str()};
    const ut_message_code codes[] = {code(5, 1), UT_MESSAGE_CODES_END};
    const char* const texts[] = {""};
    const ut_message_table table = {1, 5, codes, mnemonics, texts, nullptr};
    int32_t status = -1;
    ut_add_primary_message_table(&status, &context, &table, CountdownHeap::reallocate);
    ASSERT_EQ(status, 0);
    const std::string lowered = "VELUMA:a_z\xC4[" + std::string(3000, 'q');
    EXPECT_EQ(identifier(code(5, 1)), lowered.substr(0, UT_MESSAGE_IDENTIFIER_SIZE - 1));
    EXPECT_EQ(ut_get_message_component(&context, code(5, 1)), nullptr);
}

TEST_F(Message, EveryEnglishTextIsChecked) {
    const std::pair<int32_t, std::vector<const char*>> kRows[] = {
        {0,
         {"", nullptr, "plain", "100%%", "%s%d%i%u%o%x%X%c%p%n%f%e%E%g%G%U", "%-+ #08.3d %.f %5c",
          "%hhd%hd%ld%lld%zu%jx%tX%Lf%lf%lc%hhn%zn"}},
        // No conversion letter, something before it that no conversion has, or a length that the
        // letter's argument cannot have.
        {UT_STRANDED_PER_CENT,
         {"100%", "%k", "%*d", "%.*f", "%*s", "%1$d", "%'d", "%lqd", "%F", "%.-3d", "%99999999999d",
          "%.2147483648f", "%Ld", "%hf", "%lp", "%hc", "%Ln"}},
        // Letters that stand alone.
        {UT_NON_TRIVIAL_PER_CENT, {"% %", "%-5%", "%l%", "% k%"}},
        {UT_NON_TRIVIAL_S, {"%5s", "%.3s", "%ls", "100% sure"}},
        {UT_INVALID_PERCENT_U, {"%3U", "%*U"}},
    };
    for (const auto& [status, row_texts] : kRows) {
        for (const char* row : row_texts) {
            SCOPED_TRACE(row != nullptr ? row : "<null>");
            const Table table(9, {"%d first", row, "last %d"});
            EXPECT_EQ(add(table), (Answer{status, status == 0 ? 0 : code(9, 2)}));
            EXPECT_EQ(remove(table), status == 0 ? 0 : UT_BAD_MSG_CODE);
            EXPECT_EQ(ut_get_message_mnemonic(&context, code(9, 1)), nullptr);
        }
    }
}

TEST_F(Message, EveryCodeIsChecked) {
    struct Row {
        const char* what;
        uint32_t module;
        std::function<void(Table&)> spoil;
        Answer answer;
    };
    const Row rows[] = {
        {"good", 9, [](Table&) {}, kGood},
        {"wrong code", 9, [](Table& t) { t.codes[2] = code(9, 4); }, {UT_WRONG_CODE, code(9, 3)}},
        {"wrong module", 9, [](Table& t) { t.codes[0] = code(8, 1); }, {UT_WRONG_CODE, code(9, 1)}},
        {"short",
         9,
         [](Table& t) { t.codes[1] = UT_MESSAGE_CODES_END; },
         {UT_TOO_FEW_STRINGS, code(9, 2)}},
        {"long", 9, [](Table& t) { t.codes[3] = code(9, 4); }, {UT_TOO_MANY_STRINGS, code(9, 4)}},
        {"last module", 0x7FFF, [](Table&) {}, kGood},
        {"codes are negative", 0x8000, [](Table&) {}, {UT_TOO_FEW_STRINGS, code(0x8000, 1)}},
        {"module beyond a code", 0x10000, [](Table&) {}, {UT_WRONG_CODE, 1}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Table table(row.module, {"a", "b", "c"});
        row.spoil(table);
        EXPECT_EQ(add(table), row.answer);
        const bool known = ut_get_message_mnemonic(&context, code(row.module, 1)) != nullptr &&
                           row.module < 0x8000;
        EXPECT_EQ(known, row.answer == kGood);
        if (row.answer == kGood) {
            EXPECT_EQ(remove(table), 0);
        }
    }
}

TEST_F(Message, TablesAreCounted) {
    const Table table(9, {"a", "b"});
    const Table same_texts(9, {"a", "b"});
    const Table shorter(9, {"a"});
    EXPECT_EQ(remove(table), UT_BAD_MSG_CODE);
    EXPECT_EQ(add(table), kGood);
    EXPECT_EQ(add(table), kGood);
    EXPECT_EQ(add(shorter), (Answer{UT_MSG_MODULE_COUNT_MISMATCH, code(9, 0)}));
    EXPECT_EQ(add(same_texts), (Answer{UT_MSG_MODULE_TABLE_MISMATCH, code(9, 0)}));
    EXPECT_EQ(remove(same_texts), UT_MSG_MODULE_TABLE_MISMATCH);
    EXPECT_EQ(remove(table), 0);
    EXPECT_EQ(text(code(9, 1)), "a");
    EXPECT_EQ(remove(table), 0);
    EXPECT_EQ(text(code(9, 1)), "<null>");
    EXPECT_EQ(remove(table), UT_BAD_MSG_CODE);
    EXPECT_EQ(add(shorter), kGood);

    const Table beyond(0x8000, {});
    EXPECT_EQ(add(beyond), (Answer{UT_WRONG_CODE, code(0x8000, 0)}));
    const Table empty(10, {});
    EXPECT_EQ(add(empty), kGood);
    EXPECT_EQ(add(empty), kGood);
    EXPECT_EQ(remove(empty), 0);
    EXPECT_EQ(remove(empty), 0);
    EXPECT_EQ(remove(empty), UT_BAD_MSG_CODE);
}

TEST_F(Message, ClearedContextRefusesTablesAndLanguages) {
    const Table table(10, {"text"});
    ut_clear_message_context(&context, CountdownHeap::release);
    EXPECT_EQ(add(table), (Answer{UT_NO_MEMORY_FOR_MESSAGE_CONTEXT, code(10, 0)}));
    EXPECT_EQ(add_language("ja", {0, nullptr}), (Answer{UT_NO_MEMORY_FOR_MESSAGE_CONTEXT, 0}));
    EXPECT_EQ(remove(table), UT_BAD_MSG_CODE);
    EXPECT_EQ(change("ja"), UT_BAD_MSG_CODE);
}

TEST_F(Message, ArraysGrowInStepsOf64Modules) {
    const Table table1(1, {"one"});
    ASSERT_EQ(add(table1), kGood);
    const Translation translation(1, {"eins"});
    ASSERT_EQ(add_language("de", translation.tables), kGood);
    ASSERT_EQ(change("de"), 0);
    const std::pair<uint32_t, size_t> rows[] = {{63, 0},  {64, 1},   {65, 0}, {127, 0},
                                                {128, 1}, {1000, 1}, {300, 0}};
    std::vector<std::unique_ptr<Table>> tables;
    for (const auto& [module, requests] : rows) {
        SCOPED_TRACE(module);
        tables.push_back(std::make_unique<Table>(module, std::vector<const char*>{"text"}));
        const size_t before = heap.requests();
        EXPECT_EQ(add(*tables.back()), kGood);
        EXPECT_EQ(heap.requests() - before, requests);
        EXPECT_EQ(text(code(module, 1)), "text");
        EXPECT_EQ(text(code(module + 1, 1)), "<null>");
        EXPECT_EQ(text(code(1, 1)), "eins");
        EXPECT_STREQ(ut_get_message_mnemonic(&context, code(1, 1)), "MESSAGE_1");
    }
    EXPECT_EQ(context.highest_module, 1000u);
}

// A translated text against "%s has %d%%", once with the module there first, once the language.
TEST_F(Message, EveryTranslatedTextIsChecked) {
    const struct {
        const char* text;
        int32_t status;
    } kRows[] = {
        {"%1, %2", 0},
        {"%2%1", 0},
        {"%% %1 %%%2", 0},
        {"%01 %2", 0},
        {nullptr, 0},
        {"%1 %2 %", UT_ILLEGAL_PER_CENT},
        {"%s %2", UT_ILLEGAL_PER_CENT},
        {"%1 %2 %3", UT_HOLE_NOT_PRESENT},
        {"%12", UT_HOLE_NOT_PRESENT},
        {"%0 %1 %2", UT_HOLE_NOT_PRESENT},
        {"%1 %4294967298", UT_HOLE_NOT_PRESENT},
        {"%1 %2 %1", UT_DUPLICATE_REFERENCE},
        {"%1", UT_OMITTED_HOLE},
        {"", UT_OMITTED_HOLE},
    };
    const Table table(9, {"nothing", "%s has %d%%"});
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.text != nullptr ? row.text : "<null>");
        const Answer expected = {row.status, row.status == 0 ? 0 : code(9, 2)};
        const Translation translation(9, {nullptr, row.text});

        ut_clear_message_context(&context, CountdownHeap::release);
        int32_t status = -1;
        ut_initialize_message_context(&status, &context, CountdownHeap::allocate,
                                      CountdownHeap::reallocate);
        ASSERT_EQ(add(table), kGood);
        EXPECT_EQ(add_language("xx", translation.tables), expected);
        EXPECT_EQ(change("xx"), row.status == 0 ? 0 : UT_BAD_MSG_CODE);
        EXPECT_EQ(text(code(9, 2)), row.status == 0 && row.text ? row.text : "%s has %d%%");

        EXPECT_EQ(remove(table), 0);
        EXPECT_EQ(add_language("yy", translation.tables), kGood);  // nothing to compare with
        EXPECT_EQ(add(table), expected);
        EXPECT_EQ(ut_get_message_mnemonic(&context, code(9, 2)) != nullptr, row.status == 0);
    }
}

TEST_F(Message, HolesBeyondOneWordAreChecked) {
    std::string english;
    std::string good;
    std::string duplicate;
    for (int hole = 1; hole <= 130; ++hole) {
        english += "%d ";
        good += "%" + std::to_string(131 - hole) + " ";
        duplicate += "%" + std::to_string(hole == 100 ? 99 : hole) + " ";
    }
    const Table table(9, {english.c_str()});
    ASSERT_EQ(add(table), kGood);
    const Translation repeats(9, {duplicate.c_str()});
    EXPECT_EQ(add_language("xx", repeats.tables), (Answer{UT_DUPLICATE_REFERENCE, code(9, 1)}));
    const std::string cut = good.substr(0, good.size() - 3);
    const Translation omits(9, {cut.c_str()});
    EXPECT_EQ(add_language("xx", omits.tables), (Answer{UT_OMITTED_HOLE, code(9, 1)}));
    const Translation complete(9, {good.c_str()});
    EXPECT_EQ(add_language("xx", complete.tables), kGood);
}

TEST_F(Message, LanguagesMergeByModuleAndFallBack) {
    const Table nine(9, {"one", "two", "three"});
    const Table ten(70, {"ten"});
    ASSERT_EQ(add(nine), kGood);
    ASSERT_EQ(add(ten), kGood);
    std::string name = "de";
    const Translation first(9, {"eins", nullptr});
    ASSERT_EQ(add_language(name.c_str(), first.tables), kGood);
    name = "xx";  // the name was copied
    ASSERT_EQ(change("de"), 0);
    EXPECT_STREQ(ut_get_language(&context), "de");
    EXPECT_EQ(text(code(9, 1)), "eins");
    EXPECT_EQ(text(code(9, 2)), "two");
    EXPECT_EQ(text(code(9, 3)), "three");
    EXPECT_EQ(text(code(70, 1)), "ten");
    EXPECT_STREQ(ut_get_primary_message(&context, code(9, 1)), "one");

    const Translation other_module(70, {"zehn"});
    const Translation replacement(9, {nullptr, "zwei"});
    ASSERT_EQ(add_language("de", other_module.tables), kGood);
    EXPECT_EQ(text(code(9, 1)), "eins");
    EXPECT_EQ(text(code(70, 1)), "zehn");
    ASSERT_EQ(add_language("de", replacement.tables), kGood);
    EXPECT_EQ(text(code(9, 1)), "one");
    EXPECT_EQ(text(code(9, 2)), "zwei");

    const Translation french(9, {"un"});
    ASSERT_EQ(add_language("fr", french.tables), kGood);
    EXPECT_EQ(text(code(9, 1)), "one");  // adding does not change the language
    EXPECT_EQ(change("nl"), UT_BAD_MSG_CODE);
    EXPECT_STREQ(ut_get_language(&context), "de");
    EXPECT_EQ(change("fr"), 0);
    EXPECT_EQ(text(code(9, 1)), "un");
    EXPECT_EQ(change("English"), 0);
    EXPECT_EQ(text(code(9, 1)), "one");

    EXPECT_EQ(add_language("English", french.tables), (Answer{UT_MSG_MODULE_TABLE_MISMATCH, 0}));
    const Translation beyond(0x8000, {"x"});
    EXPECT_EQ(add_language("fr", beyond.tables), (Answer{UT_WRONG_CODE, code(0x8000, 0)}));
}

TEST_F(Message, BuiltinTablesAndTheirJapaneseAgree) {
    const ut_message_table* const tables[] = {
        &qxut::error_message_table,   &qxut::memory_message_table, &qxut::hash_message_table,
        &qxut::warning_message_table, &qxut::fpc_message_table,    &qxut::regexp_message_table};
    for (const ut_message_table* table : tables) {
        int32_t status = -1;
        ut_add_primary_message_table(&status, &context, table, CountdownHeap::reallocate);
        EXPECT_EQ(status, 0) << table->component;
    }
    int32_t status = -1;
    EXPECT_EQ(ut_add_builtin_japanese(&status, &context, CountdownHeap::reallocate), 0u);
    ASSERT_EQ(status, 0);
    ASSERT_EQ(change("ja"), 0);
    for (const ut_message_table* table : tables)
        for (uint32_t entry = 1; entry <= table->count; ++entry) {
            const ut_message_code which = code(table->module, entry);
            const std::string english = ut_get_primary_message(&context, which);
            SCOPED_TRACE(english);
            // Only texts without words are the same.
            const bool wordless = english.empty() || english == "%s";
            EXPECT_EQ(
                text(which).find_first_of("\xE3\xE4\xE5\xE6\xE7\xE8\xE9") == std::string::npos,
                wordless);
        }
}

// With every request failing in turn: what was there stays, what failed can be done again.
TEST(MessageMemory, FailureLeavesTheContextAsItWas) {
    const Table near(9, {"near %d"});
    const Table far(200, {"far", "%d%d%d%d%d%d%d%d%d%d%d%d"});
    const Translation near_de(9, {"nah %1"});
    const Translation far_de(200, {"fern"});
    for (size_t k = 0;; ++k) {
        SCOPED_TRACE("request " + std::to_string(k) + " fails");
        CountdownHeap heap(k);
        ut_message_context context{};
        int32_t status = -1;
        ut_initialize_message_context(&status, &context, CountdownHeap::allocate,
                                      CountdownHeap::reallocate);
        if (k == 0) {
            EXPECT_EQ(status, UT_NO_MEMORY_FOR_MESSAGE_CONTEXT);
            EXPECT_EQ(heap.live_blocks(), 0u);
            ut_clear_message_context(&context, CountdownHeap::release);
            continue;
        }
        ASSERT_EQ(status, 0);
        const auto expect_texts = [&](const char* of_near, const char* of_far) {
            EXPECT_STREQ(ut_get_message(&context, code(9, 1)), of_near);
            EXPECT_STREQ(ut_get_message(&context, code(200, 1)), of_far);
        };
        // Runs a step; when it fails, looks that nothing changed and runs it again.
        const auto step = [&](const std::function<void()>& action, const char* near_before,
                              const char* far_before) {
            action();
            if (status != 0) {
                EXPECT_EQ(status, UT_NO_MEMORY_FOR_MESSAGE_CONTEXT);
                int32_t change = -1;
                ut_change_language(&change, &context, "de");
                EXPECT_EQ(change, context.current_language == 0 ? UT_BAD_MSG_CODE : 0);
                expect_texts(near_before, far_before);
                action();
            }
            ASSERT_EQ(status, 0);
        };
        const auto add = [&](const Table& table) {
            ut_add_primary_message_table(&status, &context, &table.record,
                                         CountdownHeap::reallocate);
        };
        const auto add_german = [&](const Translation& translation) {
            ut_add_language(&status, &context, "de", &translation.tables,
                            CountdownHeap::reallocate);
        };
        step([&] { add(near); }, nullptr, nullptr);
        step([&] { add_german(near_de); }, "near %d", nullptr);
        ut_change_language(&status, &context, "de");
        step([&] { add(far); }, "nah %1", nullptr);
        step([&] { add_german(far_de); }, "nah %1", "far");
        expect_texts("nah %1", "fern");
        const bool failed = heap.has_failed();
        ut_clear_message_context(&context, CountdownHeap::release);
        EXPECT_EQ(heap.live_blocks(), 0u);
        if (!failed) break;
    }
}

}  // namespace
