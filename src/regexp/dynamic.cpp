// dynamic.cpp - parses and lowers dynamic patterns, each text once. Tested by
// tests/regexp/host_test.cpp.
#include "regexp/dynamic.h"

#include "regexp/failure.h"

namespace qxut::regexp {

const Program& DynamicPrograms::program_of(const char16_t* text, size_t length, RE_Flags flags,
                                           RE_Context* context, const Program& outer) {
    Key key{Vector<char16_t>(text, text + length), flags};
    const auto found = known_.find(key);
    if (found != known_.end()) return found->second->program;
    std::unique_ptr<Known> made(require(new Known));
    ParseOptions options;
    options.flags = flags;
    options.context = context;
    options.capture = false;
    options.outer = {outer.names.data(), outer.names.size()};
    if (context != nullptr) context->parse_dynamic(text, length);
    parse(text, length, options, made->pattern);
    made->program = lower(made->pattern, &outer);
    constexpr size_t kNodeBytes = 256;  // with its instruction and tables
    bytes_ += sizeof(Known) + length * sizeof(char16_t) + made->pattern.nodes.size() * kNodeBytes;
    return known_.emplace(std::move(key), std::move(made)).first->second->program;
}

}  // namespace qxut::regexp
