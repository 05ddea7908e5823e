#pragma once

namespace tarvel {

// Whether this process has CAP_SYS_RAWIO, which commands to a disk take.
bool mayPassCommands();

}  // namespace tarvel
