// checksums.cpp - see checksums.h. Tested by tests/console (checksums).
//
// Files of any size are read block by block; between the blocks an interrupt is taken.
#include "checksums.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>

#include <qxut/util/contexts.h>
#include <qxut/util/crc.h>
#include <qxut/util/interrupt.h>
#include <qxut/util/output.h>
#include <qxut/util/md5.hpp>

#include "guard.h"
#include "machine.h"
#include "messages.h"

namespace console {
namespace {

constexpr size_t kBlock = size_t{64} * 1024;

struct BlockReader {
    Array<char> path;
    std::FILE* file = nullptr;
    unsigned char* block = nullptr;

    void clear() {
        if (file != nullptr) std::fclose(file);
        ut_mem_free(utGetMemoryContext(), block);
        path.clear();
    }
};

// Calls take(bytes, count) for each block of the file that the value on top names.
template <class Take>
void read_blocks(Machine& machine, const Function& self, Take take) {
    const Value& name = machine.top();
    if (name.kind != Kind::text || name.is_vector) raise(Message::needs_text, self.name);
    BlockReader reader;
    const Guard close_reader(reader);
    machine.resolve(text_of(name.text), reader.path);
    const char* path = reader.path.begin();
    reader.block = static_cast<unsigned char*>(ut_mem_alloc(utGetMemoryContext(), kBlock));
    reader.file = std::fopen(path, "rb");
    if (reader.file == nullptr)
        raise(errno == ENOENT ? Message::file_not_found : Message::file_unreadable, path);
    std::setvbuf(reader.file, nullptr, _IONBF, 0);
    size_t count = 0;
    while ((count = std::fread(reader.block, 1, kBlock, reader.file)) > 0) {
        utPollInterrupt(utGetErrorContext());
        take(reader.block, count);
    }
    if (std::ferror(reader.file) != 0) raise(Message::file_unreadable, path);
}

}  // namespace

void run_crc(Machine& machine, const Function& self, size_t) {
    uint32_t crc = 0;
    read_blocks(machine, self, [&crc](const unsigned char* bytes, size_t count) {
        crc = ut_crc_update(crc, bytes, static_cast<uint32_t>(count));
    });
    char digits[9];
    utSNprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(crc));
    machine.push(Value::of(text_code(digits)));
}

void run_md5(Machine& machine, const Function& self, size_t) {
    ut_md5ChecksumRec md5;
    read_blocks(machine, self,
                [&md5](const unsigned char* bytes, size_t count) { md5.addn(bytes, count); });
    const ut_md5ChecksumValue digest = md5.getValueAndReset();
    // A record that got no memory answers with zeros, which is no digest of any known file.
    if (std::all_of(std::begin(digest.bytes), std::end(digest.bytes),
                    [](unsigned char byte) { return byte == 0; }))
        ut_error(utGetErrorContext(), UT_OUT_OF_MEMORY);
    char digits[33];
    for (size_t i = 0; i < sizeof digest.bytes; ++i)
        utSNprintf(digits + 2 * i, 3, "%02x", static_cast<unsigned>(digest.bytes[i]));
    machine.push(Value::of(text_code(digits)));
}

}  // namespace console
