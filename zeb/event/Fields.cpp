#include "zeb/event/Fields.h"

Event::Base* Event::Settle_(Base* clone) {
    if (clone == nullptr || clone->Initialized()) return clone;
    delete clone;
    return nullptr;
}
