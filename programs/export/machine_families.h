#pragma once

#include <optional>

#include "programs/export/family.h"
#include "viewer/helper_cost.h"
#include "viewer/machine/machine_totals.h"

// What viewers measure themselves, as metrics: the machine's totals and what the helper costs.

namespace tarvel::viewer {

void addMachine(const MachineTotals& totals, Families& families);

// Also whether a helper runs; none does without figures.
void addHelper(const std::optional<HelperCost::Figures>& figures, Families& families);

}  // namespace tarvel::viewer
