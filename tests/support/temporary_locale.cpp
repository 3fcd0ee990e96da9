#include "support/temporary_locale.h"

#include <stdlib.h>

#include <clocale>
#include <random>

namespace qxut_test {

TemporaryLocale::TemporaryLocale(const std::string& source, const std::string& charmap)
    : folder_(std::filesystem::temp_directory_path() /
              ("qxut-locale-" + std::to_string(std::random_device{}()))) {
    std::filesystem::create_directory(folder_);
    const std::string name = source + "." + charmap;
    // localedef complains of code pages that are not quite ASCII, so its status says nothing.
    const std::string command = "localedef --no-archive -c -i " + source + " -f " + charmap + " '" +
                                (folder_ / name).string() + "' >/dev/null 2>&1";
    const int status = std::system(command.c_str());
    static_cast<void>(status);
    ::setenv("LOCPATH", folder_.c_str(), 1);
    is_set_ = std::setlocale(LC_ALL, name.c_str()) != nullptr;
}

TemporaryLocale::~TemporaryLocale() {
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
    std::filesystem::remove_all(folder_);
}

}  // namespace qxut_test
