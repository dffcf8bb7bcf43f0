#include "zeb/filesystem/Directory.h"
#include "tests/filesystem/Paths.h"
#include "zeb/core/StringVector.h"
#include "zeb/filesystem/Symlink.h"

#include <map>
#include <set>

namespace {

using FileSystem::Directory, FileSystem::File, FileSystem::Symlink;

std::string Number(ReturnT const& code) {
    if (code == Directory::OUT_OF_MEMORY) return "oom";
    return code.Facility() == ReturnT::FACILITY_FAIL ? "fail" : (code.Failed() ? "e" : "") + std::to_string(code.Code() & 0xFFFF);
}

std::string Parts(CString const& path) {
    File const object(path);
    String folder, base;
    if (!object.GetDirectoryName(folder) || !object.GetBaseName(base)) return "0";
    return std::string(object.IsAbsolute() ? "1/ [" : "1 [") + folder.Cstr() + "] [" + base.Cstr() + "]";
}

struct DirectoryTest : WithFolder {
    // Runs an operation on names in the folder, "-" being none. Gives the errno or the number of the code, then what was
    // found, and what was logged: "!" for each line of Io::File.
    std::string Do(std::string const& command, Heap* heap = nullptr) {
        std::istringstream words(command);
        std::string operation, first, second;
        words >> operation >> first >> second;
        CString const a = first == "-" ? CString() : At(first), b = At(second), text = Keep(first);
        StringVector names;
        AutoPVector<File, StdDeleter> files;
        String target;
        File here(a);
        bool empty = false, onlyFiles = false;
        auto const deep = second == "all" ? Directory::RECURSIVE : Directory::NOT_RECURSIVE;
        EXPECT_TRUE((operation != "names" || names.PushBack("before")) &&
                    (operation != "files" || files.PushBack(new File("before"))));
        std::map<std::string, std::function<std::string()>> const operations = {
            {"link", [&] { return Told(File::Link(a, b, &error)); }},
            {"symlink", [&] { return Told(Symlink::Create(text, b, &error)); }},
            {"readlink", [&] { return Told(Symlink::GetFile(a, target, &error)); }},
            {"delete", [&] { return Told(File::Delete(a, &error)); }},
            {"rename", [&] { return std::to_string(here.Rename(b) && here.Path() == b); }},
            {"chmod", [&] { return std::to_string(File::SetMode(a, 0755)); }},
            {"parts", [&] { return Parts(text); }},
            {"canon", [&] { return Told(File::GetCanonicalPath(text, target, true, &error)); }},
            {"copy", [&] { return std::to_string(File::Copy(a, b)); }},
            {"mkdir", [&] { return Told(Directory::Create(a, deep, &error)); }},
            {"rmdir", [&] { return Number(Directory::Delete(a, deep, &error)); }},
            {"rmloud", [&] { return Number(Directory::Delete(a, Directory::RECURSIVE)); }},
            {"object", [&] { return std::to_string(Directory(a).DoDelete()); }},
            {"names", [&] { return Number(Directory::GetNameList(a, names)); }},
            {"files", [&] { return Number(Directory::GetFileList(a, files)); }},
            {"content", [&] { return Number(Directory::CheckContent(a, empty, onlyFiles)); }},
            {"copytree", [&] { return Number(Directory::RecursiveCopy(a, b)); }}};
        if (heap) heap->Arm();
        std::string result = operations.at(operation)();
        if (heap) heap->Disarm();
        if (operation == "rmdir") result += ":" + std::to_string(error);
        std::set<std::string> found = {target.Cstr(), empty ? "empty" : "", onlyFiles ? "only" : ""};
        for (String const& name : names) found.insert(name.Cstr());
        for (File const* const file : files) found.insert(dir.Masked(file->Path().Cstr()));
        found.erase("");
        for (std::string const& name : found) result += " " + name;
        return result + Replaced(dir.Masked(log.TakeText()),
                                 {{"[CE] Io::File.*\n", "!"}, {"C FileSystem::Directory: (sys|out)[a-z ]*[^ ]*|\n", ""}});
    }
};

// A FolderTable.
char const* const ROWS = R"rows(
f&&link f g&0&f g; f&&link f f&17; &&link f g&2; f&link 0 EMLINK&link f g&31; f&&symlink t l&0&f l>t; f&&symlink t f&17;
&symlink 0 ENOSPC&symlink t l&28; l>../t&&readlink l&0 ../t; f&&readlink f&22; &&readlink l&2; f&&delete f&0&; d/&&delete d&21;
d/ l>d&&delete l&0&d/; &&delete f&2; f&unlink 0 EROFS&delete f&30; f&&rename f g&1&g; &&rename f g&0;
f&rename 0 EXDEV&rename f g&0; f&&chmod f&1&f*; &&chmod f&0; &&parts /a/b&1/ [/a] [b]; &&parts /a&1/ [/] [a]; &&parts a&1 [] [a];
&&parts a/&1 [a] []; &&parts /&1/ [/] []; &&parts a//b&1 [a/] [b]; &&parts ../x&1 [..] [x]; &&canon /a/./b//c/../d/&0 /a/b/d;
&&canon /&0 /; &&canon //&0 /; &&canon /.&0 /; &&canon /./&0 /; &&canon /a/..&0 /; &&canon /a/../&0 /; &&canon /a/b/../..&0 /;
&&canon /a..b/.../..c/d..&0 /a..b/.../..c/d..; &&canon ///a///b///&0 /a/b; &&canon /abc/../de&0 /de; &&canon /.a/..&0 /;
&&canon /a/b/.&0 /a/b; &&canon /a/b/c/../../x/./../y&0 /a/y; &&canon /..&22; &&canon /../a&22; &&canon /a/../..&22;
&&canon /a/../../a&22; &&canon //..&22; f&&copy f g&1&f g; f l>f&&copy f l&1; f l>f&&copy l f&1; &&copy f g&0!;
f&open 0 EACCES&copy f g&0!; f&open 1 EACCES&copy f g&0!; f&read 0 EIO&copy f g&0!&f g; f&write 0 ENOSPC&copy f g&0!&f g;
f&ftruncate 0 EPERM&copy f g&0!&f g; f&close 0 EIO&copy f g&0!&f g; f&close 1 EIO&copy f g&0!&f g; d/&&copy d g&0!&d/ g;
&&mkdir a&0&a/; a/&&mkdir a&17; &&mkdir b/c&2; &&mkdir -&22; &&mkdir - all&22; &&mkdir b/c all&0&b/ b/c/; b/c/&&mkdir b/c all&17;
b/&&mkdir b//d/// all&0&b/ b/d/; b/d/&&mkdir b//d/ all&17; f&&mkdir f/x all&20; f&&mkdir f all&17;
&mkdir 0 ENOSPC&mkdir a/b all&28; a b/ c>x&&names .&1 . .. a b c; a b/ l>x&&files .&1 @/./a @/./b @/./l; &&names a&e2;
&&files a&e2; f&&names f&e1; f&&files f&e1; f&readdir 1 EIO&names .&e2; f&readdir 2 ENOMEM&files .&oom;
&openat 0 ENOMEM&names .&oom; &fdopendir 0 EMFILE&names .&e2; &readdir 0 EIO&names .&e2; &readdir 1 EIO&files .&e2;
&&content .&1 empty; .zeb-acl .webdav-temp&&content .&1 empty; .zeb-acl/&&content .&1 empty; f&&content .&1 only;
f .zeb-acl&&content .&1 only; d/&&content .&1; f g d/&&content .&1; l>.&&content .&1; l>x&&content .&1 only;
.zeb-acl2&&content .&1 only; &&content a&e2 empty; f&&content f&e1 empty; f&readdir 0 EIO&content .&e2 empty;
f g h&readdir 4 EIO&content .&e2; d/&&rmdir d&1:0&; d/f&&rmdir d&fail:39; &&rmdir d&fail:2; &&rmdir -&fail:2; d/&&object d&1&;
d/f&&object d&0 unable to remove "@/d": directory not empty.;
s/f d/b/c/ d/a d/b/c/x d/b/y| d/l>../s d/b/m>/ d/n>x&&rmdir d all&1:0&s/ s/f; s/ w>s&&rmdir w all&fail:20; f&&rmdir f all&fail:20;
&&rmdir x all&fail:2; &&rmloud -&fail unable to open "(empty)": no such file or directory.;
d/&openat 0 EACCES&rmloud d&fail unable to open "@/d": permission denied.;
d/i/&openat 1 EMFILE&rmloud d&fail unable to open "@/d/i": too many open files.;
d/&readdir 2 EIO&rmloud d&fail unable to read "@/d": input/output error.;
d/f&unlinkat 0 EROFS&rmloud d&fail unable to delete "@/d/f": read-only filesystem.;
d/i/&unlinkat 0 EBUSY&rmloud d&fail unable to remove "@/d/i": device or resource busy.;
d/&rmdir 0 EBUSY&rmloud d&fail unable to remove "@/d": device or resource busy.; d/f&unlinkat 0 EIO&rmdir d all&fail:5;
s/a/b/ s/a/b/c s/d/ s/f s/l>../o s/n>x s/p* s/q| t/a/ t/a/w t/f&&copytree s t&1&s/ s/a/ s/a/b/ s/a/b/c s/d/ s/f s/l>../o s/n>x
s/p* s/q| t/ t/a/ t/a/b/ t/a/b/c t/a/w t/d/ t/f t/l>../o t/n>x t/p*;
a/b/ a/b/c&&copytree a a/in&1&a/ a/b/ a/b/c a/in/ a/in/b/ a/in/b/c; a/&&copytree a b&1&a/ b/; a/&&copytree a b/c&e3;
a/ b&&copytree a b&e7; a/ b>a&&copytree a b&e7; a/d/ b/ b/d&&copytree a b&e7; a/&mkdir 0 ENOSPC&copytree a b&e3;
a/&openat 0 EACCES&copytree a b&e2; a b/&&copytree a b&e1; b/&&copytree a b&e2; a/f b/&lstat 1 EIO&copytree a b&e2;
a/l>x b/&readlink 0 EIO&copytree a b&e4; a/l>x b/&readlink 0 ENOMEM&copytree a b&oom; a/l>x b/ b/l&&copytree a b&e5;
a/f b/f/&&copytree a b&e6!; a/f b/&write 0 ENOSPC&copytree a b&e6!&a/ a/f b/ b/f;)rows";

