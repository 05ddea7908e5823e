#pragma once

#include <chrono>
#include <optional>

namespace tarvel {

// When the helper's bundle was last looked for updates of, kept as the change time of a file in the
// group container, so that restarts do not look again early. None before the first time.
std::optional<std::chrono::seconds> timeSinceUpdateCheck();
void noteUpdateCheck();

}  // namespace tarvel
