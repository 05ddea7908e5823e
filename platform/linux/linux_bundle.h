#pragma once

#include <memory>
#include <string>

#include "platform/bundle.h"

namespace tarvel {

// The bundle is the folder that holds the running program beside an Info.plist of ours.
std::unique_ptr<Bundle> makeLinuxBundle();

// The absolute path of the folder that holds the running program.
std::string programFolder();

}  // namespace tarvel
