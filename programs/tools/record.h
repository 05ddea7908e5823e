#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "programs/tarvel/property_list_json.h"

namespace tarvel::tools {

// Records this machine into the file, one cycle every three seconds. The first look is not kept:
// energy counters and process times tell something from the second one on. A signal ends it early,
// with the cycles so far; on a terminal it says how many they are. While it lasts it runs as the
// viewer "com.Tarvel", which the record says of the machine too. The exit status; throws a
// CommandError where nothing is recorded or the file cannot be written.
int record(const std::string& file, std::size_t cycles);

// One recorded machine of several looks: the first, and for each further one what has changed.
viewer::Json recordOf(const std::vector<viewer::Json>& looks);

}  // namespace tarvel::tools
