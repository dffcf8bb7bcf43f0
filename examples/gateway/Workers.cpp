#include "Workers.h"

#include "zeb/core/StatusLog.h"
#include "zeb/core/Time.h"
#include "zeb/io/ConfigFile.h"

#include <unistd.h>

ReturnT Sampler::Run() {
    Sample sample;
    do {
        if (sample.Read(root_, config_)) {
            telemetry_.Put(sample);
        } else {
            telemetry_.CountFailure();
        }
    } while (Sleep(config_.SamplePeriod()));
    return ReturnT::Done();
}

ReturnT StateWriter::Initialize() {
    String stale;
    if (!stale.Assign(config_.StateFile().Cstr(), config_.StateFile().Size()) || !stale.Append("~"))
        return StatusLog(ReturnT::Oom(), Log::CRITICAL, IDENT, nullptr, "", nullptr).SetOom();
    // There is none but after a crash; another failure shows when the file is made.
    (void)unlink(stale.Cstr());
    if (!Write_())
        return StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, nullptr, "unable to write \"%1\"", nullptr)
               << config_.StateFile();
    return StatusLog(ReturnT::Done(), Log::INFO, IDENT, nullptr, "", nullptr).SetDone();
}

ReturnT StateWriter::Run() {
    while (Sleep(config_.StatePeriod())) {
        if (Write_()) telemetry_.CountStateFile();
    }
    if (Write_()) telemetry_.CountStateFile();
    return ReturnT::Done();
}

bool StateWriter::Write_() const {
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
