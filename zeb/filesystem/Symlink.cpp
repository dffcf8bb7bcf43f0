#include "zeb/filesystem/Symlink.h"

#include "zeb/core/AutoBuffer.h"
#include "zeb/filesystem/ErrnoImpl.h"

#include <unistd.h>

namespace FileSystem {

namespace {

constexpr unsigned long TARGET_SIZE = 128;

} // namespace

bool Symlink::Create(CString const& target) { return initialized_ && Create(target, path_); }

bool Symlink::GetFile(String& target) const { return initialized_ && GetFile(path_, target); }

bool Symlink::Create(CString const& target, CString const& link, int* error) {
    return File::Symlink(target, link, error);
}

bool Symlink::GetFile(CString const& link, String& target, int* error) {
    AutoBuffer<TARGET_SIZE, char> buffer;
    for (;;) {
        ssize_t const size = readlink(link.Cstr(), buffer.Ptr(), buffer.Size());
        if (size < 0) return Tell(false, error);
        auto const count = static_cast<unsigned long>(size);
        bool const isWhole = count < buffer.Size();
        if (isWhole ? target.Assign(buffer.Ptr(), count) : buffer.Resize(2 * count)) {
            Store(0, error);
            if (isWhole) return true;
            continue;
        }
        Store(ENOMEM, error);
        return false;
    }
}

} // namespace FileSystem
