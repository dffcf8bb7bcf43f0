#include "zeb/filesystem/File.h"
#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"
#include "zeb/core/TimeStamp.h"

#include <fcntl.h>
#include <filesystem>
#include <list>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

using FileSystem::File;
namespace fs = std::filesystem;

struct FileTest : testing::Test {
    TempDir dir;
    LogCapture log;
    std::string const file = dir.Write("file", "text"), absent = dir / "absent";

    CString At(std::string const& name) { return CString((paths.emplace_back(dir / name)).c_str()); }
    std::list<std::string> paths;
};

// What a path is, in letters.
std::string Is(CString const& path) {
    std::pair<char, bool (*)(CString const&)> const questions[] = {
        {'r', &File::IsReadable},  {'w', &File::IsWritable}, {'x', &File::IsExecutable},      {'e', &File::Exists},
        {'d', &File::IsDirectory}, {'f', &File::IsRegular},  {'c', &File::IsCharacterDevice}, {'b', &File::IsBlockDevice},
        {'s', &File::IsSocket},    {'l', &File::IsSymlink}};
    std::string letters;
    for (auto const& [letter, ask] : questions)
        if (ask(path)) letters += letter;
    File::Attributes kind{}, own{};
    if (File::GetAttrs(path, kind)) letters += std::to_string(kind);
    return File::GetLAttrs(path, own) ? letters + std::to_string(own) : letters;
}

TEST_F(FileTest, TellsWhatAPathIs) {
    ZEB_NEED_ROOT();
    dir.Write("program", "");
    fs::permissions(dir / "program", fs::perms(0755));
    fs::create_directory(dir / "folder");
    fs::create_symlink("absent", dir / "dangling");
    fs::create_symlink("file", dir / "link");
    fs::create_symlink("folder", dir / "way");
    fs::create_symlink("loop", dir / "loop");
    mknod((dir / "disk").c_str(), S_IFBLK | 0600, makedev(7, 99));
    mknod((dir / "tty").c_str(), S_IFCHR | 0600, makedev(5, 0));
    mknod((dir / "socket").c_str(), S_IFSOCK | 0600, 0);
    mknod((dir / "fifo").c_str(), S_IFIFO | 0400, 0);
    std::istringstream rows("file rwef11 program rwxef11 folder rwxed22 dangling l4 link rwefl14 way rwxedl24 loop l4 "
                            "disk rweb00 tty rwec00 socket rwes00 fifo rwe00");
    for (std::string name, letters; rows >> name >> letters;) EXPECT_EQ(Is(At(name)), letters) << name;
    EXPECT_EQ(Is(At("absent")) + Is("") + Is(At("file/x")), "");
}

TEST_F(FileTest, TellsSizeTimeAndExistence) {
    unsigned long long size = 7;
    Time::Stamp time(1);
    timespec const times[] = {{}, {784111777, 250000000}};
    EXPECT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    EXPECT_FALSE(File::GetSize(absent.c_str(), size) || File::GetLastModified(absent.c_str(), time));
    EXPECT_TRUE(size == 7 && time == Time::Stamp(1));
    EXPECT_TRUE(File::GetSize(file.c_str(), size) && File::GetLastModified(file.c_str(), time));
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(time.AsMicroseconds(), 784111777250000);
    for (auto const& [failure, told] :
         std::map<int, std::string>{{ENOENT, "0"}, {EOVERFLOW, "1"}, {EACCES, "?"}, {ENOTDIR, "?"}, {0, "?"}}) {
        Calls calls;
        calls.Script(SysCall::stat, {Calls::Fail(failure)});
        bool exists = false;
        std::string const answer = File::CheckExistence(file.c_str(), exists) ? std::to_string(exists) : "?";
        EXPECT_EQ(answer, told) << failure;
    }
    bool exists = false;
    EXPECT_TRUE(File::CheckExistence(file.c_str(), exists) && exists);
    // A failure without an errno is none.
    for (int const failure : {0, EIO}) {
        Calls calls;
        calls.Script(SysCall::stat, {Calls::Fail(failure)});
        calls.Script(SysCall::lstat, {Calls::Fail(failure)});
        File::Attributes followed = File::SYMLINK, own = File::SYMLINK;
        int first = -1, second = -1;
        EXPECT_EQ(File::GetAttrs(file.c_str(), followed, &first), failure == 0);
        EXPECT_EQ(File::GetLAttrs(file.c_str(), own, &second), failure == 0);
        EXPECT_EQ(std::tuple(followed, own, first, second),
                  std::tuple(failure ? File::SYMLINK : File::OTHER, failure ? File::SYMLINK : File::OTHER, failure, failure));
    }
}

