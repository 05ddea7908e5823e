#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The viewer flag of a stored sensor record: "0" hides the sensor in viewers, anything else shows
// it. The helper carries the flag from reading to reading.

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

// Sets the flag of a stored record of exactly this name, in one transaction: `place` 0 is the first
// of them, 1 the second. False, and nothing is written, where the key holds no such record or the
// store takes no writes.
bool setViewerFlag(DefaultsStore& store, std::string_view key, const std::string& sensor,
                   std::size_t place, const std::string& value);

}  // namespace tarvel::viewer
