#pragma once

#include <memory>

#include "platform/ata_smart.h"
#include "platform/linux/disks/disk_link.h"

namespace tarvel {

// A reading as an interface: every operation succeeds as it did then.
std::unique_ptr<AtaSmartInterface> makeLastReading(const DiskReading& reading);

// The disk itself. From its first failure on it is asked nothing more but to switch off what it was
// asked to switch on, and answers as it last did, if it ever did.
std::unique_ptr<AtaSmartInterface> makeLiveDisk(DiskLink link, std::shared_ptr<DiskState> state);

}  // namespace tarvel
