#include "Sampler.h"

bool Sampler::Start() {
    if (!timer_.Initialized()) return false;
    OnTimer_();
    return true;
}

void Sampler::OnTimer_() {
    if (sample_.Read(root_, config_)) {
        links_.Tell(sample_);
        telemetry_.Put(sample_);
    } else {
        telemetry_.CountFailure();
    }
    stateFile_.Request();
    timer_.Set(config_.SamplePeriod());
}
