#pragma once

#include <string>

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
  AtaDiskRoots disks;
  std::string systemd = "/etc/systemd/system";  // where enabled units are linked
};

// The controller, the sensors by kind, the disks one by one, icons and applications.
Findings machineFindings(SystemLog& log, const MachineRoots& roots = {});

// The container and its store, the registry and who runs, the helper's bundle and its updates.
Findings productFindings();

}  // namespace tarvel::tools
