// A daemon in twenty lines: tells each second how long the machine is up, until SIGINT or SIGTERM.
#include "zeb/core/Time.h"
#include "zeb/io/File.h"
#include "zeb/runtime/Main.h"

#include <fcntl.h>

struct Uptime : Main {
    Uptime()
        : Main("uptime") {}

    int Run() override {
        while (!WaitForStop(1000)) {
            Io::File file("/proc/uptime", O_RDONLY);
            unsigned long seconds = 0;
            file >> seconds;
            if (file.Ok()) Log(Log::INFO, "Uptime", nullptr, "up for %1 s") << seconds;
        }
        return 0;
    }
};

int main() {
    Uptime uptime;
    if (!uptime.Initialized()) return 1;
    Log::ConsoleMode();
    return uptime.Run();
}
