#include "regexp/parsed.h"

#include <algorithm>
#include <cstdarg>

#include "regexp/listing.h"

namespace qxut_test {

void WarningCollector::warn(const char16_t* position, const char* format, va_list arguments) {
    char text[256];
    utFormatRegexpWarning(text, sizeof text, format, arguments);
    warnings += std::to_string(position - pattern) + ": " + text + "\n";
}

RE_Flags flags_of(std::string_view letters) {
    unsigned flags = 0;
    for (const char letter : letters) flags |= 1U << std::string_view("ismxe").find(letter);
    return static_cast<RE_Flags>(flags);
}

std::string terse(std::string_view listing) {
    listing.remove_prefix(std::string_view(qxut::regexp::kListingHeader).size());
    std::string text;
    while (!listing.empty()) {
        std::string_view line = listing.substr(0, listing.find('\n'));
        listing.remove_prefix(line.size() + 1);
        while (!line.empty() && line.back() == ' ') line.remove_suffix(1);
        if (!text.empty()) text += "; ";
        // A number is eight digits behind a blank; the second one is the successor.
        size_t numbers = 0;
        while (!line.empty()) {
            if (line.front() == ' ' && line.size() >= 9 &&
                line.substr(1, 8).find_first_not_of("0123456789abcdef") == line.npos) {
                std::string_view number = line.substr(1, 8);
                number.remove_prefix(std::min(number.find_first_not_of('0'), size_t{7}));
                text += ++numbers == 1 ? "" : numbers == 2 ? ">" : " ";
                text += number;
                line.remove_prefix(9);
                if (numbers == 1 && !line.empty()) line.remove_prefix(1);
            } else {
                text += line.front() == '\t' ? ' ' : line.front();
                line.remove_prefix(1);
            }
        }
    }
    return text;
}

Parsed parse_text(std::u16string_view text, std::string_view flags) {
    WarningCollector collector;
    collector.pattern = text.data();
    qxut::regexp::ParseOptions options;
    options.flags = flags_of(flags);
    options.context = &collector;
    Parsed parsed;
    parsed.pattern = std::make_unique<qxut::regexp::Pattern>();
    qxut::regexp::parse(text.data(), text.size(), options, *parsed.pattern);
    parsed.listing = terse(qxut::regexp::listing_of(*parsed.pattern));
    parsed.warnings = collector.warnings;
    return parsed;
}

}  // namespace qxut_test
