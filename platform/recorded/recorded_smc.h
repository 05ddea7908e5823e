#pragma once

#include <memory>

#include "platform/apple_smc.h"
#include "platform/recorded/playback.h"

namespace tarvel::recorded {

// The controller of the recorded machine. A service that appears after the helper has looked for
// it is never opened; one that goes away answers as if its connection were closed.
std::unique_ptr<AppleSMC> makeRecordedSMC(Playback& playback);

}  // namespace tarvel::recorded
