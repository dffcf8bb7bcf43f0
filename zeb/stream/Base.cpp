#include "zeb/stream/Base.h"

#include <ctime>

namespace Io {

Base::~Base() = default;

bool Base::IReady() const { return false; }

void Base::RetryPause_() {
    timespec const pause{0, RETRY_TIMEOUT_NS};
    // A pause cut short by a signal is long enough.
    (void)nanosleep(&pause, nullptr);
}

} // namespace Io
