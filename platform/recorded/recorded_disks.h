#pragma once

#include <memory>

#include "platform/ata_smart.h"
#include "platform/recorded/playback.h"

namespace tarvel::recorded {

// The disks of the recorded machine. They answer at every call: nothing is cached.
std::unique_ptr<AtaSmart> makeRecordedDisks(Playback& playback);

}  // namespace tarvel::recorded
