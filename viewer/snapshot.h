#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "viewer/readings.h"

// The readings of some keys at one moment.

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

using Snapshot = std::vector<std::pair<std::string_view, Reading>>;  // by key, absent ones left out

// All reading keys, in the order of the panel table.
std::vector<std::string_view> readingKeys();

Snapshot readSnapshot(DefaultsStore& store, const std::vector<std::string_view>& keys);

// The unit of the readings under this key, "°C" for temperatures; empty for process lists.
std::string_view unitOf(std::string_view readingKey);

// The icon directory of the group container, ending in "/"; empty without a container.
std::string iconDirectory();

}  // namespace tarvel::viewer