TEST_F(FileTest, ChangesNamesModesAndLinks) {
    int error = -1;
    EXPECT_TRUE(File::Link(file.c_str(), At("hard"), &error) && File::Symlink("file", At("soft"), &error));
    EXPECT_TRUE(error == 0 && File::SetMode(At("hard"), 0640) && File::Rename(At("hard"), At("moved")));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    EXPECT_EQ(fs::read_symlink(dir / "soft"), "file");
    EXPECT_TRUE(File::Delete(At("soft"), &error) && error == 0);
    EXPECT_EQ(dir.List(), "file moved");
    File object(At("moved"));
    EXPECT_TRUE(object.Rename(At("last")) && object.DoDelete());
    EXPECT_FALSE(object.DoDelete() || object.Rename(At("again")) || File::SetMode(At("last"), 0600));
    EXPECT_EQ(object.Path(), At("last"));
    EXPECT_TRUE(!File::Delete(At("last"), &error) && error == ENOENT);
    EXPECT_TRUE(!File::Link(file.c_str(), file.c_str(), &error) && error == EEXIST);
    EXPECT_TRUE(!File::Symlink("", At("x"), &error) && error == ENOENT);
    EXPECT_TRUE(!File::Delete(dir.Path().c_str(), &error) && error == EISDIR);
    EXPECT_EQ(dir.List() + dir.Read("file"), "filetext");
    EXPECT_EQ(log.Take(), LogCapture::LinesT());
}

TEST_F(FileTest, GivesThePartsOfItsPath) {
    std::istringstream rows("/a/b /a b 1 /a / a 1 a - a 0 a/ a - 0 / / - 1 a//b a/ b 0 ../x .. x 0");
    bool isAbsolute;
    for (std::string path, folder, base; rows >> path >> folder >> base >> isAbsolute;) {
        File const object(path.c_str());
        String parts[2];
        EXPECT_TRUE(object.GetDirectoryName(parts[0]) && object.GetBaseName(parts[1]));
        EXPECT_EQ(parts[0].Empty() ? "-" : parts[0].Cstr(), folder) << path;
        EXPECT_EQ(parts[1].Empty() ? "-" : parts[1].Cstr(), base) << path;
        EXPECT_EQ(object.IsAbsolute(), isAbsolute) << path;
    }
    EXPECT_FALSE(File("").IsAbsolute());
}

std::string Canonical(std::string const& path, bool noDisk) {
    String out;
    EXPECT_TRUE(out.Assign("as it was"));
    int error = -1;
    bool const isDone = File::GetCanonicalPath(path.c_str(), out, noDisk, &error);
    EXPECT_EQ(isDone, error == 0);
    return isDone || out != "as it was" ? out.Cstr() : std::to_string(error);
}

TEST_F(FileTest, MakesPathsCanonical) {
    std::istringstream rows("/a/./b//c/../d/ /a/b/d / / // / /. / /./ / /a/.. / /a/../ / /a/b/../.. / /a..b/.../..c/d.. "
                            "/a..b/.../..c/d.. ///a///b/// /a/b /abc/../de /de /.a/.. / /a/b/c/../../x/./../y /a/y /a/b/. /a/b");
    for (std::string path, expected; rows >> path >> expected;) EXPECT_EQ(Canonical(path, true), expected) << path;
    for (char const* const path : {"", "/..", "/../a", "/a/../..", "/a/../../a", "//.."})
        EXPECT_EQ(Canonical(path, true), std::to_string(EINVAL)) << path;
    std::string const here = fs::current_path(), parent = fs::current_path().parent_path();
    for (auto const& [path, expected] :
         std::map<std::string, std::string>{{".", here}, {"a/../b", here + "/b"}, {"..", parent}, {"../a", parent + "/a"}})
        EXPECT_EQ(Canonical(path, true), expected);
    Calls calls;
    calls.Script(SysCall::getcwd, {Calls::Real(), Calls::Fail(EACCES)});
    EXPECT_EQ(Canonical("a", true), std::to_string(EACCES));
    // On the disk links are followed.
    fs::create_directories(dir / "d/e");
    fs::create_symlink("d/e", dir / "way");
    std::string const real = fs::canonical(dir.Path());
    EXPECT_EQ(Canonical(dir / "way/../e//.", false), real + "/d/e");
    EXPECT_EQ(Canonical(absent, false) + Canonical("", false), std::to_string(ENOENT) + std::to_string(ENOENT));
    String own;
    EXPECT_TRUE(File(At("way")).GetCanonicalPath(own) && own == CString((real + "/d/e").c_str()));
}

