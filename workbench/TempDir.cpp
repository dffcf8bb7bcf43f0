#include "workbench/TempDir.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// What stands behind the name of an entry.
std::string Suffix(fs::path const& path) {
    struct stat info;
    if (lstat(path.c_str(), &info) != 0) return "?";
    switch (info.st_mode & S_IFMT) {
    case S_IFDIR:
        return "/";
    case S_IFLNK:
        return ">" + fs::read_symlink(path).string();
    case S_IFIFO:
        return "|";
    case S_IFREG:
        return (info.st_mode & 0111) != 0 ? "*" : "";
    default:
        break;
    }
    std::ostringstream text;
    text << (S_ISCHR(info.st_mode)   ? "(c"
             : S_ISBLK(info.st_mode) ? "(b"
                                     : "(s")
         << std::oct << (info.st_mode & 07777);
    if (!S_ISSOCK(info.st_mode)) text << std::dec << "," << major(info.st_rdev) << ":" << minor(info.st_rdev);
    return text.str() + ")";
}

// Makes the node whose kind, mode and numbers the text in brackets tells.
std::error_code MakeNode(std::string const& path, char const* brackets) {
    char kind = '?';
    unsigned mode = 0, high = 0, low = 0;
    if (sscanf(brackets, "(%c%o,%u:%u)", &kind, &mode, &high, &low) < 2)
        return std::make_error_code(std::errc::invalid_argument);
    mode |= kind == 'c' ? S_IFCHR : kind == 'b' ? S_IFBLK : S_IFSOCK;
    bool const isMade = mknod(path.c_str(), mode, makedev(high, low)) == 0;
    return isMade ? std::error_code() : std::error_code(errno, std::generic_category());
}

std::string Joined(std::set<std::string> const& names) {
    std::string text;
    for (std::string const& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

} // namespace

std::string ListTree(std::string const& folder) {
    std::set<std::string> names;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        names.insert(entry->path().string().substr(folder.size() + 1) + Suffix(entry->path()));
    if (error) ADD_FAILURE() << "cannot list " << folder << ": " << error.message();
    return Joined(names);
}

long OpenDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

DescriptorLimit::DescriptorLimit(long more) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    saved_[0] = limit.rlim_cur;
    saved_[1] = limit.rlim_max;
    // The limit is of numbers, of which the lowest free one is next; one of those counted was that of the
    // list.
    limit.rlim_cur = static_cast<rlim_t>(OpenDescriptors() - 1 + more);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) ADD_FAILURE() << "cannot limit the descriptors";
}

DescriptorLimit::~DescriptorLimit() {
    rlimit const limit = {saved_[0], saved_[1]};
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) ADD_FAILURE() << "cannot give the descriptors back";
}

TempDir::TempDir() {
    char const* const base = getenv("TMPDIR");
    path_ = std::string(base == nullptr ? "/tmp" : base) + "/zebtest.XXXXXX";
    if (mkdtemp(path_.data()) == nullptr) {
        fprintf(stderr, "TempDir: cannot make %s\n", path_.c_str());
        abort();
    }
}

TempDir::~TempDir() {
    std::error_code error;
    fs::remove_all(path_, error);
    if (error) ADD_FAILURE() << "cannot remove " << path_ << ": " << error.message();
}

std::string TempDir::Write(std::string_view name, std::string_view text) const {
    std::string const path = *this / name;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!file.flush()) ADD_FAILURE() << "cannot write " << path;
    return path;
}

std::string TempDir::Read(std::string_view name) const { return ReadWholeFile(*this / name); }

bool TempDir::Exists(std::string_view name) const {
    std::error_code error;
    return fs::symlink_status(*this / name, error).type() != fs::file_type::not_found;
}

void TempDir::Clear() const {
    std::error_code error;
    for (fs::directory_iterator entry(path_, error), end; !error && entry != end; entry.increment(error))
        if (fs::remove_all(entry->path(), error); error) break;
    if (error) ADD_FAILURE() << "cannot empty " << path_ << ": " << error.message();
}

std::string TempDir::List() const {
    std::set<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(path_, error), end; !error && entry != end; entry.increment(error))
        names.insert(entry->path().filename());
    return Joined(names);
}

std::string TempDir::Masked(std::string text) const {
    for (std::size_t at = 0; (at = text.find(path_, at)) != std::string::npos; ++at)
        text.replace(at, path_.size(), "@");
    return text;
}

void TempDir::Make(std::string const& words, std::string const& folder) const {
    std::istringstream stream(words);
    std::error_code error;
    fs::create_directories(*this / folder, error);
    for (std::string word; stream >> word;) {
        std::size_t const mark = word.find_first_of(">(");
        char const kind = mark != std::string::npos ? word[mark] : word.back();
        std::string const path =
            folder + "/" +
            word.substr(0, mark != std::string::npos ? mark : word.find_last_not_of("/|*") + 1);
        fs::create_directories((*this / path).substr(0, (*this / path).rfind('/')), error);
        if (kind == '>')
            fs::create_symlink(word.substr(mark + 1), *this / path, error);
        else if (kind == '/')
            fs::create_directories(*this / path, error);
        else if (kind == '|')
            mkfifo((*this / path).c_str(), 0600);
        else if (kind == '(')
            error = MakeNode(*this / path, word.c_str() + mark);
        else
            Write(path, word);
        if (kind == '*') fs::permissions(*this / path, fs::perms(0755), error);
        if (error) ADD_FAILURE() << "cannot make " << word << ": " << error.message();
    }
}

void TempDir::MakeDeep(std::string const& folder, unsigned levels, std::string const& name) const {
    Make("", folder);
    int fd = open((*this / folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (unsigned i = 0; i < levels && fd >= 0; ++i) {
        mkdirat(fd, name.c_str(), 0755);
        int const file = openat(fd, "file", O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
        int const below = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(file);
        close(fd);
        fd = below;
    }
    if (fd < 0) ADD_FAILURE() << "cannot make all levels of " << folder;
    if (fd >= 0) close(fd);
}

std::string ReadWholeFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return "(absent)";
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
