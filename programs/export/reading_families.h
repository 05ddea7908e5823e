#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "programs/export/family.h"
#include "viewer/snapshot.h"
#include "viewer/sources/source_listing.h"

// What the helper has published, but for its process lists, as metrics; docs/export.md lists them.

namespace tarvel::viewer {

// Where a sensor is read from, as SourceListing::of.
using SourceOf = std::function<std::optional<ListedSource>(
    std::string_view panel, const std::string& sensor, std::size_t place)>;

// When each reading was published, by the system clock.
void addTimes(const Snapshot& snapshot, std::chrono::system_clock::time_point now,
              Families& families);

// Sensors and fans; nothing for a process list. Sensors of one name are told apart by the label
// "place", 1 for the first.
void addSensors(const StoredReading& reading, const SourceOf& sourceOf, Families& families);

}  // namespace tarvel::viewer
