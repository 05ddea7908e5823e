#pragma once

#include <string>

#include "programs/tarvel/property_list_json.h"
#include "viewer/snapshot.h"

// A snapshot as text: for people as tables, for programs as JSON.

namespace tarvel::viewer {

// One object by key. A process row names its icon's file under "iconPath" where that file exists in
// the directory, whose path ends in "/".
Json jsonOf(const Snapshot& snapshot, const std::string& iconDirectory);

// Tables under a title each, with units.
std::string tablesOf(const Snapshot& snapshot);

}  // namespace tarvel::viewer
