#include "zeb/core/AutoBuffer.h"
#include "zeb/filesystem/ErrnoImpl.h"
#include "zeb/filesystem/File.h"

#include <climits>
#include <cstdlib>
#include <unistd.h>

namespace FileSystem {

namespace {

constexpr unsigned long WORKING_DIRECTORY_STACK = 256;

// The working directory and "/" ahead of a relative path. The result is 0 or an error number.
int MakeAbsolute_(String& path) {
    AutoBuffer<WORKING_DIRECTORY_STACK, char> buffer(1);
    while (getcwd(buffer.Ptr(), buffer.Size()) == nullptr) {
        if (errno != ERANGE) return errno;
        if (!buffer.Resize(2 * buffer.Size())) return ENOMEM;
    }
    unsigned long const size = strlen(buffer.Ptr());
    buffer[size] = '/'; // in the place of the NUL
    return path.Replace(0, 0, buffer.Ptr(), size + 1) ? 0 : ENOMEM;
}

// Rewrites an absolute path in place; what is written is never ahead of what is read. False for one that
// leads above the root.
bool Fold_(String& path) {
    char* const text = path.Ptr();
    unsigned long written = 0, end = 0;
    for (unsigned long start = 1; start < path.Size(); start = end + 1) {
        end = path.Find('/', start);
        CString const component(text + start, end - start);
        if (component.Empty() || component == ".") continue;
        if (component == "..") {
            if (written == 0) return false;
            written = CString(text, written).FindLast('/');
            continue;
        }
        text[written++] = '/';
        memmove(text + written, component.Cstr(), component.Size());
        written += component.Size();
    }
    if (written == 0) ++written; // the "/" that the path starts with
    path.Truncate(written);
    return true;
}

int FoldWithoutDisk_(String& path) {
    if (path.Empty()) return EINVAL;
    if (path[0] != '/')
        if (int const failure = MakeAbsolute_(path)) return failure;
    return Fold_(path) ? 0 : EINVAL;
}

} // namespace

bool File::GetCanonicalPath(CString const& path, String& canonical, bool noDisk, int* error) {
    String found;
    int failure = 0;
    if (noDisk) {
        failure = found.Assign(path) ? FoldWithoutDisk_(found) : ENOMEM;
    } else {
        char text[PATH_MAX];
        if (realpath(path.Cstr(), text) == nullptr)
            failure = errno;
        else if (!found.Assign(CString(text)))
            failure = ENOMEM;
    }
    Store(failure, error);
    if (failure == 0) canonical.Swap(found);
    return failure == 0;
}

} // namespace FileSystem
