#include "zeb/stream/OStreamBuffer.h"

#include "zeb/stream/Buffer.h"

namespace Io {

OStreamBuffer::~OStreamBuffer() = default;

bool OStreamBuffer::WriteAll(void const* data, unsigned long size) {
    Buffer* const direct = Buffer::From(*this);
    char const* pos = static_cast<char const*>(data);
    while (size > 0 && Ok()) {
        unsigned long done = 0;
        // A failure is a state, which ends the loop.
        (void)(direct != nullptr ? direct->WriteBulk(pos, size, done) : Write(pos, size, done));
        pos += done;
        size -= done;
    }
    return Ok();
}

} // namespace Io