TEST_F(FileTest, AWorkingDirectoryMayBeDeeperThanAnyBuffer) {
    fs::path const before = fs::current_path();
    std::string const name(200, 'n');
    fs::current_path(dir.Path());
    std::string expected = fs::current_path();
    for (int i = 0; i < 3; ++i, expected += "/" + name) {
        fs::create_directory(name);
        fs::current_path(name);
    }
    EXPECT_EQ(Canonical("./x", true), expected + "/x");
    ForEveryAllocation([&](Heap& heap) {
        for (bool const noDisk : {true, false}) {
            String out;
            int error = -1;
            heap.Arm();
            bool const isDone = File::GetCanonicalPath(".", out, noDisk, &error);
            heap.Disarm();
            EXPECT_EQ(out.Cstr(), isDone ? expected : "");
            EXPECT_EQ(error, isDone ? 0 : ENOMEM);
        }
    });
    fs::current_path(before);
}

TEST_F(FileTest, CopiesBytesAndLeavesProgramsToExecuteOnly) {
    std::string const large(200001, 'x');
    for (auto const& [mode, kept, copied] :
         {std::tuple{0644, 0600, 0600}, {0755, 0600, 0111}, {0644, 0, 0644}, {0755, 0, 0111}}) {
        umask(022);
        dir.Write("file", large);
        fs::permissions(file, fs::perms(mode));
        fs::remove(dir / "to");
        if (kept) fs::permissions(dir.Write("to", std::string(300000, 'y')), fs::perms(kept));
        EXPECT_TRUE(File::Copy(file.c_str(), At("to")));
        EXPECT_TRUE(dir.Read("to") == large);
        EXPECT_EQ(fs::status(dir / "to").permissions(), fs::perms(copied));
    }
    fs::create_symlink("file", dir / "same");
    EXPECT_TRUE(File::Copy(file.c_str(), At("same")) && File::Copy(At("same"), file.c_str()));
    EXPECT_EQ(dir.Read("same").size(), large.size());
}

TEST_F(FileTest, ACopyThatFailsSaysSoAndLeavesNothingOpen) {
    auto const descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    auto before = descriptors();
    for (auto const& [call, failure, skipped] : {std::tuple{SysCall::open, EACCES, 0UL},
                                                 {SysCall::open, EACCES, 1UL},
                                                 {SysCall::read, EIO, 0UL},
                                                 {SysCall::write, ENOSPC, 0UL},
                                                 {SysCall::ftruncate, EPERM, 0UL},
                                                 {SysCall::close, EIO, 0UL},
                                                 {SysCall::close, EIO, 1UL}}) {
        Calls calls;
        if (skipped) calls.Script(call, {Calls::Real()}, skipped);
        calls.Script(call, {Calls::Fail(failure)});
        EXPECT_FALSE(File::Copy(file.c_str(), At("to")));
        EXPECT_EQ(descriptors(), before += call == SysCall::close); // the close that was not done
        EXPECT_EQ(log.Take().size(), 1u);
    }
    EXPECT_FALSE(File::Copy(absent.c_str(), At("new")) || dir.Exists("new"));
}

TEST_F(FileTest, WithoutMemoryAnObjectIsNotInitialized) {
    ForEveryAllocation([&](Heap& heap) {
        String name, folder, canonical;
        heap.Arm();
        File object(file.c_str());
        bool const isNamed = object.GetBaseName(name), isFound = object.GetDirectoryName(folder);
        bool const isCanonical = object.GetCanonicalPath(canonical), isMoved = object.Rename(At("moved"));
        heap.Disarm();
        EXPECT_EQ(isNamed && isFound && isCanonical && isMoved, !heap.Fired());
        EXPECT_EQ(isNamed ? "file" : "", std::string(name.Cstr()));
        EXPECT_EQ(object.Initialized(), !object.Path().Empty());
        EXPECT_EQ(dir.List(), isMoved ? "moved" : "file");
        EXPECT_TRUE(object.Initialized() || !object.DoDelete());
        if (isMoved) fs::rename(dir / "moved", file);
    });
}

} // namespace
