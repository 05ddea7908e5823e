#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "viewer/reading_age.h"
#include "viewer/readings.h"

// The readings of some keys at one moment.

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

struct StoredReading {
  std::string_view key;
  Reading rows;
  std::optional<std::chrono::milliseconds> age;  // since the helper published it; none: unknown

  bool isStale() const { return tarvel::viewer::isStale(age); }
};

using Snapshot = std::vector<StoredReading>;  // absent readings left out

// All reading keys, in the order of the panel table.
std::vector<std::string_view> readingKeys();

// Also reads how old each reading is, in the container of the product.
Snapshot readSnapshot(DefaultsStore& store, const std::vector<std::string_view>& keys);

// The unit of the readings under this key, "°C" for temperatures; empty for process lists.
std::string_view unitOf(std::string_view readingKey);

// The icon directory of the group container, ending in "/"; empty without a container.
std::string iconDirectory();

}  // namespace tarvel::viewer
