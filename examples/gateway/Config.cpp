#include "Config.h"

#include "zeb/core/ErrorString.h"
#include "zeb/doc/json/Codes.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Getter.h"
#include "zeb/doc/json/Object.h"
#include "zeb/io/File.h"
#include "zeb/stream/StringStream.h"

#include <fcntl.h>

namespace {

constexpr long MAX_FILE_SIZE = 65536;
constexpr long MIN_PERIOD = 100;
constexpr long MAX_PERIOD = 60000;

bool ReadText(CString const& path, Io::StringStream& text, StringAccumulator& error) {
    Io::File file(path, O_RDONLY, Io::EOL_ANY_LF, Io::File::DEFAULT_BUFFER_SIZE, Log::VERBOSE_OFF);
    if (file.Ok() && text.Copy(file)) return true;
    error << "unable to read: ";
    if (file.SysError() != 0) {
        error << ErrorString(file.SysError());
    } else if (file.Ok() && text.CurrentState() == Io::Stateful::STATE_FAILED) {
        error << "too large";
    } else {
        error << "out of memory";
    }
    return false;
}

// A setting that was found, as a getter read it, or not.
struct Setting {
    char const* name;
    bool isGood;
    char const* expected;
};

bool IsText(CString const* text) { return text != nullptr && !text->Empty(); }

bool IsPeriod(long const* period) {
    return period != nullptr && *period >= MIN_PERIOD && *period <= MAX_PERIOD;
}

constexpr char const PERIOD_EXPECTED[] = "a whole number of milliseconds from 100 to 60000";

// What stands in the file must be a setting, and good.
bool Check(Json::Object const& settings, Setting const* known, unsigned long count,
           StringAccumulator& error) {
    for (Json::Object::Member const* member = settings.First(); member != nullptr; member = member->Next()) {
        Setting const* setting = known;
        while (setting != known + count && member->Name() != setting->name)
            ++setting;
        if (setting == known + count) {
            error << "there is no setting \"" << member->Name() << '"';
            return false;
        }
        if (setting->isGood) continue;
        error << '"' << setting->name << "\" must be " << setting->expected;
        return false;
    }
    return true;
}

bool Copy(String& to, CString const* text, char const* otherwise) {
    CString const from = text != nullptr ? *text : CString(otherwise);
    return to.Assign(from.Cstr(), from.Size());
}

} // namespace

bool Config::Load(CString const& path, StringAccumulator& error) {
    Io::StringStream text(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 4096, MAX_FILE_SIZE);
    if (!ReadText(path, text, error)) return false;
    Json::Document document;
    Json::FaultT fault;
    if (document.Parse(text.Str(), Json::Document::PARSE_CONTAINER, &fault).Failed()) {
        error << "no valid JSON at line " << fault.line << ", column " << fault.column << ": " << fault.words;
        return false;
    }
    if (!document.IsObject()) {
        error << "no valid configuration: a list where settings in braces must stand";
        return false;
    }
    return Take_(*document.Object(), error);
}

bool Config::Take_(Json::Object const& settings, StringAccumulator& error) {
    using Json::Getter::Member;
    CString const *name, *stateFile;
    long const *samplePeriod, *statePeriod, *heartbeatPeriod;
    bool hasInterfaces = false;
    Json::Getter::Array interfaces(&hasInterfaces);
    Json::Getter::Object record(&settings);
    record >> Member("name", &name) >> Member("state_file", &stateFile) >>
        Member("sample_period", &samplePeriod) >> Member("state_period", &statePeriod) >>
        Member("heartbeat_period", &heartbeatPeriod) >> Json::Getter::NValue("interfaces", interfaces);
    bool const isList = hasInterfaces && TakeInterfaces_(interfaces);
    Setting const known[] = {
        {"name", IsText(name), "a text"},
        {"state_file", IsText(stateFile), "a text"},
        {"sample_period", IsPeriod(samplePeriod), PERIOD_EXPECTED},
        {"state_period", IsPeriod(statePeriod), PERIOD_EXPECTED},
        {"heartbeat_period", IsPeriod(heartbeatPeriod), PERIOD_EXPECTED},
        {"interfaces", isList, "a list of names"},
    };
    if (!Check(settings, known, sizeof(known) / sizeof(known[0]), error)) return false;
    if (stateFile == nullptr) {
        error << "\"state_file\" is missing";
        return false;
    }
    if (samplePeriod != nullptr) samplePeriod_ = *samplePeriod;
    if (statePeriod != nullptr) statePeriod_ = *statePeriod;
    if (heartbeatPeriod != nullptr) heartbeatPeriod_ = *heartbeatPeriod;
    if (Copy(name_, name, "gateway") && Copy(stateFile_, stateFile, "") && hasMemory_) return true;
    error << "out of memory";
    return false;
}

// False if an element is no name.
bool Config::TakeInterfaces_(Json::Getter::Array& list) {
    for (Json::Getter::UValue::Iterator& item : list) {
        CString interface;
        Json::Getter::Element const element(item, interface);
        if (!element) return false;
        if (!interfaces_.PushBack(interface)) hasMemory_ = false;
    }
    return true;
}
