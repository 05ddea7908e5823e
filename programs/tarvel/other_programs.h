#pragma once

#include <string>
#include <vector>

// The programs of the installation that `tarvel` becomes for what they do better: this one keeps no
// memory beside them. Each returns, by a CommandError, only where the program is not to be had.

namespace tarvel::viewer {

// tarvel-tools, for what needs the machine itself.
[[noreturn]] void becomeTools(const std::vector<std::string>& arguments);

// tarvel-export, for Prometheus.
[[noreturn]] void becomeExport(const std::vector<std::string>& arguments);

// The live dashboard. On a terminal that cannot show it, it becomes `tarvel watch --once`.
[[noreturn]] void becomeDashboard(bool noHelper);

// The window, which a package of its own installs.
[[noreturn]] void becomeWindow(const std::vector<std::string>& arguments);

}  // namespace tarvel::viewer
