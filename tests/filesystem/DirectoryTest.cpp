#include "zeb/filesystem/Directory.h"
#include "tests/filesystem/Paths.h"

#include <set>
#include <sys/resource.h>

namespace {

using FileSystem::Directory;
using FileSystem::File;
using FileListT = AutoPVector<File, StdDeleter>;

struct DirectoryTest : PathTest {};

std::set<std::string> Names(CString const& path, bool (*filter)(CString const&) = nullptr) {
    StringVector names;
    std::set<std::string> all;
    EXPECT_EQ(Directory::GetNameList(path, names, filter), Directory::DONE);
    for (String const& name : names) all.insert(name.Cstr());
    return all;
}

TEST_F(DirectoryTest, MakesWhatIsMissing) {
    // name, whether recursive, and the error
    std::istringstream rows(
        "a 0 0 a 0 17 b/c 0 2 b/c 1 0 b/c 1 17 b//d/// 1 0 b//d/ 1 17 a/e/f 1 0 file/x 1 20 file 1 17 file 0 17");
    dir.Make("file");
    unsigned recursive;
    int failure, error = -1;
    for (std::string name; rows >> name >> recursive >> failure;) {
        EXPECT_EQ(Directory::Create(At(name), Directory::RecursiveT(recursive), &error), failure == 0) << name;
        EXPECT_EQ(error, failure) << name;
    }
    EXPECT_EQ(dir.Tree(), "a/ a/e/ a/e/f/ b/ b/c/ b/d/ file");
    EXPECT_EQ(ModeOf("b/c"), 0755u);
    for (auto const recursion : {Directory::NOT_RECURSIVE, Directory::RECURSIVE})
        for (CString const path : {"", "/", "//"})
            EXPECT_TRUE(!Directory::Create(path, recursion, &error) && error == (path.Empty() ? EINVAL : EEXIST));
    Calls calls;
    calls.Script(SysCall::mkdir, {Calls::Fail(EEXIST), Calls::Fail(ENOSPC)});
    EXPECT_FALSE(Directory::Create("/x/y/z", Directory::RECURSIVE) || calls.Left(SysCall::mkdir) > 0);
}

TEST_F(DirectoryTest, ListsNamesAndFiles) {
    dir.Make("one two/ three>absent");
    EXPECT_EQ(Names(At(".")), (std::set<std::string>{".", "..", "one", "two", "three"}));
    // A filter may list directories itself.
    auto const filter = [](CString const& name) { return name[0] == 't' && Names("/proc/self").contains("fd"); };
    EXPECT_EQ(Names(At("."), filter), (std::set<std::string>{"two", "three"}));
    for (std::string const end : {"", "/"}) {
        FileListT files;
        std::set<std::string> paths;
        EXPECT_EQ(Directory::GetFileList((dir.Path() + end).c_str(), files), Directory::DONE);
        for (File const* file : files) paths.insert(file->Path().Cstr());
        EXPECT_EQ(paths, (std::set<std::string>{dir / "one", dir / "two", dir / "three"}));
        auto const isDirectory = [](File const& file) { return File::IsDirectory(file.Path()); };
        EXPECT_EQ(Directory::GetFileList(At("."), files, isDirectory), Directory::DONE);
        EXPECT_TRUE(files.Size() == 1 && files.Front()->Path() == At("./two"));
    }
}

TEST_F(DirectoryTest, TellsWhatAContentIs) {
    std::istringstream rows(
        "10 .zeb-acl .webdav-temp\n10 .zeb-acl/\n1 f\n1 f .zeb-acl\n0 d/\n0 f g d/\n0 l>.\n1 l>no\n1 .zeb-acl2\n10\n");
    std::string row;
    for (int expected; rows >> expected && std::getline(rows, row);) {
        dir.Make(row, "in");
        bool empty = false, onlyFiles = false;
        EXPECT_EQ(Directory::CheckContent(At("in"), empty, onlyFiles), Directory::DONE);
        EXPECT_EQ(10 * empty + onlyFiles, expected) << row;
        Remove({"in"});
    }
}

TEST_F(DirectoryTest, WhatCannotBeReadLeavesEmptyLists) {
    dir.Make("in/ in/file");
    std::tuple<std::string, SysCall, int, ReturnT> const rows[] = {{"absent", SysCall::COUNT, 0, Directory::UNREADABLE},
                                                                   {"in/file", SysCall::COUNT, 0, Directory::NOT_A_DIRECTORY},
                                                                   {"in", SysCall::readdir, EIO, Directory::UNREADABLE},
                                                                   {"in", SysCall::readdir, ENOMEM, Directory::OUT_OF_MEMORY},
                                                                   {"in", SysCall::fdopendir, EMFILE, Directory::UNREADABLE}};
    long const open = OpenDescriptors();
    for (auto const& [name, call, failure, code] : rows)
        for (int round = 0; round < 3; ++round) {
            StringVector names;
            FileListT files;
            bool empty = false, onlyFiles = true;
            Calls calls;
            if (failure) Script(calls, call, call == SysCall::readdir, Calls::Fail(failure));
            EXPECT_TRUE(names.PushBack("x") && files.PushBack(new File("x")));
            EXPECT_EQ(round == 0   ? Directory::GetNameList(At(name), names)
                      : round == 1 ? Directory::GetFileList(At(name), files)
                                   : Directory::CheckContent(At(name), empty, onlyFiles),
                      code);
            EXPECT_TRUE(names.Size() == (round != 0) && files.Size() == (round != 1) && !(round == 2 && onlyFiles));
            EXPECT_EQ(OpenDescriptors(), open);
        }
}

std::string const UNABLE = "C FileSystem::Directory: system failed [0xcffd****], unable to ";

TEST_F(DirectoryTest, DeletesATreeAndNothingElse) {
    dir.Make("safe/ safe/file file way>safe tree/b/c/ tree/a tree/b/c/x tree/b/y| tree/l>../safe tree/b/m>/ tree/n>absent");
    EXPECT_EQ(Directory::Delete(At("tree"), Directory::RECURSIVE), Directory::DONE);
    for (CString const& path : {At("way"), At("file"), At("absent"), CString()})
        EXPECT_TRUE(Directory::Delete(path, Directory::RECURSIVE).Failed());
    EXPECT_TRUE(Directory::Delete("", Directory::NOT_RECURSIVE).Failed() && !Directory(At("safe")).DoDelete());
    EXPECT_EQ(dir.Tree(), "file safe/ safe/file way>safe");
    EXPECT_TRUE(File(At("safe/file")).DoDelete() && Directory(At("safe")).DoDelete() && !dir.Exists("safe"));
    std::string const absent = "no such file or directory.\n";
    EXPECT_EQ(Logged(), UNABLE + "open \"@/way\": not a directory.\n" + UNABLE + "open \"@/file\": not a directory.\n" + UNABLE +
                            "open \"@/absent\": " + absent + UNABLE + "open \"(empty)\": " + absent + UNABLE +
                            "remove \"(empty)\": " + absent + UNABLE + "remove \"@/safe\": directory not empty.\n");
}

TEST_F(DirectoryTest, SaysWhatCannotBeDeleted) {
    auto const swap = Calls::Do([&] {
        fs::rename(dir / "tree/in", dir / "moved");
        dir.Make("tree/in>../safe");
    });
    auto const vanish = Calls::Do([&] { fs::remove(dir / "tree/in/file"); });
    std::tuple<SysCall, unsigned long, Calls::Step, int, std::string> const rows[] = {
        {SysCall::openat, 0, Calls::Fail(EACCES), EACCES, "open \"@/tree\": permission denied"},
        {SysCall::openat, 1, Calls::Fail(EMFILE), EMFILE, "open \"@/tree/in\": too many open files"},
        {SysCall::openat, 1, swap, ENOTDIR, "open \"@/tree/in\": not a directory"},
        {SysCall::readdir, 1, Calls::Fail(EIO), EIO, "read \"@/tree\": input/output error"},
        {SysCall::unlinkat, 0, vanish, ENOENT, "delete \"@/tree/in/file\": no such file or directory"},
        {SysCall::unlinkat, 0, Calls::Fail(EROFS), EROFS, "delete \"@/tree/in/file\": read-only filesystem"},
        {SysCall::unlinkat, 1, Calls::Fail(EBUSY), EBUSY, "remove \"@/tree/in\": device or resource busy"},
        {SysCall::rmdir, 0, Calls::Fail(EBUSY), EBUSY, "remove \"@/tree\": device or resource busy"}};
    long const open = OpenDescriptors();
    for (auto const& [call, skipped, step, failure, words] : rows)
        for (bool const isQuiet : {false, true}) {
            dir.Make("safe/ safe/kept tree/in/ tree/in/file");
            Calls calls;
            Script(calls, call, skipped, step);
            int error = -1;
            ReturnT const code = Directory::Delete(At("tree"), Directory::RECURSIVE, isQuiet ? &error : nullptr);
            EXPECT_TRUE(code.Facility() == ReturnT::FACILITY_FAIL && error == (isQuiet ? failure : -1));
            EXPECT_EQ(Logged(), isQuiet ? "" : UNABLE + words + ".\n");
            EXPECT_TRUE(OpenDescriptors() == open && dir.Exists("safe/kept"));
            Remove({"tree", "moved"});
        }
}

// Levels of directories, each with a file, of paths longer than any call takes.
void MakeDeep(std::string const& top, int levels, std::string const& name) {
    fs::create_directory(top);
    int fd = open(top.c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < levels; ++i) {
        mkdirat(fd, name.c_str(), 0755);
        close(openat(fd, "file", O_CREAT | O_WRONLY, 0644));
        close(std::exchange(fd, openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY)));
    }
    close(fd);
}

