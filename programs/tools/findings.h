#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/disks/ata_disks.h"
#include "programs/tools/finding.h"

// Every source that the product looks for, in the way in which the helper itself looks for it. No
// command goes to a disk, and a graphics chip that sleeps is not read.

namespace tarvel {
class SystemLog;
}

namespace tarvel::tools {

struct MachineRoots {
  std::string sys = "/sys";
  std::string proc = "/proc";
  AtaDiskRoots disks;
  std::string systemd = "/etc/systemd/system";  // where enabled units are linked
};

// The controller, the sensors by kind, the disks one by one, processes, icons and applications.
Findings machineFindings(SystemLog& log, const MachineRoots& roots = {});

// The container and its store, the registry and who runs, the helper's bundle and its updates.
Findings productFindings();

// The data of a process's environment that says where its store lies: XDG_DATA_HOME where it is an
// absolute path, else HOME/.local/share. The text is that of /proc/PID/environ. None without both.
std::optional<std::string> dataHomeIn(std::string_view environment);

}  // namespace tarvel::tools
