#pragma once

#include <memory>

#include "platform/system_log.h"

// The system log on standard error, which a service manager sends to its journal.

namespace tarvel {

// Each text is one line, written by one write(2) so that lines of several threads and processes do
// not mix; control characters and bytes outside UTF-8 are shown as "?", a line is cut at 4096
// bytes.
std::unique_ptr<SystemLog> makeSystemLog();

}  // namespace tarvel