TEST_F(DirectoryTest, ATreeMayBeDeepAndWideWithFewDescriptors) {
    ZEB_NEED_ROOT();
    Namespace space;
    ASSERT_TRUE(space.SmallDisk(dir / "memory") && space.SmallDisk(dir / "small", 1 << 18));
    MakeDeep(dir / "memory/deep", 200, std::string(100, 'd'));
    MakeDeep(dir / "memory/tree", 200, "d");
    for (int i = 0; i < 10000; ++i) close(open(At("memory/tree/d/f" + std::to_string(i)).Cstr(), O_CREAT | O_WRONLY, 0644));
    for (int i = 0; i < 300; ++i) fs::create_directory(dir / ("memory/tree/d/d/d/e" + std::to_string(i)));
    rlimit all{};
    getrlimit(RLIMIT_NOFILE, &all);
    rlimit const few{static_cast<rlim_t>(OpenDescriptors() + 9), all.rlim_max}; // one of them lists the others
    setrlimit(RLIMIT_NOFILE, &few);
    EXPECT_EQ(Directory::RecursiveCopy(At("memory/tree"), At("memory/copy")), Directory::DONE);
    EXPECT_EQ(Directory::RecursiveCopy(At("memory/deep"), At("memory/part")), Directory::UNREADABLE);
    setrlimit(RLIMIT_NOFILE, &all);
    EXPECT_EQ(dir.Tree("memory/copy"), dir.Tree("memory/tree"));
    setrlimit(RLIMIT_NOFILE, &few);
    for (char const* const name : {"memory/deep", "memory/part", "memory/copy", "memory/tree"})
        EXPECT_EQ(Directory::Delete(At(name), Directory::RECURSIVE), Directory::DONE) << name;
    setrlimit(RLIMIT_NOFILE, &all);
    // A level that was moved away is not deleted where it went.
    MakeDeep(dir / "tree", 20, "d");
    dir.Make("kept", "safe");
    Calls calls;
    Script(calls, SysCall::openat, 21,
           Calls::Do([&] { fs::rename(dir / "tree/d/d/d/d/d/d/d/d/d/d/d/d/d", dir / "safe/moved"); }));
    int error = 0;
    EXPECT_TRUE(Directory::Delete(At("tree"), Directory::RECURSIVE, &error).Failed() && error == ENOENT);
    EXPECT_TRUE(dir.Exists("safe/kept") && dir.Exists("safe/moved"));
    dir.Write("safe/large", std::string(1 << 19, 'x'));
    EXPECT_EQ(Directory::RecursiveCopy(At("safe"), At("small")), Directory::FILE_NOT_COPIED); // there is no more room
}

