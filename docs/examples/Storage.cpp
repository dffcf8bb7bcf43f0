// Writes an image to a disk:  Storage DEVICE IMAGE.  Without arguments it tells of the disks that there are.
#include "zeb/core/StringAccumulator.h"
#include "zeb/core/StringVector.h"
#include "zeb/filesystem/BlockDevice.h"
#include "zeb/filesystem/Directory.h"
#include "zeb/io/File.h"
#include "zeb/runtime/Main.h"

#include <fcntl.h>

namespace {

using Io::BlockDevice;

constexpr unsigned long PIECE = 64 * 1024;

bool ShowDisks() {
    StringVector names;
    if (FileSystem::Directory::GetNameList("/sys/block", names).Failed()) return true; // none
    for (String const& name : names) {
        StringAccumulator path;
        path << "/dev/" << name;
        if (name[0] == '.' || !path.Valid()) continue;
        BlockDevice const disk(path, BlockDevice::READ_ONLY, Log::VERBOSE_OFF);
        if (disk.Ok() && disk.Size() != 0) disk.PrintInfo("");
    }
    return true;
}

// What fails has been logged.
bool WriteImage(CString const& device, CString const& image) {
    Io::File file(image, O_RDONLY);
    BlockDevice disk(device, BlockDevice::EXCLUSIVE, Log::VERBOSE_ON);
    if (!file.Ok() || !disk.Ok() || !disk.WipeArea(0, disk.BlockCount())) return false;
    static char data[PIECE];
    unsigned long count = 0;
    while (file.Read(data, PIECE, count) && count != 0) {
        if (!disk.WriteAll(data, count)) return false;
    }
    if (!file.Ok()) return false;
    (void)disk.RereadPartitions(); // what can have no partitions refuses; the image is there all the same
    return true;
}

class Program : public Main {
public:
    Program(int argc, char** argv)
        : Main("storage")
        , argc_(argc)
        , argv_(argv) {}

    int Run() override {
        bool const good = argc_ == 3 ? WriteImage(argv_[1], argv_[2]) : ShowDisks();
        return good ? 0 : 1;
    }

private:
    int const argc_;
    char** const argv_;
};

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    if (!program.Initialized()) return 1;
    Log::ConsoleMode();
    return program.Run();
}
