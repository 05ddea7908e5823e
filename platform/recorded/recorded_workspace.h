#pragma once

#include <memory>

#include "platform/recorded/playback.h"
#include "platform/workspace.h"

namespace tarvel::recorded {

// The applications of the recorded machine, with icons from its PNG files.
std::unique_ptr<Workspace> makeRecordedWorkspace(Playback& playback);

}  // namespace tarvel::recorded
