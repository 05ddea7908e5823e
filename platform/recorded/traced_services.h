#pragma once

#include <memory>

#include "platform/file_manager.h"
#include "platform/recorded/playback.h"
#include "platform/system_log.h"
#include "platform/user_defaults.h"

// Services that a replay uses for real: each call is traced and passed on.

namespace tarvel::recorded {

std::unique_ptr<SystemLog> makeTracedLog(Playback& playback, SystemLog& log);

// Removes nothing but the icon directory, whatever it is asked for.
std::unique_ptr<FileManager> makeTracedFiles(Playback& playback, FileManager& files);

std::unique_ptr<UserDefaultsSuites> makeTracedDefaults(Playback& playback,
                                                       UserDefaultsSuites& suites);

}  // namespace tarvel::recorded
