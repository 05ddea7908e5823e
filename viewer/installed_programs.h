#pragma once

#include <optional>
#include <string>

// The programs of the viewer's own installation.

namespace tarvel::viewer {

// The path of NAME beside the running program's file or in ../lib/tarvel, so that a build tree, a
// package and an unpacked folder all work. None when it is not there to be run.
std::optional<std::string> installedProgram(const std::string& name);

}  // namespace tarvel::viewer
