#pragma once

// What the library itself raises: finished tasks and name lookups, statistics, progress, services, memory
// pressure.

#include "zeb/core/SharedTypes.h"
#include "zeb/core/String.h"
#include "zeb/event/Fields.h"

namespace Event {

// A task has been run by its queue. Aimed at the delegate that the task was queued with.
class ZEB_PUBLIC TaskDone : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::TaskDone";

    explicit TaskDone(unsigned long taskId) { SetInitialized_(fields_.Assign(taskId)); }

    char const* Ident() const override;

    unsigned long TaskId() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<unsigned long> fields_;
};

// A name lookup has ended.
class ZEB_PUBLIC Resolved : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Resolved";

    explicit Resolved(uint64_t resolverId) { SetInitialized_(fields_.Assign(resolverId)); }

    char const* Ident() const override;

    uint64_t ResolverId() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<uint64_t> fields_;
};

// Processes wait for memory.
class ZEB_PUBLIC MemoryPressure : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::MemoryPressure";

    // The type shares its name with the accessor: it is written "enum Status" where it is needed.
    enum Status : uint32_t { NORMAL = 0, MEDIUM = 1, HIGH = 2 };

    explicit MemoryPressure(enum Status status) { SetInitialized_(fields_.Assign(status)); }

    char const* Ident() const override;

    enum Status Status() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<enum Status> fields_;
};

// A service has started.
class ZEB_PUBLIC ServiceUp : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ServiceUp";

    explicit ServiceUp(CString const& id) { SetInitialized_(fields_.Assign(id)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// A service has ended; the code is that of its process.
class ZEB_PUBLIC ServiceDown : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ServiceDown";

    enum ReasonT : uint32_t { STOPPED = 0, FAILED = 1, RESTARTED = 2 };

    ServiceDown(CString const& id, ReasonT reason, int code) {
        SetInitialized_(fields_.Assign(id, reason, code));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    ReasonT Reason() const { return fields_.At<1>(); }
    int Code() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, ReasonT, int> fields_;
};

// An attribute of a statistics database has another value.
class ZEB_PUBLIC Stats : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Stats";

    Stats(CString const& id, CString const& area, CString const& attribute, uint64_t value) {
        SetInitialized_(fields_.Assign(id, area, attribute, value));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& Area() const { return fields_.At<1>(); }
    String const& Attribute() const { return fields_.At<2>(); }
    uint64_t Value() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String, uint64_t> fields_;
};

// How far a piece of work has come, in percent.
class ZEB_PUBLIC Progress : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Progress";

    Progress(CString const& name, unsigned long value, RebootT reboot = REBOOT_NO) {
        SetInitialized_(fields_.Assign(name, value, reboot));
    }

    char const* Ident() const override;

    String const& Name() const { return fields_.At<0>(); }
    unsigned long Value() const { return fields_.At<1>(); }
    RebootT Reboot() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, unsigned long, RebootT> fields_;
};

} // namespace Event
