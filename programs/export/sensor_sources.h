#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>

#include "viewer/sources/source_listing.h"

// Where sensors are read from, for a viewer that runs for months: disks are plugged in, drivers are
// loaded. One thread.

namespace tarvel::viewer {

class SensorSources {
 public:
  // Has the sources listed; does not wait.
  SensorSources() { listing_.request(); }

  // Waits until they are, or for so long at most.
  void wait(std::chrono::milliseconds longest) const { listing_.wait(longest); }

  // As SourceListing::of. A sensor that has none is noted, and once only.
  std::optional<ListedSource> of(std::string_view panel, const std::string& sensor,
                                 std::size_t place);

  // Takes in a new listing, and has one made where a sensor without a source was noted. Does not
  // wait. While one hangs no other is begun.
  void renew();

 private:
  using Sensor = std::tuple<std::string, std::string, std::size_t>;

  SourceListing listing_;
  std::optional<SourceListing> next_;
  std::set<Sensor> asked_;
  bool isWanted_ = false;
};

}  // namespace tarvel::viewer
