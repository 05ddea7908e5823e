#pragma once

#include <optional>
#include <string>
#include <string_view>

// Files and folders of the application group. Failures are not reported. Callable from any thread.

namespace tarvel {

class FileManager {
 public:
  virtual ~FileManager() = default;

  // The group's shared container, a folder that exists; none when it cannot be had.
  virtual std::optional<std::string> containerURLForSecurityApplicationGroupIdentifier(
      std::string_view group) = 0;

  // Removes a file, a folder with all it holds, or a symbolic link itself.
  virtual void removeItemAtPath(const std::string& path) = 0;
};

}  // namespace tarvel
