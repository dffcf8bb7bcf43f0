// A file replaced as a whole, and read back.
#include "zeb/core/Log.h"
#include "zeb/io/ConfigFile.h"
#include "zeb/io/File.h"

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool Save(CString const& path, unsigned short port) {
    Io::ConfigFile file(path);
    file << "port " << port << Io::Endl;
    return file.Close(); // without it, or after a failure, the old file stays
}

bool Load(CString const& path, unsigned short& port) {
    Io::File file(path, O_RDONLY);
    if (file.Skip("port", nullptr)) file >> port;
    if (!file.Ok()) Log(Log::ERROR, "Settings", path.Cstr(), "unusable: %1") << file.ErrorString();
    return file.Ok();
}

} // namespace

int main() {
    Log::ConsoleMode();
    char folder[] = "/tmp/streams.XXXXXX";
    if (!mkdtemp(folder)) return 1;
    String path;
    unsigned short port = 0;
    bool const ok = path.Assign(folder) && path.Append("/settings") && Save(path, 8080) && Load(path, port);
    unlink(path.Cstr());
    rmdir(folder);
    return ok && port == 8080 ? 0 : 1;
}
