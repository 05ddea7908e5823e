#pragma once

#include <memory>

#include "platform/file_manager.h"

// Files and folders as the host keeps them.

namespace tarvel {

// New folders have mode 0700, new files 0600. A file is replaced by a temporary one that is made
// beside it, ".tarvel-" and six random characters, and renamed; it does not outlive a failure.
std::unique_ptr<FileManager> makeFileManager();

}  // namespace tarvel
