#pragma once

#include <string>
#include <string_view>

// The one way in which programs of the product write a file that others read.

namespace tarvel {

enum class FileReaders {
  owner,  // mode 0600
  all,    // mode 0644, whatever the process's mask: that of a service closes files to others
};

// Replaces the file as a whole: a reader sees the old bytes or the new ones. They are written into
// a new file beside it, whose name nobody can foresee, ".tarvel-" and sixteen random digits, and
// which is made exclusively: a link or a FIFO that somebody has put into the folder is never
// followed or opened. A link at the path itself is replaced. False, and nothing is changed or left
// behind, where that fails and where a folder, a device or a FIFO stands at the path. Callable from
// any thread.
bool replaceFile(const std::string& path, std::string_view contents, FileReaders readers);

}  // namespace tarvel
