// gtable_test.cpp - column tables: growth, order and values of the columns, failures.
#include <qxut/util/gtable.h>

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;
using testing::ElementsAre;

class Table : private qxut_test::NotCopied {
  public:
    Table(Contexts& contexts, uint32_t columns, uint32_t rows) {
        ut_initialize_gtable(&record, &contexts.memory, columns, rows);
    }
    ~Table() { ut_clear_gtable(&record); }

    ut_gtable record{};
};

TEST(Gtable, RowsAndCapacity) {
    const struct {
        uint32_t rows;
        uint32_t capacity;  // that was 4
        bool grows;
    } kRows[] = {{0, 4, false}, {3, 4, false}, {4, 8, true},  {7, 8, true},
                 {8, 8, true},  {9, 9, true},  {20, 20, true}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.rows);
        Contexts contexts;
        Table table(contexts, 1, 4);
        double* prices = nullptr;
        char* flags = nullptr;
        ut_new_gtable(&table.record, &prices, sizeof *prices);
        ut_new_gtable(&table.record, &flags, sizeof *flags);
        EXPECT_EQ(table.record.column_capacity, 2u);
        for (int i = 0; i < 4; ++i) prices[i] = flags[i] = static_cast<char>(i + 1);
        const size_t requests = contexts.heap.requests();
        ut_gtable_set_num_rows(&table.record, row.rows);
        EXPECT_EQ(contexts.heap.requests(), requests + (row.grows ? 2 : 0));
        EXPECT_EQ(table.record.num_rows, row.rows);
        EXPECT_EQ(table.record.row_capacity, row.capacity);
        for (uint32_t i = 0; i < row.capacity; ++i) {
            EXPECT_EQ(prices[i], i < 4 ? i + 1 : 0);
            EXPECT_EQ(flags[i], i < 4 ? static_cast<char>(i + 1) : 0);
        }
    }
}

TEST(Gtable, DeletedColumnIsReplacedByTheLast) {
    Contexts contexts;
    Table table(contexts, 1, 2);
    int64_t* columns[3];
    for (int64_t i = 0; i < 3; ++i) {
        ut_new_gtable(&table.record, &columns[i], sizeof(int64_t));
        columns[i][0] = 10 * i;
        columns[i][1] = 10 * i + 1;
    }
    ut_gtable_set_num_rows(&table.record, 1);
    ut_gtable_add_row(&table.record);
    std::vector<int64_t> visited;
    const auto visit = [](void* argument, const ut_gtable_column* column, void* cell) {
        EXPECT_EQ(column->element_size, sizeof(int64_t));
        static_cast<std::vector<int64_t>*>(argument)->push_back(*static_cast<int64_t*>(cell));
    };
    ut_gtable_apply(&table.record, &visited, visit);
    EXPECT_THAT(visited, ElementsAre(0, 1, 10, 11, 20, 21));
    ut_delete_gtable(&table.record, &columns[0]);
    EXPECT_EQ(columns[0], nullptr);
    visited.clear();
    ut_gtable_apply(&table.record, &visited, visit);
    EXPECT_THAT(visited, ElementsAre(20, 21, 10, 11));
    ut_delete_gtable(&table.record, &columns[1]);
    EXPECT_EQ(table.record.num_columns, 1u);
}

TEST(Gtable, UnknownColumnIsFreedBeforeTheErrorIsRaised) {
    Contexts contexts;
    Table table(contexts, 1, 2);
    int* known = nullptr;
    ut_new_gtable(&table.record, &known, sizeof *known);
    auto* stranger = static_cast<int*>(ut_mem_alloc(&contexts.memory, 8));
    const size_t blocks = contexts.blocks();
    const auto raised = contexts.run([&] { ut_delete_gtable(&table.record, &stranger); });
    EXPECT_EQ(raised.code, UT_GTABLE_DELETE_GTABLE);
    EXPECT_EQ(raised.text,
              "Internal Error: The second argument to delete_gtable is not a generic table.");
    EXPECT_EQ(stranger, nullptr);
    EXPECT_EQ(contexts.blocks(), blocks - 1);
    EXPECT_EQ(table.record.num_columns, 1u);
    EXPECT_NE(known, nullptr);
}

TEST(Gtable, ClearingKeepsTheCounts) {
    Contexts contexts;
    Table table(contexts, 1, 2);
    int* a = nullptr;
    int* b = nullptr;
    ut_new_gtable(&table.record, &a, sizeof *a);
    ut_new_gtable(&table.record, &b, sizeof *b);
    ut_gtable_set_num_rows(&table.record, 7);
    ut_clear_gtable(&table.record);
    EXPECT_EQ(contexts.blocks(), 0u);
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(b, nullptr);
    EXPECT_EQ(table.record.columns, nullptr);
    EXPECT_EQ(table.record.num_columns, 2u);
    EXPECT_EQ(table.record.num_rows, 7u);
    EXPECT_EQ(table.record.row_capacity, 7u);
    ut_clear_gtable(&table.record);
}

