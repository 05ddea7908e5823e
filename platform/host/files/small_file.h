#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tarvel {

// The whole file; none when it cannot be read or is larger than the limit (bytes). What stands
// there may be anything: a FIFO or a device is not waited for.
std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit);

}  // namespace tarvel
