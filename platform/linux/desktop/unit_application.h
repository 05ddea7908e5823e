#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarvel {

// The identifiers that the path of a process's control group names, the innermost first, such as
// "/user.slice/…/app.slice/app-gnome-org.a.B-42.scope" (systemd's "Desktop Environments", and the
// names that desktops, sandboxes and terminals give their units). The first one that is installed
// counts. A terminal's child is not the terminal: a path through its scope names nothing above it.
std::vector<std::string> unitIdentifiers(std::string_view controlGroupPath);

// The path in the text of /proc/PID/cgroup: that of the unified hierarchy, else of systemd's own.
std::string_view controlGroupPath(std::string_view cgroupFile);

}  // namespace tarvel
