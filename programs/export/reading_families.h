#pragma once

#include <string>

#include "viewer/machine/machine_totals.h"
#include "viewer/snapshot.h"

namespace tarvel::viewer {

// The readings in the text format 0.0.4 of Prometheus; docs/export.md lists the metrics. Units are
// base units, texts that are no number are left out, and so is a second reading under the same
// labels. Sensors of one name are told apart by the label "place", 1 for the first. Readings that
// are not present ones have their age and no samples.
std::string metricsOf(const Snapshot& snapshot, bool helperRuns);

// The machine's totals in the same format.
std::string metricsOf(const MachineTotals& totals);

}  // namespace tarvel::viewer