TEST_F(DirectoryTest, CopiesATree) {
    dir.Make("from/a/b/ from/a/b/c from/d/ from/f from/l>../out from/n>absent from/p* from/x| to/a/ to/a/own to/f-longer to/f");
    EXPECT_TRUE(File::Rename(At("to/f-longer"), At("to/f")));
    EXPECT_EQ(Directory::RecursiveCopy(At("from"), At("to")), Directory::DONE);
    EXPECT_EQ(dir.Tree("to"), "a/ a/b/ a/b/c a/own d/ f l>../out n>absent p*");
    EXPECT_EQ(dir.Read("to/f") + dir.Read("to/a/own"), "from/fto/a/own");
    EXPECT_EQ(ModeOf("to/p"), 0111u);
    // A copy may lie in its source.
    EXPECT_EQ(Directory::RecursiveCopy(At("from/a"), At("from/a/in")), Directory::DONE);
    EXPECT_EQ(dir.Tree("from/a"), "b/ b/c in/ in/b/ in/b/c");
}

TEST_F(DirectoryTest, ACopyEndsAtTheFirstFailure) {
    using Code = Directory;
    std::tuple<std::string, SysCall, int, ReturnT> const rows[] = {
        {"from/ to", SysCall::COUNT, 0, Code::TARGET_NOT_A_DIRECTORY},
        {"from/ to>safe", SysCall::COUNT, 0, Code::TARGET_NOT_A_DIRECTORY},
        {"from/d/ to/ to/d", SysCall::COUNT, 0, Code::TARGET_NOT_A_DIRECTORY},
        {"from/", SysCall::mkdir, ENOSPC, Code::NOT_CREATED},
        {"from/", SysCall::openat, EACCES, Code::UNREADABLE},
        {"from/ from/f to/", SysCall::lstat, EIO, Code::UNREADABLE},
        {"from/ from/l>x to/", SysCall::readlink, EIO, Code::LINK_UNREADABLE},
        {"from/ from/l>x to/ to/l", SysCall::COUNT, 0, Code::LINK_NOT_CREATED},
        {"from/ from/f to/f/", SysCall::COUNT, 0, Code::FILE_NOT_COPIED},
        {"from/ from/f to/", SysCall::write, ENOSPC, Code::FILE_NOT_COPIED},
        {"from to/", SysCall::COUNT, 0, Code::NOT_A_DIRECTORY},
        {"to/", SysCall::COUNT, 0, Code::UNREADABLE}};
    long const open = OpenDescriptors();
    for (auto const& [words, call, failure, code] : rows) {
        dir.Make("safe/ " + words);
        Calls calls;
        if (failure) Script(calls, call, call == SysCall::lstat, Calls::Fail(failure));
        EXPECT_EQ(Directory::RecursiveCopy(At("from"), At("to")), code) << words;
        EXPECT_TRUE(OpenDescriptors() == open && fs::is_empty(dir / "safe"));
        Remove({"from", "to", "safe"});
    }
}

