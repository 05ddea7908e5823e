#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "programs/viewer/property_list_json.h"
#include "programs/viewer/readings.h"

// The readings of some keys at one moment, for people and for programs.

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

using Snapshot = std::vector<std::pair<std::string_view, Reading>>;  // by key, absent ones left out

// All reading keys, in the order of the panel table.
std::vector<std::string_view> readingKeys();

Snapshot readSnapshot(DefaultsStore& store, const std::vector<std::string_view>& keys);

// One object by key. A process row names its icon's file under "iconPath" where that file exists in
// the directory.
Json jsonOf(const Snapshot& snapshot, const std::string& iconDirectory);

// Tables under a title each, with units.
std::string tablesOf(const Snapshot& snapshot);

// The icon directory of the group container, ending in "/"; empty without a container.
std::string iconDirectory();

// The reading of a sensor with the unit of its kind: "47 °C".
std::string_view unitOf(std::string_view readingKey);

}  // namespace tarvel::viewer
