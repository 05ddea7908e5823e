#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The icon of each process's application, rendered once into a TIFF file that viewers can read.
//
// The icon directory of the group container is the whole state: a file that stands there under its
// name is used unchanged, one that is missing is rendered and written. Callable from several
// threads at once, for the same application too: every write is atomic, so the file is always
// whole.

namespace tarvel {

class FileManager;
class Workspace;

class IconCache {
 public:
  // Both outlive the cache.
  IconCache(Workspace& workspace, FileManager& files) : workspace_(workspace), files_(files) {}

  // "" for a process that belongs in no list, "unknown" for one that is no application with an
  // identifier, else the name of the application's icon file in the icon directory: the identifier
  // without any "/", then ".tiff". The name is returned also where the file could not be written.
  std::string iconValue(std::int32_t pid, std::string_view name) const;

  // Removes the icon directory with all it holds. Nothing happens without a group container.
  void clear() const;

 private:
  std::optional<std::string> directory() const;
  void ensureIconFile(const std::string& bundlePath, const std::string& fileName) const;

  Workspace& workspace_;
  FileManager& files_;
};

}  // namespace tarvel
