#pragma once

#include <chrono>
#include <memory>

#include "platform/ata_smart.h"
#include "platform/linux/disks/ata_disks.h"
#include "platform/linux/disks/ata_pass_through.h"
#include "platform/linux/monotonic_clock.h"

// The ATA S.M.A.R.T. plug-in of a Linux machine.
//
// Where the kernel's drivetemp watches a disk, its reading stands in for the disk's own data and no
// rights are needed; nobody's S.M.A.R.T. is switched off. Otherwise commands go to the disk, which
// takes CAP_SYS_RAWIO. Each disk is asked at most once a minute, in between it answers as it last
// did.
//
// No disk is woken, nor kept from going to sleep by being looked at. Where we may ask, it is first
// asked whether it stands by; one that does, or that the system has suspended, or that does not
// say, is left alone. Where we may not ask, drivetemp is read only of a disk that was in use since
// the look before, a cycle ago. A disk that answered once keeps its last reading for as long as it
// is there, be it standing by or failing.
//
// A command that fails to end within the limit below, after which it is no longer waited for, is
// the last one for ten minutes. Main thread only.

namespace tarvel {

struct LinuxAtaOptions {
  AtaDiskRoots roots;
  MonotonicClock clock = monotonicTime;
  ScsiIoctl ioctl = scsiIoctl;
  std::chrono::milliseconds commandLimit{3000};
};

std::unique_ptr<AtaSmart> makeLinuxAtaSmart(LinuxAtaOptions options = {});

}  // namespace tarvel
