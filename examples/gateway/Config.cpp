#include "Config.h"

#include "zeb/core/ErrorString.h"
#include "zeb/doc/json/Array.h"
#include "zeb/doc/json/Codes.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/io/File.h"
#include "zeb/io/StringStream.h"

#include <fcntl.h>

namespace {

constexpr long MAX_FILE_SIZE = 65536;
constexpr long MIN_PERIOD = 100;
constexpr long MAX_PERIOD = 60000;

char const* JsonError(ReturnT const& code) {
    switch (code.Code()) {
    case Json::CODE_BAD_NULL:
    case Json::CODE_BAD_FALSE:
    case Json::CODE_BAD_TRUE:
        return "a word that is not null, false or true";
    case Json::CODE_BAD_HEX:
    case Json::CODE_HIGH_SURROGATE_ALONE:
    case Json::CODE_NO_LOW_SURROGATE:
    case Json::CODE_BAD_ESCAPE:
        return "a bad escape in a string";
    case Json::CODE_UNTERMINATED:
        return "a string without an end";
    case Json::CODE_CONTROL:
        return "a control character in a string";
    case Json::CODE_LEADING_ZERO:
    case Json::CODE_NO_DIGIT:
    case Json::CODE_NO_FRACTION:
    case Json::CODE_NO_EXPONENT:
    case Json::CODE_NOT_A_DOUBLE:
    case Json::CODE_NUMBER_TOO_LONG:
        return "a bad number";
    case Json::CODE_BAD_ARRAY:
        return "a comma or bracket is missing in a list";
    case Json::CODE_NO_NAME:
        return "a setting without a name in quotes";
    case Json::CODE_NO_COLON:
        return "a colon is missing behind a name";
    case Json::CODE_BAD_OBJECT:
        return "a comma or brace is missing";
    case Json::CODE_EMPTY:
        return "the file is empty";
    case Json::CODE_TRAILING:
        return "text behind the last brace";
    case Json::CODE_NO_VALUE:
        return "a value is missing";
    case Json::CODE_TOO_DEEP:
        return "too many levels";
    default:
        return code.IsOom() ? "out of memory" : "not an object in braces";
    }
}

bool ReadText(CString const& path, Io::StringStream& text, StringAccumulator& error) {
    Io::File file(path, O_RDONLY, Io::EOL_ANY_LF, Io::File::DEFAULT_BUFFER_SIZE, Log::VERBOSE_OFF);
    if (file.Ok() && text.Copy(file)) return true;
    error << "unable to read: ";
    if (file.SysError() != 0) {
        error << ErrorString(file.SysError());
    } else {
        error << (file.Ok() ? "too large" : file.ErrorString());
    }
    return false;
}

bool TakeText(CString const& name, Json::Value const& value, String& out, StringAccumulator& error) {
    if (!value.IsString() || value.String().Size() == 0) {
        error << '"' << name << "\" must be a text";
        return false;
    }
    if (out.Assign(value.String().Cstr(), value.String().Size())) return true;
    error << "out of memory";
    return false;
}

bool TakePeriod(CString const& name, Json::Value const& value, long& out, StringAccumulator& error) {
    if (!value.IsLong() || value.Long() < MIN_PERIOD || value.Long() > MAX_PERIOD) {
        error << '"' << name << "\" must be a whole number of milliseconds from " << MIN_PERIOD << " to "
              << MAX_PERIOD;
        return false;
    }
    out = value.Long();
    return true;
}

} // namespace

bool Config::Load(CString const& path, StringAccumulator& error) {
    Io::StringStream text(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF, 4096, MAX_FILE_SIZE);
    if (!ReadText(path, text, error)) return false;
    Json::Document document;
    ReturnT const code = document.Parse(text.Str(), Json::Document::PARSE_CONTAINER);
    if (code.Failed()) {
        error << "no valid JSON: " << JsonError(code);
        return false;
    }
    if (!document.IsObject()) {
        error << "no valid configuration: a list where settings in braces must stand";
        return false;
    }
    return Take_(*document.Object(), error);
}

bool Config::Take_(Json::Object const& settings, StringAccumulator& error) {
    if (!name_.Assign("gateway", 7)) {
        error << "out of memory";
        return false;
    }
    for (Json::Object::Member const* member = settings.First(); member; member = member->Next()) {
        if (!TakeOne_(member->Name(), *member->Value(), error)) return false;
    }
    if (stateFile_.Size() != 0) return true;
    error << "\"state_file\" is missing";
    return false;
}

bool Config::TakeOne_(CString const& name, Json::Value const& value, StringAccumulator& error) {
    if (name.Compare("name") == 0) return TakeText(name, value, name_, error);
    if (name.Compare("state_file") == 0) return TakeText(name, value, stateFile_, error);
    if (name.Compare("sample_period") == 0) return TakePeriod(name, value, samplePeriod_, error);
    if (name.Compare("state_period") == 0) return TakePeriod(name, value, statePeriod_, error);
    if (name.Compare("interfaces") == 0) return TakeInterfaces_(value, error);
    error << "there is no setting \"" << name << '"';
    return false;
}

bool Config::TakeInterfaces_(Json::Value const& value, StringAccumulator& error) {
    if (!value.IsArray()) {
        error << "\"interfaces\" must be a list of names";
        return false;
    }
    for (Json::Array::Element const* element = value.Array()->First(); element; element = element->Next()) {
        if (!element->Value()->IsString()) {
            error << "\"interfaces\" must be a list of names";
            return false;
        }
        if (!interfaces_.PushBack(element->Value()->String())) {
            error << "out of memory";
            return false;
        }
    }
    return true;
}
