// message_tables.h - message tables made at run time, for tests.
#ifndef QXUT_TESTS_SUPPORT_MESSAGE_TABLES_H
#define QXUT_TESTS_SUPPORT_MESSAGE_TABLES_H

#include <string>
#include <utility>
#include <vector>

#include <qxut/util/message.h>

#include "support/not_copied.h"

namespace qxut_test {

// A primary table with the mnemonics MESSAGE_1, MESSAGE_2, ... and these texts. The codes may be
// spoilt before registration.
class Table : private NotCopied {
  public:
    Table(uint32_t module, std::vector<const char*> texts) : texts_(std::move(texts)) {
        for (uint32_t entry = 1; entry <= texts_.size(); ++entry) {
            codes.push_back(module * 65536 + entry);
            names_.push_back("MESSAGE_" + std::to_string(entry));
        }
        codes.push_back(UT_MESSAGE_CODES_END);
        for (const std::string& name : names_) mnemonics_.push_back(name.c_str());
        record = {static_cast<uint32_t>(texts_.size()),
                  module,
                  codes.data(),
                  mnemonics_.data(),
                  texts_.data(),
                  "test"};
    }

    ut_message_table record{};
    std::vector<ut_message_code> codes;

  private:
    std::vector<const char*> texts_;
    std::vector<std::string> names_;
    std::vector<const char*> mnemonics_;
};

// One module's texts in one language.
class Translation : private NotCopied {
  public:
    Translation(uint32_t module, std::vector<const char*> texts)
        : texts_(std::move(texts)),
          table_{module, static_cast<uint32_t>(texts_.size()), texts_.data()},
          tables{1, &table_} {}

  private:
    std::vector<const char*> texts_;
    ut_translated_table table_;

  public:
    ut_language_tables tables;
};

}  // namespace qxut_test

#endif
