#pragma once

#include <memory>
#include <string>

#include "platform/updater.h"

namespace tarvel {

class RunLoop;

// The updater of the bundle: decides when to look, and leaves the looking to tarvel-update, a
// short-lived program of the bundle, so that the helper links none of what that takes. Without a
// feed in the bundle's Info.plist there is nothing to look for by itself; a check that the user
// asks for tells so. When the last check is less than the interval ago, also by an earlier run of
// the helper, a background check waits for its turn.
std::unique_ptr<Updaters> makeLinuxUpdaters(RunLoop& runLoop, const std::string& bundlePath);

}  // namespace tarvel