TEST_F(DirectoryTest, WithoutMemoryNothingIsLost) {
    std::string const tree = "d/ d/e/ d/f l>" + std::string(200, 't');
    ForEveryAllocation([&](Heap& heap) {
        dir.Make("from/d/e/ from/d/f from/l>" + std::string(200, 't'));
        StringVector names;
        FileListT files;
        int made = -1, deleted = -1;
        heap.Arm();
        bool const isMade = Directory::Create(At("new/x"), Directory::RECURSIVE, &made);
        ReturnT const codes[] = {Directory::GetNameList(At("from"), names), Directory::GetFileList(At("from"), files),
                                 Directory::RecursiveCopy(At("from"), At("to")),
                                 Directory::Delete(At("from"), Directory::RECURSIVE, &deleted)};
        heap.Disarm();
        long failures = !isMade;
        for (ReturnT const& code : codes) {
            EXPECT_TRUE(code == Directory::DONE || code == Directory::OUT_OF_MEMORY || code == Directory::FILE_NOT_COPIED);
            failures += code.Failed();
        }
        EXPECT_TRUE(failures == 0 || heap.Fired()); // memory that cannot be given back is no failure
        EXPECT_TRUE(made == (isMade ? 0 : ENOMEM) && deleted == (codes[3].Failed() ? ENOMEM : 0));
        EXPECT_TRUE(names.Size() == (codes[0].Failed() ? 0 : 4) && files.Size() == (codes[1].Failed() ? 0 : 2));
        EXPECT_TRUE(codes[2].Failed() || dir.Tree("to") == tree);
        EXPECT_EQ(dir.Exists("from"), codes[3].Failed());
        Remove({"from", "to", "new"});
    });
    dir.Make("x/");
    Heap heap(1);
    heap.Arm();
    ReturnT const code = Directory::Delete(At("x"), Directory::RECURSIVE);
    heap.Disarm();
    EXPECT_EQ(code, Directory::OUT_OF_MEMORY);
    EXPECT_TRUE(log.Has("C FileSystem::Directory: out of memory [0xc0340001]."));
}

} // namespace
