#include "zeb/event/BaseDelegate.h"

#include "zeb/core/Log.h"
#include "zeb/event/Base.h"

#include <cstring>

namespace Event {

BaseDelegate::BaseDelegate(char const* ident, void const* object, void const* method,
                           unsigned long methodSize, Mutex const* lock)
    : ident_(ident)
    , object_(object)
    , lock_(lock) {
    // An acceptor without a method, as the owner of a process is one, has a null pointer.
    if (methodSize != 0) memcpy(method_, method, methodSize < METHOD_SIZE ? methodSize : METHOD_SIZE);
}

BaseDelegate::~BaseDelegate() = default;

bool BaseDelegate::operator==(BaseDelegate const& other) const {
    return object_ == other.object_ && memcmp(method_, other.method_, METHOD_SIZE) == 0;
}

void BaseDelegate::RefuseClass_(Base const& event) const {
    Log(Log::CRITICAL, "Event::Delegate", nullptr, "\"%1\" takes another class than that of \"%2\", ignored")
        << ident_ << event.Ident();
}

} // namespace Event
