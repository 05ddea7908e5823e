#pragma once

#include <memory>
#include <string_view>

#include "platform/authorization.h"
#include "platform/bundle.h"
#include "platform/recorded/playback.h"
#include "platform/running_applications.h"
#include "platform/task.h"
#include "platform/updater.h"

// The smaller services of the recorded machine. Calls are traced and change nothing.

namespace tarvel::recorded {

inline constexpr std::string_view kBundlePath = "/Applications/TarvelHelper.app";

std::unique_ptr<Bundle> makeRecordedBundle();
std::unique_ptr<RunningApplications> makeRecordedApplications(Playback& playback);
std::unique_ptr<Authorization> makeRecordedAuthorization(Playback& playback);
std::unique_ptr<Updaters> makeRecordedUpdaters(Playback& playback);
std::unique_ptr<Tasks> makeRecordedTasks(Playback& playback);

}  // namespace tarvel::recorded
