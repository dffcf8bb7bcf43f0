#include "zeb/event/LibraryEvents.h"

namespace Event {

char const* TaskDone::Ident() const { return IDENT; }
Base* TaskDone::Clone_() const { return fields_.Clone<TaskDone>(); }

char const* Resolved::Ident() const { return IDENT; }
Base* Resolved::Clone_() const { return fields_.Clone<Resolved>(); }

char const* MemoryPressure::Ident() const { return IDENT; }
Base* MemoryPressure::Clone_() const { return fields_.Clone<MemoryPressure>(); }

char const* ServiceUp::Ident() const { return IDENT; }
Base* ServiceUp::Clone_() const { return fields_.Clone<ServiceUp>(); }

char const* ServiceDown::Ident() const { return IDENT; }
Base* ServiceDown::Clone_() const { return fields_.Clone<ServiceDown>(); }

char const* Stats::Ident() const { return IDENT; }
Base* Stats::Clone_() const { return fields_.Clone<Stats>(); }

char const* Progress::Ident() const { return IDENT; }
Base* Progress::Clone_() const { return fields_.Clone<Progress>(); }

} // namespace Event
