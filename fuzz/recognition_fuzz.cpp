// recognition_fuzz.cpp - any bytes are recognised, or not, without a fault; what is called UTF-8 is
// UTF-8, and repairing a text gives one that needs no repair.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <qxut/i18n/recognition.hpp>
#include <qxut/i18n/utf8_string.hpp>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace Quorvanix::I18N;  // NOLINT(google-build-using-namespace)
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const Recognition found = recognize(bytes.data(), bytes.size());
    if (found.confidence < 0 || found.confidence > 100 || found.mark_size > size) std::abort();
    const bool is_valid = Utf8String::ifValid(bytes).has_value();
    if (found.name == "UTF-8" && found.mark_size == 0 && size <= kRecognitionSize && !is_valid)
        std::abort();
    const Utf8String repaired = Utf8String::repaired(bytes);
    if (!Utf8String::ifValid(repaired.view()).has_value()) std::abort();
    if (is_valid && repaired.view() != bytes) std::abort();
    if (Utf8String::fromUtf16(repaired.toUtf16()) != repaired) std::abort();
    if (Utf8String::fromCodePoints(repaired.toCodePoints()) != repaired) std::abort();
    if (recognize(bytes.data(), bytes.size(), false).confidence > 100) std::abort();
    return 0;
}