TEST(Gtable, RowsAtTheEdgesOf32Bits) {
    Contexts contexts;
    Table table(contexts, 1, 0x80000000);
    char* empty = nullptr;  // cells of no bytes take no memory
    ut_new_gtable(&table.record, &empty, 0);
    ut_gtable_set_num_rows(&table.record, 0x80000000);
    EXPECT_EQ(table.record.row_capacity, 0xFFFFFFFF) << "twice that, in 32 bits, would be 0";
    ut_gtable_set_num_rows(&table.record, 0xFFFFFFFF);
    EXPECT_EQ(table.record.num_rows, 0xFFFFFFFF);
    EXPECT_EQ(contexts.run([&] { ut_gtable_add_row(&table.record); }).code, UT_OUT_OF_MEMORY);
    EXPECT_EQ(table.record.num_rows, 0xFFFFFFFF);
    EXPECT_EQ(empty, nullptr);
    // The bytes of a column pass 64 bits.
    int* wide = nullptr;
    EXPECT_EQ(
        contexts.run([&] { ut_new_gtable(&table.record, &wide, uint64_t{1} << 32 | 1); }).code,
        UT_OUT_OF_MEMORY);
    EXPECT_EQ(wide, nullptr);
    EXPECT_EQ(table.record.num_columns, 1u);
}

TEST(Gtable, NoRoomForColumnsIsOutOfMemory) {
    Contexts contexts;
    Table table(contexts, 0, 1);
    int* column = nullptr;
    EXPECT_EQ(contexts.run([&] { ut_new_gtable(&table.record, &column, 4); }).code,
              UT_OUT_OF_MEMORY);
}

TEST(Gtable, EveryAllocationMayFail) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        Table table(contexts, 1, 1);
        int* columns[5] = {};
        // What fails is tried once more: whatever it left must do for that.
        const auto try_twice = [&](const std::function<void()>& operation) {
            if (contexts.run(operation).code != 0) operation();
        };
        for (int*& column : columns) {
            try_twice([&] { ut_new_gtable(&table.record, &column, sizeof *column); });
        }
        for (int row = 0; row < 5; ++row) {
            try_twice([&] { ut_gtable_add_row(&table.record); });
            for (int* column : columns) {
                ASSERT_EQ(column[row], 0);
                column[row] = row + 1;
            }
        }
        for (const int* column : columns) {
            EXPECT_THAT(std::vector<int>(column, column + 5), ElementsAre(1, 2, 3, 4, 5));
        }
    });
}

// Random growth, shrinking, new and deleted columns against plain vectors.
TEST(Gtable, AgreesWithVectors) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto pick = [&](uint32_t below) {
            return std::uniform_int_distribution<uint32_t>(0, below - 1)(random);
        };
        Contexts contexts;
        Table table(contexts, 1, 1);
        constexpr size_t kColumns = 6;
        uint16_t* columns[kColumns] = {};
        bool present[kColumns] = {};
        std::vector<uint16_t> model[kColumns];  // every row that there is room for
        for (int step = 0; step < 300; ++step) {
            const uint32_t c = pick(kColumns);
            contexts.heap.fail_at(pick(8));
            const auto raised = contexts.run([&] {
                if (pick(3) != 0) {
                    ut_gtable_set_num_rows(&table.record, pick(60));
                } else if (present[c]) {
                    ut_delete_gtable(&table.record, &columns[c]);
                    present[c] = false;
                    model[c].clear();
                } else {
                    ut_new_gtable(&table.record, &columns[c], sizeof(uint16_t));
                    present[c] = true;
                }
            });
            EXPECT_TRUE(raised.code == 0 || raised.code == UT_OUT_OF_MEMORY);
            contexts.heap.fail_at(qxut_test::CountdownHeap::kNever);
            for (size_t i = 0; i < kColumns; ++i) {
                ASSERT_EQ(columns[i] != nullptr, present[i]);
                if (!present[i]) continue;
                model[i].resize(table.record.row_capacity);
                const std::vector<uint16_t> cells(columns[i],
                                                  columns[i] + table.record.row_capacity);
                ASSERT_EQ(cells, model[i]);
                const uint32_t row = pick(table.record.row_capacity);
                columns[i][row] = model[i][row] = static_cast<uint16_t>(step);
            }
        }
    }
}

}  // namespace
