// Settings found in a text by a regular expression, a URI taken apart and put together, and the progress of
// the work that follows from them.
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/event/SystemEvents.h"
#include "zeb/io/StdStream.h"
#include "zeb/runtime/Main.h"
#include "zeb/text/Matcher.h"
#include "zeb/text/Regex.h"
#include "zeb/text/URI.h"
#include "zeb/util/Progress.h"

namespace {

constexpr char const TEXT[] = "server=http://admin:a%20b@[2001:db8::1]:8080/fw?v=5\nretries=3\n";

// Prints name and value of each line; false when that did not go to the end.
bool PrintSettings(Io::OStream& out) {
    static Util::Regex const setting("([a-z]+)=([^\n]*)\n", REG_EXTENDED); // compiled once
    Util::Matcher matcher(TEXT);
    String name, value;
    ReturnT code = matcher.Find(setting, 0);
    for (; code.Succeeded(); code = matcher.Find(setting, 0)) {
        if (matcher.GetGroup(1, name).Failed() || matcher.GetGroup(2, value).Failed()) return false;
        out << name << " is " << value << Io::Endl;
    }
    return code == Util::Matcher::NO_MATCH;
}

// The same place on another server, without the password.
bool Redirect(CString const& text, CString const& host, String& out) {
    Util::URI uri;
    String user, password, oldHost, port;
    bool isUri = false, isAuthority = false;
    if (!uri.Parse(text, isUri) || !isUri) return false; // no memory, or no URI
    if (!uri.ParseAuthority(user, password, oldHost, port, isAuthority) || !isAuthority) return false;
    return uri.SetAuthority(user, "", host, port) && uri.Get(out);
}

class Upgrade : public Main {
public:
    Upgrade()
        : Main("upgrade") {}
    ~Upgrade() override { Event::Unsubscribe("Event::Type::Progress", this, IDENT); }

    int Run() override {
        Io::StdOut out;
        String target;
        if (!PrintSettings(out) || !Redirect("http://u:p@h:1/a?b#c", "fe80::1", target)) return 1;
        out << target << Io::Endl;
        if (!out.Flush() || !Event::Subscribe("Event::Type::Progress", onProgress_) || !Work_()) return 1;
        // Behind all that was raised before: what was reported has been heard then.
        return Event::Raise(Event::Heartbeat(), nullptr, Event::SYNC, Event::DIRECT) ? 0 : 1;
    }

private:
    static constexpr char const IDENT[] = "Upgrade";

    enum { DOWNLOAD, WRITE, STAGES };

    bool Work_() {
        constexpr unsigned long PIECES = 10;
        Util::Progress progress("upgrade", STAGES, 10);
        if (!progress.Initialized()) return false;
        progress.IncEstimated(DOWNLOAD, PIECES); // in pieces
        progress.IncEstimated(WRITE, PIECES);
        progress.WorkStarted();
        for (unsigned long done = 0; done < PIECES; ++done) {
            if (WaitForStop(5)) return true;                  // stands for the work
            if (done == 0) progress.WorkStopped(DOWNLOAD, 1); // the pace is known
            progress.IncEstimated(DOWNLOAD, 0);               // no more than before: looks at the clock
        }
        progress.Finished();
        return true;
    }

    // On the thread of the bus.
    void OnProgress_(Event::Progress const& event) {
        Log(Log::INFO, IDENT, event.Name().Cstr(), "%1 percent") << event.Value();
    }

    Event::Delegate<Upgrade> const onProgress_{IDENT, this, &Upgrade::OnProgress_, nullptr};
};

} // namespace

int main() {
    Upgrade program;
    if (!program.Initialized()) return 1;
    Log::ConsoleMode();
    return program.Run();
}
