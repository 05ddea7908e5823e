#pragma once

#include "platform/ata_smart.h"
#include "programs/tarvel/property_list_json.h"

namespace tarvel::tools {

// The disks as members of a recorded machine: what each answered to the operations that its
// temperature takes, in that order and up to the first that failed. Serial numbers, world-wide
// names and what only the maker understands are left out of the blocks; their checksums are as
// right or wrong as they were.
viewer::Json recordDisks(AtaSmart& ataSmart);

}  // namespace tarvel::tools
