#include "zeb/core/Base64Impl.h"
#include "zeb/stream/IStream.h"
#include "zeb/stream/OStream.h"

using namespace Base64Impl;

namespace {

// Less than a block only at the end of the data, or when the stream has failed.
unsigned long ReadBlock_(Io::IStream& in, unsigned char* block) {
    unsigned long size = 0;
    unsigned long done = 1;
    while (size < BLOCK_BYTES && done != 0 && in.Read(block + size, BLOCK_BYTES - size, done))
        size += done;
    return size;
}

} // namespace

bool Base64::Encode(Io::IStream& in, Io::OStream& out, FormatT format) {
    unsigned char block[BLOCK_BYTES];
    char text[BLOCK_SYMBOLS];
    unsigned long size = BLOCK_BYTES;
    while (size == BLOCK_BYTES) {
        size = ReadBlock_(in, block);
        if (size == 0 || !in.Ok()) break;
        char const* const end = Base64Impl::Encode(text, block, size, format);
        if (!out.WriteAll(text, static_cast<unsigned long>(end - text))) break;
    }
    return in.Ok() && out.Ok();
}

bool Base64::Decode(Io::IStream& in, Io::OStream& out, FormatT format) {
    Gatherer gatherer(format);
    for (int c; (c = in.GetChar()) != Io::IStreamBuffer::CHAR_END;) {
        Gatherer::ResultT const result = gatherer.Put(static_cast<char>(c));
        if (result == Gatherer::FORBIDDEN) return in.Fail(Io::Stateful::STATE_INVALID);
        if (result == Gatherer::BLOCK && !out.WriteAll(gatherer.Bytes(), BLOCK_BYTES)) return false;
    }
    if (!in.Ok()) return false;
    unsigned long count;
    if (!gatherer.Finish(count)) return in.Fail(Io::Stateful::STATE_INVALID);
    return out.WriteAll(gatherer.Bytes(), count) && in.Ok() && out.Ok();
}
