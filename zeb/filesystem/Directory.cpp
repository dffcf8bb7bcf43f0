#include "zeb/filesystem/Directory.h"

#include "zeb/core/StringVector.h"
#include "zeb/filesystem/DirectoryScanImpl.h"
#include "zeb/filesystem/ErrnoImpl.h"

#include <new>
#include <sys/stat.h>

namespace FileSystem {

namespace {

constexpr mode_t MODE = 0755;
constexpr char const* const NOT_CONTENT[] = {".", "..", ".zeb-acl", ".webdav-temp"};

bool IsContent_(CString const& name) {
    for (char const* const other : NOT_CONTENT)
        if (name == other) return false;
    return true;
}

// Makes each component of a path that is not empty; all but the last may be there.
bool CreateAll_(String& path, int* error) {
    for (unsigned long start = 1;;) {
        unsigned long const end = path.Find('/', start);
        for (start = end; path[start] == '/';)
            ++start;
        bool const isLast = start == path.Size();
        char const cut = std::exchange(path.Ptr()[end], '\0');
        int failure;
        bool const isMade = Tell(mkdir(path.Cstr(), MODE) == 0, &failure);
        path.Ptr()[end] = cut;
        Store(failure, error);
        if (isLast || (!isMade && failure != EEXIST)) return isMade;
    }
}

// A name behind its folder.
bool Join_(CString const& folder, CString const& name, String& path) {
    unsigned long const slash = folder.Empty() || folder[folder.Size() - 1] != '/' ? 1 : 0;
    if (!path.Resize(folder.Size() + slash + name.Size())) return false;
    memcpy(path.Ptr(), folder.Cstr(), folder.Size());
    path.Ptr()[folder.Size()] = '/';
    memcpy(path.Ptr() + folder.Size() + slash, name.Cstr(), name.Size());
    return true;
}

} // namespace

class Directory::FuncFilter_ final : public Filter {
public:
    explicit FuncFilter_(bool (*function)(CString const&))
        : function_(function) {}
    bool operator()(CString const& name) const override { return !function_ || function_(name); }

private:
    bool (*function_)(CString const&);
};

Directory::Filter::~Filter() = default;

bool Directory::DoDelete() { return initialized_ && Delete(path_, NOT_RECURSIVE).Succeeded(); }

bool Directory::Create(CString const& path, RecursiveT recursive, int* error) {
    if (path.Empty()) {
        Store(EINVAL, error);
        return false;
    }
    if (recursive == NOT_RECURSIVE) return Tell(mkdir(path.Cstr(), MODE) == 0, error);
    String own;
    if (own.Assign(path)) return CreateAll_(own, error);
    Store(ENOMEM, error);
    return false;
}

ReturnT Directory::GetNameList(CString const& path, StringVector& names, Filter const& filter) {
    StringVector found;
    Scan_ scan(path);
    while (scan.Next())
        if (filter(scan.Name()) && !found.PushBack(scan.Name())) scan.Fail(ENOMEM);
    if (scan.Error() != 0) found.Clear();
    names.Swap(found);
    return scan.Code();
}

ReturnT Directory::GetNameList(CString const& path, StringVector& names, bool (*filter)(CString const&)) {
    return GetNameList(path, names, FuncFilter_(filter));
}

ReturnT Directory::GetFileList(CString const& path, AutoPVector<File, StdDeleter>& files,
                               bool (*filter)(File const&)) {
    AutoPVector<File, StdDeleter> found;
    Scan_ scan(path);
    while (scan.Next()) {
        if (scan.IsDots()) continue;
        String name;
        AutoPtr<File> file(Join_(path, scan.Name(), name) ? new (std::nothrow) File(std::move(name))
                                                          : nullptr);
        if (file && filter && !filter(*file)) continue;
        if (!file || !found.PushBack(file)) scan.Fail(ENOMEM);
    }
    if (scan.Error() != 0) found.Clear();
    files.Swap(found);
    return scan.Code();
}

ReturnT Directory::CheckContent(CString const& path, bool& empty, bool& onlyFiles) {
    empty = onlyFiles = true;
    Scan_ scan(path);
    while (onlyFiles && scan.Next()) {
        if (!IsContent_(scan.Name())) continue;
        empty = false;
        onlyFiles = !scan.IsDirectory(Scan_::FOLLOW);
    }
    if (empty || scan.Error() != 0) onlyFiles = false;
    return scan.Code();
}

} // namespace FileSystem
