#pragma once

#include <string>

#include "programs/tarvel/property_list_json.h"
#include "viewer/machine/machine_totals.h"
#include "viewer/snapshot.h"

// A snapshot as text: for people as tables, for programs as JSON.

namespace tarvel::viewer {

// One object by key. Rows have the texts as stored and, beside them, "number" with its "unit", or
// "bytes" and "compressedBytes". A process row names its icon's file under "iconPath" where that
// file exists in the directory, whose path ends in "/".
Json jsonOf(const Snapshot& snapshot, const std::string& iconDirectory);

// The seconds since each reading was published, by key; null where that is unknown.
Json agesOf(const Snapshot& snapshot);

// The machine's totals: shares from 0 to 1, bytes, bytes a second, seconds. Absent members are left
// out.
Json jsonOf(const MachineTotals& totals);

// Readings, their ages under "age" and the machine under "machine": what `show --json` prints.
Json everythingOf(const Snapshot& snapshot, const MachineTotals& totals);

// Tables under a title each, with units. The title of an old reading says how old it is.
std::string tablesOf(const Snapshot& snapshot);

}  // namespace tarvel::viewer
