#pragma once

#include <string>
#include <vector>

// The disks of a machine, found in sysfs and in what udev noted, without a command to any of them.

namespace tarvel {

struct AtaDisk {
  std::string name;      // "sda"
  std::string identity;  // its place, and the kernel's number of this attachment: no serial number
  std::string folder;    // of its device
  bool smartCapable = false;
  bool ataBlockStorage = false;
};

struct AtaDiskRoots {
  std::string sys = "/sys";
  std::string udevData = "/run/udev/data";
  std::string dev = "/dev";
};

// Whole direct-access disks that are either; NVMe, virtio, loop and optical drives are not.
std::vector<AtaDisk> listAtaDisks(const AtaDiskRoots& roots);

// IDENTIFY DEVICE data as the kernel read it when it found the disk; empty when it did not.
std::string cachedIdentifyData(const AtaDisk& disk);

// The file of the temperature that the kernel's drivetemp watches; empty when it does not.
std::string drivetempFile(const AtaDisk& disk);

// Whether the system itself has put the disk down: any access would wake it.
bool isSuspended(const AtaDisk& disk);

// The kernel's counts of what was read from and written to the disk; they move with its traffic.
std::string trafficCounts(const AtaDisk& disk, const AtaDiskRoots& roots);

}  // namespace tarvel
