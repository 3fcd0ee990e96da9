// temporary_locale.h - a locale that is compiled for one test and set for its scope.
#ifndef QXUT_TESTS_SUPPORT_TEMPORARY_LOCALE_H
#define QXUT_TESTS_SUPPORT_TEMPORARY_LOCALE_H

#include <filesystem>
#include <string>

#include "support/not_copied.h"

namespace qxut_test {

// Compiles the locale from the sources of the package "locales" with localedef into a folder of
// its own and makes it the process's; at the end the process speaks "C" again.
class TemporaryLocale : private NotCopied {
  public:
    TemporaryLocale(const std::string& source, const std::string& charmap);
    ~TemporaryLocale();

    bool is_set() const { return is_set_; }

  private:
    std::filesystem::path folder_;
    bool is_set_ = false;
};

}  // namespace qxut_test

#endif
