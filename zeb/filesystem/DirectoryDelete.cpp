#include "zeb/core/ErrorString.h"
#include "zeb/filesystem/DirectoryScanImpl.h"
#include "zeb/filesystem/ErrnoImpl.h"
#include "zeb/runtime/StatusLog.h"

#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace FileSystem {

// Deletes a tree by names as seen from open directories, so that neither a link that takes the place of a
// directory nor the length of a path leads elsewhere. Of a deep tree the lowest levels are open; a level
// above is opened again, by "..", when all below it is gone, and read from its start, as what was read before
// is gone too.
class Directory::Removal_ {
public:
    explicit Removal_(int* error)
        : error_(error) {}

    ReturnT DeleteOne(CString const& path) {
        return rmdir(path.Cstr()) == 0 ? DONE
                                       : Fail_(ReturnT::Fail(), "unable to remove \"%1\": %2", path, errno);
    }
    ReturnT DeleteAll(CString const& path);

private:
    static constexpr unsigned long OPEN_LEVELS = 8;

    struct Level_ {
        Scan_ scan;
        unsigned long pathSize = 0;
        struct stat identity {}; // of a level that was closed
    };

    ReturnT Step_();
    ReturnT Enter_(int parent, char const* name);
    ReturnT Leave_();
    void CloseFar_();
    bool OpenAgain_(Level_& level, int below);
    ReturnT Fail_(ReturnT const& code, char const* message, CString const& path, int error,
                  CString const& name = CString::Nil());
    ReturnT Oom_();

    int* error_;
    String path_; // of the level at hand
    AutoPVector<Level_> levels_;
};

ReturnT Directory::Removal_::DeleteAll(CString const& path) {
    if (!path_.Assign(path)) return Oom_();
    ReturnT code = Enter_(AT_FDCWD, path_.Cstr());
    while (code.Succeeded() && !levels_.Empty())
        code = Step_();
    return code.Failed() ? code : DeleteOne(path_);
}

ReturnT Directory::Removal_::Step_() {
    Scan_& scan = levels_.Back()->scan;
    if (!scan.Next() && scan.Error() != 0)
        return Fail_(ReturnT::Fail(), "unable to read \"%1\": %2", path_, scan.Error());
    CString const& name = scan.Name();
    if (name.Empty()) return Leave_();
    if (scan.IsDots()) return DONE;
    if (scan.IsDirectory(Scan_::KEEP)) {
        if (!path_.Append("/") || !path_.Append(name)) return Oom_();
        return Enter_(scan.Fd(), name.Cstr());
    }
    if (unlinkat(scan.Fd(), name.Cstr(), 0) == 0) return DONE;
    return Fail_(ReturnT::Fail(), "unable to delete \"%1\": %2", path_, errno, name);
}

ReturnT Directory::Removal_::Enter_(int parent, char const* name) {
    AutoPtr<Level_> level(new (std::nothrow) Level_);
    if (!level) return Oom_();
    if (!level->scan.Open(parent, name, Scan_::KEEP))
        return Fail_(ReturnT::Fail(), "unable to open \"%1\": %2", path_, level->scan.Error());
    level->pathSize = path_.Size();
    if (!levels_.PushBack(level)) return Oom_();
    CloseFar_();
    return DONE;
}

// All is gone below the level at hand: takes it away from the one above it.
ReturnT Directory::Removal_::Leave_() {
    unsigned long const above = levels_.Size() - 1;
    if (above == 0) {
        levels_.Clear();
        return DONE;
    }
    Level_& parent = *levels_[above - 1];
    bool const isOpen = parent.scan.IsOpen() || OpenAgain_(parent, levels_.Back()->scan.Fd());
    CString const name(path_.Cstr() + parent.pathSize + 1);
    levels_.Free(above);
    if (isOpen && unlinkat(parent.scan.Fd(), name.Cstr(), AT_REMOVEDIR) != 0)
        return Fail_(ReturnT::Fail(), "unable to remove \"%1\": %2", path_, errno);
    path_.Truncate(parent.pathSize);
    if (isOpen) return DONE;
    return Fail_(ReturnT::Fail(), "unable to open \"%1\": %2", path_, parent.scan.Error());
}

void Directory::Removal_::CloseFar_() {
    if (levels_.Size() <= OPEN_LEVELS) return;
    Level_& far = *levels_[levels_.Size() - 1 - OPEN_LEVELS];
    if (far.scan.IsOpen() && fstat(far.scan.Fd(), &far.identity) == 0) far.scan.Close();
}

// A directory that was moved has another parent.
bool Directory::Removal_::OpenAgain_(Level_& level, int below) {
    if (!level.scan.Open(below, "..", Scan_::KEEP)) return false;
    struct stat now;
    bool const isSame = fstat(level.scan.Fd(), &now) == 0 && now.st_ino == level.identity.st_ino &&
                        now.st_dev == level.identity.st_dev;
    if (!isSame) level.scan.Fail(ENOENT);
    return isSame;
}

ReturnT Directory::Removal_::Fail_(ReturnT const& code, char const* message, CString const& path, int error,
                                   CString const& name) {
    Store(error, error_);
    StatusLog report(code, Log::CRITICAL, IDENT, nullptr, message);
    report << (path.Empty() ? Log::L10n(CString("(empty)")) : path);
    if (!name.Empty()) report << Log::GLUE << "/" << Log::GLUE << name;
    report << ErrorString(error) << (error_ ? Log::QUIET : Log::LOUD);
    return report.SetFail();
}

ReturnT Directory::Removal_::Oom_() {
    Store(ENOMEM, error_);
    return (StatusLog(OUT_OF_MEMORY, Log::CRITICAL, IDENT, nullptr, "") << (error_ ? Log::QUIET : Log::LOUD))
        .SetOom();
}

ReturnT Directory::Delete(CString const& path, RecursiveT recursive, int* error) {
    Store(0, error);
    Removal_ removal(error);
    return recursive == NOT_RECURSIVE ? removal.DeleteOne(path) : removal.DeleteAll(path);
}

} // namespace FileSystem
