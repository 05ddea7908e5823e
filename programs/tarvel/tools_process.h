#pragma once

#include <string>
#include <vector>

namespace tarvel::viewer {

// Becomes tarvel-tools with these arguments: returns, by a CommandError, only where that is not to
// be had.
[[noreturn]] void becomeTools(const std::vector<std::string>& arguments);

}  // namespace tarvel::viewer
