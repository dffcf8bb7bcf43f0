#include "zeb/stream/Base.h"

namespace Io {

Base::~Base() = default;

bool Base::IReady() const { return false; }

} // namespace Io
