#include "zeb/network/TrafficSelector.h"

namespace Network {

TrafficSelector const& TrafficSelector::Zero() {
    static constexpr TrafficSelector zero;
    return zero;
}

} // namespace Network
