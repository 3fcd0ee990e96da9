// encodings.cpp - see encodings.hpp. Tested by tests/i18n/recognition_test.cpp.
#include <qxut/i18n/encodings.hpp>

#include <unicode/ucnv.h>

#include <algorithm>

namespace Quorvanix::I18N {

std::vector<std::string> encodingNames() {
    std::vector<std::string> names;
    const int32_t count = ucnv_countAvailable();
    for (int32_t i = 0; i < count; ++i) {
        const char* const own = ucnv_getAvailableName(i);
        names.emplace_back(own);
        for (const char* standard : {"MIME", "IANA"}) {
            UErrorCode status = U_ZERO_ERROR;
            const char* const preferred = ucnv_getStandardName(own, standard, &status);
            if (U_FAILURE(status) || preferred == nullptr) continue;
            names.back() = preferred;
            break;
        }
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

}  // namespace Quorvanix::I18N
