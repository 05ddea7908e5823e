#pragma once

#include <string>
#include <vector>

#include "programs/tarvel/property_list_json.h"
#include "programs/tools/shown_sensors.h"

// What `tarvel doctor --sensors` prints.

namespace tarvel::tools {

// A line each: name, key, chip and label, file, and the model of a drive; a heading for each panel.
std::string textOf(const std::vector<ShownSensor>& sensors);

// {"sensors": [{"panel", "name", "key", "chip", "label", "file", "model"}]}; the key of a disk and
// the model of anything else are null.
viewer::Json jsonOf(const std::vector<ShownSensor>& sensors);

}  // namespace tarvel::tools
