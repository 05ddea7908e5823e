#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/property_list.h"

// Files and folders of the application group. Failures are not reported. Callable from any thread.

namespace tarvel {

class FileManager {
 public:
  virtual ~FileManager() = default;

  // The group's shared container, a folder that exists; none when it cannot be had.
  virtual std::optional<std::string> containerURLForSecurityApplicationGroupIdentifier(
      std::string_view group) = 0;

  // Whether anything stands at the path. Links are followed: a dangling one does not exist.
  virtual bool fileExistsAtPath(const std::string& path) = 0;

  // Makes one folder. Nothing happens where its parent is missing or its name is taken.
  virtual void createDirectoryAtPath(const std::string& path) = 0;

  // Removes a file, a folder with all it holds, or a symbolic link itself.
  virtual void removeItemAtPath(const std::string& path) = 0;

  // Replaces the file as a whole: a reader sees the old bytes or the new ones, never a part.
  virtual void writeToFile(const Data& data, const std::string& path) = 0;
};

}  // namespace tarvel
