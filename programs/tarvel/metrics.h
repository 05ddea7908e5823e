#pragma once

#include <string>

#include "viewer/snapshot.h"

namespace tarvel::viewer {

// The readings in the text format 0.0.4 of Prometheus; docs/export.md lists the metrics. Units are
// base units, texts that are no number are left out, and so is a second reading under the same
// labels. Sensors of one name are told apart by the label "place", 1 for the first.
std::string metricsOf(const Snapshot& snapshot, bool helperRuns);

}  // namespace tarvel::viewer
