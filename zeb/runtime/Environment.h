#pragma once

// Environment: the variables of the process, read under one lock of the precedence ULTIMATE.
//
// The lock serialises the users of this class, not those of setenv(), putenv() and clearenv(): a program
// calls these, if at all, ahead of its second thread. Texts are copied under the lock. Any thread.

#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"

class CString;
class String;
class StringMap;

class ZEB_PUBLIC Environment {
public:
    static constexpr char const IDENT[] = "Environment";

    static constexpr ReturnT DONE = ReturnT::Make(ReturnT::SUCCESS, Facility::ENVIRONMENT, 100);
    static constexpr ReturnT INVALID_NAME = ReturnT::Make(ReturnT::ERROR, Facility::ENVIRONMENT, 100);
    static constexpr ReturnT NOT_SET = ReturnT::Make(ReturnT::ERROR, Facility::ENVIRONMENT, 200);

    // Not empty, without white space and equal signs.
    static bool IsNameValid(CString const& name);

    // DONE, INVALID_NAME, NOT_SET, or an Oom code; on failure `value` stays as it was.
    static ReturnT Get(CString const& name, String& value);

    // Sets each variable in the map, next to what it has. DONE, or an Oom code with the map cleared. An entry
    // of the environment without an equal sign is logged and left out.
    static ReturnT GetAll(StringMap& map);

    // Hides the variables that the process was started with from other processes: /proc/<pid>/environ shows
    // "cleared=true" from here on. The process itself keeps them. DONE, or a Fail code, logged: it takes the
    // capability CAP_SYS_RESOURCE.
    static ReturnT ClearInitial();
};
