#pragma once

// Environment: the variables of the process, read under one lock.
//
//   String level;
//   ReturnT const code = Environment::Get("LOG_LEVEL", level);
//   if (code == Environment::NOT_SET) ...                        // the default
//   if (code.Failed()) return code;
//
// Owns      nothing but the lock: what is found is copied under it
// Threads   any, one after the other. The lock does not keep setenv(), putenv() and clearenv() out: a program
//           calls these, if at all, ahead of its second thread
// Locks     one of the precedence ULTIMATE: any but that of a Status may be held around a call
// Memory    that ran out is an Oom code; nothing is kept half done

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

    // Not empty, without white space and equal signs. Takes no lock.
    static bool IsNameValid(CString const& name);

    // DONE, INVALID_NAME, NOT_SET, or an Oom code; on failure `value` stays as it was. A variable without a
    // text is set, and empty.
    static ReturnT Get(CString const& name, String& value);

    // Sets each variable in the map, next to what it has. DONE, or an Oom code with the map cleared. An entry
    // of the environment without an equal sign is logged and left out. If two have one name, which setenv()
    // does not make but whoever started the process may, Get() gives the first and the map has the last.
    static ReturnT GetAll(StringMap& map);

    // Hides the variables that the process was started with from other processes: /proc/<pid>/environ shows
    // "cleared=true" from here on. The process itself keeps them. DONE, or a Fail code, logged: it takes the
    // capability CAP_SYS_RESOURCE.
    static ReturnT ClearInitial();
};
