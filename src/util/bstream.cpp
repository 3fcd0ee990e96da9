// bstream.cpp - a view on caller memory, read and written front to back.
//
// Every operation moves `position` and `remaining` by the same amount; nothing else is state.
// Tested by tests/util/bstream_test.cpp.
#include <qxut/util/bstream.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

void advance(ut_bstream& stream, uint64_t count) {
    stream.position += count;
    stream.remaining -= count;
}

// Copies into the stream what fits and returns how much that was.
uint64_t append(ut_bstream& stream, const char* source, uint64_t length) {
    const uint64_t copied = std::min(length, stream.remaining);
    if (copied != 0) std::memcpy(stream.position, source, copied);
    advance(stream, copied);
    return copied;
}

int as_byte(int character) { return static_cast<unsigned char>(character); }

// Length of the run at the position whose bytes are members (or not) of the set.
uint64_t span(const ut_bstream& stream, const char* set, bool members) {
    uint64_t length = 0;
    while (length < stream.remaining &&
           (std::strchr(set, stream.position[length]) != nullptr) == members)
        ++length;
    return length;
}

}  // namespace

bool ut_beof(const ut_bstream* stream) { return stream->remaining == 0; }

int ut_bgetc(ut_bstream* stream) {
    if (stream->remaining == 0) return -1;
    const int byte = as_byte(*stream->position);
    advance(*stream, 1);
    return byte;
}

int ut_bputc(int character, ut_bstream* stream) {
    if (stream->remaining == 0) return -1;
    *stream->position = static_cast<char>(character);
    advance(*stream, 1);
    return as_byte(character);
}

int ut_bungetc(int character, ut_bstream* stream) {
    if (character == -1) return -1;
    --stream->position;
    ++stream->remaining;
    *stream->position = static_cast<char>(character);
    return as_byte(character);
}

char* ut_bgets(char* destination, int32_t size, ut_bstream* stream) {
    char* out = destination;
    // The byte at the position is looked at first, whatever remains: callers provide it.
    while (*stream->position != '\n' && size > 1 && stream->remaining != 0) {
        *out++ = *stream->position;
        advance(*stream, 1);
        --size;
    }
    if (size == 1) {
        *out = '\0';
        return destination;
    }
    if (stream->remaining == 0) {
        *out = '\0';
        return nullptr;
    }
    *out++ = *stream->position;
    advance(*stream, 1);
    *out = '\0';
    return destination;
}

uint64_t ut_bread(void* destination, uint64_t size, uint64_t count, ut_bstream* stream) {
    const uint64_t elements = std::min(count, stream->remaining / size);
    if (elements != 0) std::memcpy(destination, stream->position, elements * size);
    advance(*stream, elements * size);
    return elements;
}

uint64_t ut_bwrite(const void* source, uint64_t size, uint64_t count, ut_bstream* stream) {
    const uint64_t elements = std::min(count, stream->remaining / size);
    if (elements != 0) std::memcpy(stream->position, source, elements * size);
    advance(*stream, elements * size);
    return elements;
}

int ut_bputs(const char* text, void* stream) {
    auto& out = *static_cast<ut_bstream*>(stream);
    const uint64_t length = std::strlen(text);
    return append(out, text, length) == length ? 1 : -1;
}

int ut_bputsn(void* stream, const char* source, int32_t count) {
    auto& out = *static_cast<ut_bstream*>(stream);
    if (count == 0) return 0;
    if (out.remaining == 0) return -1;
    if (count < 0) return 0;
    return static_cast<int>(append(out, source, static_cast<uint64_t>(count)));
}

uint64_t ut_bufspn(const ut_bstream* stream, const char* set) { return span(*stream, set, true); }

uint64_t ut_bufcspn(const ut_bstream* stream, const char* set) { return span(*stream, set, false); }

bool ut_skip_white_space(ut_bstream* stream) {
    while (stream->remaining != 0 && std::isspace(as_byte(*stream->position)) != 0)
        advance(*stream, 1);
    return stream->remaining == 0;
}
