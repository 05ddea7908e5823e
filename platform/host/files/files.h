#pragma once

#include <memory>

#include "platform/file_manager.h"

// Files and folders as the host keeps them.

namespace tarvel {

// New folders have mode 0700, new files 0600; files are written by replaceFile (atomic_file.h).
std::unique_ptr<FileManager> makeFileManager();

}  // namespace tarvel
