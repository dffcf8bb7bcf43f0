#include "zeb/stream/IStreamBuffer.h"

#include "zeb/stream/Buffer.h"

namespace Io {

IStreamBuffer::~IStreamBuffer() = default;

bool IStreamBuffer::ReadAll(void* data, unsigned long size) {
    Buffer* const direct = Buffer::From(*this);
    char* pos = static_cast<char*>(data);
    while (size > 0 && Ok()) {
        unsigned long done = 0;
        // A failure is a state, which ends the loop.
        (void)(direct != nullptr ? direct->ReadBulk(pos, size, done) : Read(pos, size, done));
        pos += done;
        size -= done;
    }
    return Ok();
}

} // namespace Io
