#include "zeb/core/ErrorString.h"
#include "zeb/core/StringVector.h"
#include "zeb/filesystem/File.h"
#include "zeb/filesystem/Symlink.h"
#include "zeb/process/Process.h"
#include "zeb/runtime/Environment.h"
#include "zeb/runtime/StatusLog.h"

#include <cctype>

namespace {

using FileSystem::File;

constexpr char const PATH_VARIABLE[] = "PATH";
constexpr unsigned LINKS_MAX = 8;

class Finder_ {
public:
    Finder_(CString const& executable, CString const& extraPath, Log::VerboseT verbose)
        : executable_(SkipBlanks_(executable))
        , extraPath_(extraPath)
        , volume_(Log::Control(verbose)) {}

    ReturnT Run(CString const& chroot, String& resolved) {
        ReturnT code = SetRoot_(chroot);
        if (code.Failed()) return code;
        if (executable_.Empty()) return ReturnT::Fail();
        StringVector directories;
        code = ListDirectories_(directories);
        for (unsigned long i = 0; i < directories.Size() && code.Succeeded(); ++i) {
            bool found = false;
            code = Try_(directories[i], resolved, found);
            if (found) return code;
        }
        return code.Failed() ? code
                             : Report_(Process::NOT_FOUND, "\"%1\" executable not found", executable_.Cstr());
    }

private:
    static CString SkipBlanks_(CString const& text) {
        unsigned long pos = 0;
        while (pos < text.Size() && isgraph(static_cast<unsigned char>(text[pos])) == 0)
            ++pos;
        return {text.Cstr() + pos, text.Size() - pos};
    }

    ReturnT Report_(ReturnT const& code, char const* message, char const* path) const {
        return StatusLog(code, Log::ERROR, Process::IDENT, nullptr, message) << path << volume_;
    }
    ReturnT Report_(ReturnT const& code, char const* message, char const* path, int error) const {
        return StatusLog(code, Log::ERROR, Process::IDENT, nullptr, message)
               << path << ErrorString(error) << volume_;
    }
    ReturnT Fail_(ReturnT const& code) const {
        return (StatusLog(code, Log::CRITICAL, Process::IDENT, nullptr, "") << volume_).SetFail();
    }
    ReturnT NoMemory_() const {
        return (StatusLog(ReturnT::Oom(), Log::CRITICAL, Process::IDENT, nullptr, "") << volume_).SetOom();
    }

    ReturnT Canonical_(CString const& path, bool noDisk, String& out) const {
        int error = 0;
        if (File::GetCanonicalPath(path, out, noDisk, &error)) return ReturnT::Done();
        return Report_(Process::NOT_CANONICAL, "unable to get canonical path for \"%1\": %2", path.Cstr(),
                       error);
    }

    // It ends in a slash.
    ReturnT SetRoot_(CString const& chroot) {
        if (chroot.Empty()) return ReturnT::Done();
        ReturnT const code = Canonical_(chroot, false, root_);
        if (code.Failed() || root_[root_.Size() - 1] == '/') return code;
        return root_.Append("/") ? code : NoMemory_();
    }

    ReturnT ListDirectories_(StringVector& directories) const {
        if (executable_[0] == '/') return directories.PushBack("") ? ReturnT::Done() : NoMemory_();
        String path;
        ReturnT const code = Environment::Get(PATH_VARIABLE, path);
        if (code.Failed()) return code.IsOom() ? NoMemory_() : Fail_(ReturnT::Fail());
        String list;
        if (!extraPath_.Empty() && (!list.Assign(extraPath_) || !list.Append(":"))) return NoMemory_();
        if (!list.Append(path) || !list.Split(directories, ':') || !directories.Insert(".", 0))
            return NoMemory_();
        return ReturnT::Done();
    }

    ReturnT Try_(CString const& directory, String& resolved, bool& found) const {
        String candidate;
        if (!candidate.Assign(root_) || !candidate.Append(directory) ||
            (!directory.Empty() && !candidate.Append("/")) || !candidate.Append(executable_))
            return NoMemory_();
        String first;
        if (!root_.Empty()) {
            ReturnT const code = FollowLinks_(candidate, first);
            if (code.Failed()) return code;
        }
        if (!File::CheckExistence(candidate, found)) return Fail_(ReturnT::Fail());
        if (!found) return ReturnT::Done();
        if (!File::IsRegular(candidate) || !File::IsReadable(candidate) || !File::IsExecutable(candidate))
            return Report_(Process::NOT_EXECUTABLE, "\"%1\" is not an executable", candidate.Cstr());
        return root_.Empty() ? Canonical_(candidate, false, resolved) : Canonical_(first, true, resolved);
    }

    // The links of a root are those that its own programs see.
    ReturnT FollowLinks_(String& candidate, String& first) const {
        if (!first.Assign(candidate)) return NoMemory_();
        for (unsigned links = 0; File::IsSymlink(candidate); ++links) {
            if (links == LINKS_MAX)
                return Report_(Process::TOO_MANY_LINKS, "too many levels of symbolic links for \"%1\"",
                               first.Cstr());
            String target;
            int error = 0;
            if (!FileSystem::Symlink::GetFile(candidate, target, &error))
                return Report_(Process::UNREADABLE_LINK, "unable to read symlink \"%1\": \"%2\"",
                               candidate.Cstr(), error);
            ReturnT const code = Aim_(candidate, target);
            if (code.Failed()) return code;
        }
        return ReturnT::Done();
    }

    // A relative target counts from the directory of its link.
    ReturnT Aim_(String& candidate, String& target) const {
        if (target[0] != '/') {
            unsigned long const size = candidate.FindLast('/') + 1 - root_.Size();
            String path;
            if (!path.Assign("/") || !path.Append(CString(candidate.Cstr() + root_.Size(), size)) ||
                !path.Append(target))
                return NoMemory_();
            target.Swap(path);
        }
        String within;
        ReturnT const code = Canonical_(target, true, within);
        if (code.Failed()) return code;
        return candidate.Assign(root_) && candidate.Append(within) ? code : NoMemory_();
    }

    CString const executable_;
    CString const& extraPath_;
    Log::ControlT const volume_;
    String root_; // empty for none
};

} // namespace

ReturnT Process::FindExecutable(CString const& executable, CString const& extraPath, CString const& chroot,
                                String& resolved, Log::VerboseT verbose) {
    return Finder_(executable, extraPath, verbose).Run(chroot, resolved);
}
