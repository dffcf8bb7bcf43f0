// A file replaced as a whole and read back, text in memory, and a FIFO that is waited for.
#include "zeb/core/Log.h"
#include "zeb/io/ConfigFile.h"
#include "zeb/io/File.h"
#include "zeb/io/PollableFile.h"
#include "zeb/stream/StringStream.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char const* IDENT = "Settings";

bool Save(CString const& path, unsigned short port) {
    Io::ConfigFile file(path);
    file << "port " << port << Io::Endl << "name "
         << "gateway" << Io::Endl;
    return file.Close(); // without it, or after a failure, the old file stays
}

bool Load(CString const& path, unsigned short& port) {
    Io::File file(path, O_RDONLY);
    if (file.Skip("port", nullptr)) file >> port;
    if (!file.Ok()) Log(Log::ERROR, IDENT, path.Cstr(), "unusable: %1") << file.ErrorString();
    return file.Ok();
}

bool CountLines(CString const& path, unsigned& count) {
    Io::File file(path, O_RDONLY);
    for (String line; file.NextLine(line);)
        ++count;
    return file.Ok(); // also of a file that could not be opened
}

bool Table(String& out, unsigned short port) {
    Io::StringStream text;
    text.Width(8).Fill('.') << "port";
    text.Right().Fill(' ') << port;
    return text.Flush() && out.Assign(text.Str());
}

// Answers within 100 ms, or not at all.
bool Ask(CString const& path, String& answer) {
    Io::PollableFile fifo(path, O_RDWR);
    fifo << "question" << Io::Endl;
    fifo.SetTimeout(100);
    return fifo.Flush() && fifo.NextLine(answer); // here it is its own peer
}

// Waits for both, and says which of them has something to read.
bool WaitForEither(Io::Pollable& first, Io::Pollable& second) {
    Io::Pollable* objects[] = {&first, &second};
    Io::ModeT const requests[] = {Io::MODE_READ, Io::MODE_READ};
    pollfd fds[2];
    return Io::Pollable::Wait(objects, requests, fds, 2, 50, IDENT) == Io::Pollable::READY;
}

bool Run(CString const& folder) {
    String settings, fifo, table, answer;
    unsigned short port = 0;
    unsigned lines = 0;
    if (!settings.Assign(folder) || !settings.Append("/settings")) return false;
    if (!fifo.Assign(folder) || !fifo.Append("/fifo") || mkfifo(fifo.Cstr(), 0600) != 0) return false;
    bool ok = Io::ConfigFile::RemoveStale(settings) && Save(settings, 8080) && Load(settings, port);
    ok = ok && port == 8080 && CountLines(settings, lines) && lines == 2;
    ok = ok && Table(table, port) && table == "port....    8080" && Ask(fifo, answer) && answer == "question";
    Io::PollableFile one(fifo, O_RDWR), two(fifo, O_RDWR);
    ok = ok && !WaitForEither(one, two);
    two << "x";
    ok = ok && two.Flush() && WaitForEither(one, two);
    unlink(settings.Cstr());
    unlink(fifo.Cstr());
    return ok;
}

} // namespace

int main() {
    Log::ConsoleMode();
    char folder[] = "/tmp/streams.XXXXXX";
    if (!mkdtemp(folder)) return 1;
    bool const ok = Run(folder);
    rmdir(folder);
    return ok ? 0 : 1;
}
