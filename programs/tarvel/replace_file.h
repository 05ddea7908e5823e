#pragma once

#include <string>
#include <string_view>

namespace tarvel::viewer {

// Replaces the file as a whole, readable by all as the user's mask allows. The temporary one beside
// it ends in ".tmp". False, and nothing is left behind, where that fails.
bool replaceFile(const std::string& path, std::string_view contents);

}  // namespace tarvel::viewer
