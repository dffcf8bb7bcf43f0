#include "zeb/runtime/Environment.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/StringMap.h"
#include "zeb/runtime/Mutex.h"
#include "zeb/runtime/StatusLog.h"

#include <cctype>
#include <cerrno>
#include <cstring>

#include <sys/prctl.h>
#include <unistd.h>

namespace {

constinit Mutex const lock_(Mutex::ULTIMATE);

constexpr char const CLEARED[] = "cleared=true";

// What the kernel shows then. It reads pages that were written only, none of a file.
char shown_[sizeof CLEARED];

// The value in an entry "name=value" of that name, else null.
char const* ValueOf_(CString const& entry, CString const& name) {
    unsigned long const size = name.Size();
    bool const isNamed =
        entry.Size() > size && entry[size] == '=' && memcmp(entry.Cstr(), name.Cstr(), size) == 0;
    return isNamed ? entry.Cstr() + size + 1 : nullptr;
}

bool SetArea_(unsigned long field, char const* at) {
    return prctl(PR_SET_MM, field, reinterpret_cast<unsigned long>(at), 0UL, 0UL) == 0;
}

} // namespace

bool Environment::IsNameValid(CString const& name) {
    for (unsigned long i = 0; i < name.Size(); ++i)
        if (name[i] == '=' || isspace(static_cast<unsigned char>(name[i])) != 0) return false;
    return !name.Empty();
}

ReturnT Environment::Get(CString const& name, String& value) {
    Mutex::Guard const guard(lock_);
    if (!IsNameValid(name)) return INVALID_NAME;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
        if (char const* const found = ValueOf_(*entry, name))
            return value.Assign(CString(found)) ? DONE : ReturnT::Oom();
    return NOT_SET;
}

ReturnT Environment::GetAll(StringMap& map) {
    Mutex::Guard const guard(lock_);
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        CString const text(*entry);
        unsigned long const size = text.Find('=');
        if (size == text.Size()) {
            Log(Log::CRITICAL, IDENT, nullptr, "invalid environment value \"%1\"") << text;
            continue;
        }
        if (!map.Set(CString(*entry, size), CString(*entry + size + 1))) {
            map.Clear();
            return ReturnT::Oom();
        }
    }
    return DONE;
}

ReturnT Environment::ClearInitial() {
    Mutex::Guard const guard(lock_);
    memcpy(shown_, CLEARED, sizeof CLEARED);
    if (SetArea_(PR_SET_MM_ENV_START, shown_) && SetArea_(PR_SET_MM_ENV_END, shown_ + sizeof CLEARED - 1))
        return DONE;
    int const error = errno;
    return (StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, nullptr, "unable to erase: %1")
            << ErrorString(error))
        .SetFail();
}
