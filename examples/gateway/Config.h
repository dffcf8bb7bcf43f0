#pragma once

// The configuration of the gateway, read from a JSON file:
//
//   {
//       "name": "gateway",                      shown in the status
//       "state_file": "/var/run/gateway.state", replaced as a whole
//       "sample_period": 1000,                  milliseconds, 100 to 60000
//       "state_period": 2000,                   milliseconds, 100 to 60000
//       "heartbeat_period": 10000,              milliseconds, 100 to 60000
//       "interfaces": ["eth0", "lo"]            which to report; all if absent
//   }
//
// Only "state_file" is required.

#include "zeb/core/String.h"
#include "zeb/core/StringAccumulator.h"
#include "zeb/core/StringVector.h"

namespace Json {
class Object;
} // namespace Json

namespace Json::Getter {
class Array;
}

class Config {
public:
    // False, with what is wrong in `error`, when the file cannot be used.
    bool Load(CString const& path, StringAccumulator& error);

    CString const& Name() const { return name_; }
    CString const& StateFile() const { return stateFile_; }
    long SamplePeriod() const { return samplePeriod_; }
    long StatePeriod() const { return statePeriod_; }
    long HeartbeatPeriod() const { return heartbeatPeriod_; }
    bool Reports(CString const& interface) const { return interfaces_.Empty() || interfaces_.Has(interface); }

private:
    bool Take_(Json::Object const& settings, StringAccumulator& error);
    bool TakeInterfaces_(Json::Getter::Array& list);

    String name_;
    String stateFile_;
    long samplePeriod_ = 1000;
    long statePeriod_ = 2000;
    long heartbeatPeriod_ = 10000;
    bool hasMemory_ = true;
    StringVector interfaces_;
};
