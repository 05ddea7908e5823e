#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/property_list.h"

// What the store holds under the reading keys, decoded for showing. Values stay the texts that they
// are in the store; a value that is no reading counts as absent.

namespace tarvel::viewer {

struct ProcessRow {
  std::int32_t pid = 0;
  std::string name;
  std::vector<std::pair<std::string, std::string>> columns;  // "cpu", "mem", "cmprs", … in order
  std::string icon;                                          // file name, or "unknown"
};

// The helper joins fresh readings to stored ones by name. Of several sensors of one name, two disks
// say, the first takes the reading of the last; the others may be old: they keep what they had when
// the number of sensors last changed.
struct SensorRow {
  std::string name;
  std::string value;
  std::string flag;
  bool mayBeOld = false;
};

struct FanRow {
  std::string name;
  std::string current;
  std::string minimum;
  std::string maximum;
  std::string flag;
  bool mayBeOld = false;
};

using Reading = std::variant<std::vector<ProcessRow>, std::vector<SensorRow>, std::vector<FanRow>>;

// The reading that the archive under this key holds; none for another key or other data.
std::optional<Reading> decodeReading(std::string_view key, const PropertyList& value);

// The text of one column; empty where the row has none.
std::string_view column(const ProcessRow& row, std::string_view name);

// The identifier of the application that the process belongs to; empty where it is none.
std::string applicationOf(const ProcessRow& row);

// The number that a reading's text begins with, its K, M or G multiplied out; none without one.
std::optional<double> numberOf(std::string_view text);

}  // namespace tarvel::viewer
