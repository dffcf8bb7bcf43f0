// A spool of uploads: made, filled by a copy, listed, and thrown away; and where a configured path leads.
#include "zeb/core/ErrorString.h"
#include "zeb/filesystem/Directory.h"
#include "zeb/filesystem/Symlink.h"
#include "zeb/io/File.h"
#include "zeb/io/StdStream.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

using FileSystem::Directory;
using FileSystem::File;
using FileSystem::Symlink;

constexpr unsigned int MODE_PROGRAM = 0755;

bool IsUpload(File const& file) { return File::IsRegular(file.Path()); }
int ByPath(File const* a, File const* b) { return a->Path().Compare(b->Path()); }

// Files of the spool, by name, with their sizes.
bool PrintUploads(CString const& spool, Io::OStream& out) {
    AutoPVector<File, StdDeleter> files;
    if (Directory::GetFileList(spool, files, &IsUpload).Failed()) return false;
    files.Sort<&ByPath>();
    for (File const* file : files) {
        String name;
        unsigned long long size;
        // One that somebody else has taken away meanwhile is not there any more.
        if (!file->GetBaseName(name) || !File::GetSize(file->Path(), size)) continue;
        out << name << ": " << size << " bytes" << Io::Endl;
    }
    return out.Ok();
}

// A program keeps its mode only if it is told to.
bool Install(CString const& from, CString const& to) {
    return File::Copy(from, to) && File::SetMode(to, MODE_PROGRAM);
}

// The path as a user may have typed it, if it stays below `top`.
bool Resolve(CString const& top, CString const& typed, String& path) {
    String whole;
    if (!whole.Assign(top) || !whole.Append("/") || !whole.Append(typed)) return false;
    if (!File::GetCanonicalPath(whole, path, true)) return false;
    return path.Compare(0, top.Size(), top) == 0 && (path.Size() == top.Size() || path[top.Size()] == '/');
}

bool Run(CString const& top, Io::OStream& out) {
    String spool, link, program, path;
    if (!Resolve(top, "in/./new", spool) || !Resolve(top, "latest", link) || !Resolve(top, "run", program))
        return false;
    int error;
    if (!Directory::Create(spool, Directory::RECURSIVE, &error) || !Symlink::Create("in/new", link, &error)) {
        out << "no spool: " << ErrorString(error) << Io::Endl;
        return false;
    }
    String first;
    if (!first.Assign(spool) || !first.Append("/first")) return false;
    Io::File upload(first, O_WRONLY | O_CREAT | O_EXCL);
    upload << "name=gateway" << Io::Endl;
    if (!upload.Close() || !PrintUploads(link, out) || !Install("/bin/true", program)) return false;
    out << "/etc/passwd by \"in/../..\": "
        << (Resolve(top, "in/../../../../etc/passwd", path) ? "served" : "refused") << Io::Endl;
    bool empty, onlyFiles;
    if (Directory::CheckContent(spool, empty, onlyFiles).Failed()) return false;
    out << "the spool has " << (empty ? "nothing" : onlyFiles ? "files alone" : "directories") << Io::Endl;
    return out.Ok();
}

} // namespace

int main() {
    char top[] = "/tmp/files.XXXXXX";
    if (mkdtemp(top) == nullptr) return 1;
    Io::StdOut out;
    bool const isDone = Run(top, out);
    // Whatever went wrong before, nothing is left; a link in the tree is not followed.
    bool const isClean = Directory::Delete(top, Directory::RECURSIVE).Succeeded();
    return isDone && isClean ? 0 : 1;
}
