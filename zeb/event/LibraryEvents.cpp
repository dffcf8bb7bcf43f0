#include "zeb/event/LibraryEvents.h"

namespace Event {

char const* TaskDone::Ident() const { return "Event::Type::TaskDone"; }
Base* TaskDone::Clone_() const { return fields_.Clone<TaskDone>(); }

char const* Resolved::Ident() const { return "Event::Type::Resolved"; }
Base* Resolved::Clone_() const { return fields_.Clone<Resolved>(); }

char const* MemoryPressure::Ident() const { return "Event::Type::MemoryPressure"; }
Base* MemoryPressure::Clone_() const { return fields_.Clone<MemoryPressure>(); }

char const* ServiceUp::Ident() const { return "Event::Type::ServiceUp"; }
Base* ServiceUp::Clone_() const { return fields_.Clone<ServiceUp>(); }

char const* ServiceDown::Ident() const { return "Event::Type::ServiceDown"; }
Base* ServiceDown::Clone_() const { return fields_.Clone<ServiceDown>(); }

char const* Stats::Ident() const { return "Event::Type::Stats"; }
Base* Stats::Clone_() const { return fields_.Clone<Stats>(); }

char const* Progress::Ident() const { return "Event::Type::Progress"; }
Base* Progress::Clone_() const { return fields_.Clone<Progress>(); }

} // namespace Event
