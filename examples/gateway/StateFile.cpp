#include "StateFile.h"

#include "zeb/core/Time.h"
#include "zeb/io/ConfigFile.h"
#include "zeb/runtime/StatusLog.h"

ReturnT StateFile::Start() {
    // One that stands in the way shows, in words, when the file is made.
    (void)Io::ConfigFile::RemoveStale(config_.StateFile());
    if (!Write_())
        return StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, nullptr, "unable to write \"%1\"", nullptr)
               << config_.StateFile();
    return ReturnT::Done();
}

void StateFile::Request() {
    Mutex::Guard const guard(mutex_);
    if (guard.Held()) Enqueue(config_.StatePeriod());
}

void StateFile::Stop() {
    {
        Mutex::Guard const guard(mutex_);
        if (guard.Held()) Cleanup();
    }
    Apply_();
}

void StateFile::Apply_() {
    if (Write_()) telemetry_.CountStateFile();
}

bool StateFile::Write_() const {
    Sample sample;
    Telemetry::Counts counts;
    if (!telemetry_.Get(sample, counts)) return false;
    char at[Time::Stamp::TEXT_SIZE] = "";
    if (sample.at.AsString(Time::Stamp::ISO, Time::Stamp::GMT, at).Failed()) at[0] = 0;

    Io::ConfigFile file(config_.StateFile());
    file << "sample=" << sample.number << Io::Endl << "time=" << at << Io::Endl;
    file << "memory_available=" << sample.memory.available << Io::Endl;
    for (InterfaceSample const& interface : sample.interfaces) {
        file << "interface." << interface.name << "=" << interface.rxBytes << " " << interface.txBytes
             << Io::Endl;
    }
    return file.Close();
}
