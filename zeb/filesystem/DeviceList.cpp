#include "zeb/filesystem/DeviceListImpl.h"

#include "zeb/core/Integer.h"
#include "zeb/core/Log.h"
#include "zeb/core/StringVector.h"
#include "zeb/filesystem/Directory.h"
#include "zeb/stream/IStream.h"

#include <sys/stat.h>

namespace FileSystem {

namespace {

constexpr unsigned int MODE_WORLD = 0066;
constexpr CString PTS("pts"), BELOW_PTS("pts/"), DIRECTORY_TYPE("d"), WORLD("1");

struct Type_ {
    CString word;
    unsigned int mode;
};

constexpr Type_ TYPES[] = {{"c", S_IFCHR}, {"b", S_IFBLK}, {"s", S_IFSOCK}};

// 0 for a word that is no type.
unsigned int ModeOf_(CString const& word) {
    for (Type_ const& type : TYPES)
        if (word == type.word) return type.mode;
    return 0;
}

bool IsPts_(CString const& name) { return name == PTS || name.Compare(0, BELOW_PTS.Size(), BELOW_PTS) == 0; }

} // namespace

ReturnT DeviceList::Run(Io::IStream& list) {
    String line;
    while (list.NextLine(line, LINE_LIMIT))
        if (ReturnT const code = Line_(line); code.Failed()) return code;
    return list.Ok() ? Directory::DONE : ReturnT::Fail();
}

ReturnT DeviceList::Line_(String const& line) {
    ++line_;
    StringVector words;
    if (!line.Split(words, '\0')) return Directory::OUT_OF_MEMORY;
    if (words.Empty() || words[0].Empty() || words[0][0] == '#') return Directory::DONE;
    if (pts_ == Device::DEV_PTS_SKIP && IsPts_(words[0])) return Directory::DONE;
    switch (words.Size()) {
    case 2:
        return Directory_(words);
    case 4:
    case 5:
        Node_(words);
        return Directory::DONE;
    default:
        Log(Log::WARNING, Device::IDENT, nullptr, "unknown command \"%1\"") << line;
        return Directory::DONE;
    }
}

ReturnT DeviceList::Directory_(StringVector const& words) {
    if (words[1] == DIRECTORY_TYPE) return maker_.MakeDirectory(words[0]) ? Directory::DONE : ReturnT::Fail();
    Log(Log::WARNING, Device::IDENT, nullptr, "unknown command at line %1: \"%2 %3\"")
        << line_ << words[0] << words[1];
    return Directory::DONE;
}

void DeviceList::Node_(StringVector const& words) {
    unsigned int mode = ModeOf_(words[1]), major, minor;
    if (mode == 0) {
        Log(Log::WARNING, Device::IDENT, nullptr, "unknown device type \"%1\" at line %2")
            << words[1] << line_;
        return;
    }
    if (!Number_("major number \"%1\" is invalid at line %2", words[2], major)) return;
    if (!Number_("minor number \"%1\" is invalid at line %2", words[3], minor)) return;
    if (words.Size() == 5 && words[4] == WORLD) mode |= MODE_WORLD;
    maker_.MakeNode(words[0], mode, major, minor);
}

bool DeviceList::Number_(char const* message, String const& word, unsigned int& number) const {
    if (Integer::Parse(word, number)) return true;
    Log(Log::WARNING, Device::IDENT, nullptr, message) << word << line_;
    return false;
}

} // namespace FileSystem