TEST_F(DirectoryTest, DoesOrSaysWhyNotWithAndWithoutMemory) {
    auto const allocating = "((mk|rm)dir .* all|(rename|parts|canon|names|files|copytree|rmloud|object|readlink) .*):[01].*";
    RunFolderTable(dir, {ROWS, allocating, "12|oom.*|e6!|0.?", [this](auto& command, Heap* heap) { return Do(command, heap); }});
}

TEST_F(DirectoryTest, ListsWhatAFilterKeepsAndCallsItWithoutALock) {
    dir.Make("one two/ three>absent");
    StringVector names;
    AutoPVector<File, StdDeleter> files;
    auto const filter = [](CString const& name) {
        StringVector others;
        return name[0] == 't' && Directory::GetNameList("/", others).Succeeded() && others.Has("proc");
    };
    EXPECT_EQ(Directory::GetNameList(At("."), names, filter), Directory::DONE);
    EXPECT_TRUE(names.Size() == 2 && names.Has("two") && names.Has("three"));
    EXPECT_EQ(Directory::GetFileList(At(""), files, [](auto& file) { return File::IsDirectory(file.Path()); }), Directory::DONE);
    EXPECT_TRUE(files.Size() == 1 && files.Front()->Path() == At("two"));
}

TEST_F(DirectoryTest, DeletesOnlyWhatIsInTheTreeWhileOthersChangeIt) {
    dir.MakeDeep("tree", 20, "d");
    dir.Make("kept", "safe");
    std::tuple<SysCall, unsigned long, std::function<void()>, std::string> const rows[] = {
        // A level goes away, from above those that are open, with all below it.
        {SysCall::openat, 21, [&] { fs::rename(dir / "tree/d/d/d/d/d/d/d/d/d/d/d/d/d", dir / "safe/d"); }, "fail:2"},
        {SysCall::openat, 1, [&] { fs::rename(dir / "tree/d", dir / "moved"), dir.Make("tree/d>../safe"); }, "fail:20"},
        {SysCall::unlinkat, 0, [&] { fs::remove(dir / "tree/d"); }, "fail:2"}};
    for (auto const& [call, ahead, change, result] : rows) {
        Calls calls;
        calls.Script(call, {Calls::Real()}, ahead);
        calls.Script(call, {Calls::Do(change)});
        EXPECT_EQ(Do("rmdir tree all"), result);
        EXPECT_TRUE(dir.Exists("safe/kept") && dir.Exists("safe/d"));
    }
}

TEST_F(DirectoryTest, ATreeMayBeDeepAndWideWithFewDescriptors) {
    ZEB_NEED_ROOT();
    ASSERT_TRUE(space->SmallDisk(dir / "small", 1 << 16));
    dir.MakeDeep("m/deep", 200, std::string(100, 'd'));
    dir.MakeDeep("m/tree", 200, "d");
    for (int i = 0; i < 10000; ++i) close(open(At("m/tree/d/f" + std::to_string(i)).Cstr(), O_CREAT | O_WRONLY, 0644));
    for (int i = 0; i < 300; ++i) fs::create_directory(dir / ("m/tree/d/d/d/e" + std::to_string(i)));
    dir.Write("m/tree/large", std::string(1 << 17, 'x'));
    EXPECT_EQ(Do("copytree m/tree small"), "e6!"); // there is no more room
    DescriptorLimit const limit(9);
    EXPECT_EQ(Do("copytree m/tree m/copy") + Do("copytree m/deep m/part"), "1e2");
    for (std::string const name : {"deep", "part", "copy", "tree"}) EXPECT_EQ(Do("rmdir m/" + name + " all"), "1:0") << name;
    EXPECT_TRUE(fs::is_empty(dir / "m"));
}

} // namespace
