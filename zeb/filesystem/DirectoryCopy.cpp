#include "zeb/core/StringVector.h"
#include "zeb/filesystem/Directory.h"
#include "zeb/filesystem/Symlink.h"

#include <cerrno>
#include <new>

namespace FileSystem {

// Copies a tree by paths. Each level has its names ahead of its copying, so that nothing is open meanwhile,
// and a copy that lies in its own source is not copied again.
class Directory::Copying_ {
public:
    ReturnT Run(CString const& from, CString const& to);

private:
    struct Level_ {
        StringVector names;
        unsigned long next = 0;
        unsigned long fromSize = 0, toSize = 0;
    };

    ReturnT Step_();
    ReturnT Enter_();
    ReturnT CopyEntry_();
    ReturnT CopyLink_() const;

    String from_, to_; // of the entry at hand
    AutoPVector<Level_> levels_;
};

ReturnT Directory::Copying_::Run(CString const& from, CString const& to) {
    if (!from_.Assign(from) || !to_.Assign(to)) return OUT_OF_MEMORY;
    ReturnT code = Enter_();
    while (code.Succeeded() && !levels_.Empty())
        code = Step_();
    return code;
}

// The next entry of the level at hand.
ReturnT Directory::Copying_::Step_() {
    Level_& level = *levels_.Back();
    from_.Truncate(level.fromSize);
    to_.Truncate(level.toSize);
    if (level.next == level.names.Size()) {
        levels_.Free(levels_.Size() - 1);
        return DONE;
    }
    CString const& name = level.names[level.next++];
    if (name == "." || name == "..") return DONE;
    bool const isNamed = from_.Append("/") && from_.Append(name) && to_.Append("/") && to_.Append(name);
    return isNamed ? CopyEntry_() : OUT_OF_MEMORY;
}

ReturnT Directory::Copying_::Enter_() {
    Attributes kind;
    bool const isThere = GetLAttrs(to_, kind);
    if (isThere && kind != DIRECTORY) return TARGET_NOT_A_DIRECTORY;
    AutoPtr<Level_> level(new (std::nothrow) Level_);
    if (!level) return OUT_OF_MEMORY;
    level->fromSize = from_.Size();
    level->toSize = to_.Size();
    if (ReturnT const code = GetNameList(from_, level->names); code.Failed()) return code;
    if (!isThere && !Create(to_, NOT_RECURSIVE)) return NOT_CREATED;
    return levels_.PushBack(level) ? DONE : OUT_OF_MEMORY;
}

ReturnT Directory::Copying_::CopyEntry_() {
    Attributes kind;
    if (!GetLAttrs(from_, kind)) return UNREADABLE;
    switch (kind) {
    case SYMLINK:
        return CopyLink_();
    case DIRECTORY:
        return Enter_();
    case REGULAR:
        return Copy(from_, to_) ? DONE : FILE_NOT_COPIED;
    default:
        return DONE;
    }
}

ReturnT Directory::Copying_::CopyLink_() const {
    String target;
    int error;
    if (!Symlink::GetFile(from_, target, &error)) return error == ENOMEM ? OUT_OF_MEMORY : LINK_UNREADABLE;
    return Symlink::Create(target, to_) ? DONE : LINK_NOT_CREATED;
}

ReturnT Directory::RecursiveCopy(CString const& from, CString const& to) { return Copying_().Run(from, to); }

} // namespace FileSystem
