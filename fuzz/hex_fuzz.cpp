// hex_fuzz.cpp - parses any bytes as hexadecimal text, then dumps and parses the result.
//
// The allocator is limited: a text of nine characters may promise four billion bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <qxut/util/contexts.h>
#include <qxut/util/hex.h>

namespace {

constexpr size_t kLargestBlock = size_t{1} << 14;

void* allocate(size_t size) { return size > kLargestBlock ? nullptr : std::malloc(size); }
void* reallocate(void* block, size_t size) {
    return size > kLargestBlock ? nullptr : std::realloc(block, size);
}

void parse(_error_context* /*errors*/, void* data);
int accept(_error_context* /*errors*/, void* /*data*/, ut_message_code code, va_list /*list*/) {
    return code == UT_OUT_OF_MEMORY;
}

struct Parse {
    _memory_context* memory;
    std::string text;  // its NUL ends the last number
    ut_dsbuffer bytes{};

    explicit Parse(_memory_context* context, std::string input)
        : memory(context), text(std::move(input)) {}
    Parse(const Parse&) = delete;
    Parse& operator=(const Parse&) = delete;
    ~Parse() { ut_clear_dsbuffer(&bytes); }

    bool run() { return ut_try_catch(memory->error_context, this, parse, accept) == 0; }
};

void parse(_error_context* /*errors*/, void* data) {
    auto& job = *static_cast<Parse*>(data);
    ut_initialize_dsbuffer(&job.bytes, job.memory, 1);
    ut_bstream stream{job.text.data(), job.text.size()};
    ut_parsehex(&job.bytes, &stream);
    if (stream.position < job.text.data() || stream.position > job.text.data() + job.text.size() ||
        stream.position + stream.remaining != job.text.data() + job.text.size())
        std::abort();
}

int append(const char* text, void* to) {
    static_cast<std::string*>(to)->append(text);
    return 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    _memory_context memory{utGetErrorContext(), allocate, reallocate, std::free,
                           utGetErrorContext()};
    Parse first(&memory, std::string(reinterpret_cast<const char*>(data), size));
    if (!first.run()) return 0;
    std::string text;
    ut_dumphex(append, &text, static_cast<uint32_t>(first.bytes.length), first.bytes.data);
    Parse second(&memory, text);
    if (!second.run() || second.bytes.length != first.bytes.length ||
        std::memcmp(second.bytes.data, first.bytes.data, first.bytes.length) != 0)
        std::abort();
    return 0;
}
