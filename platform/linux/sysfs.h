#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/files/file_descriptor.h"

// Reading what the kernel shows in sysfs. Callable from any thread; a driver may make a reading
// wait for as long as it likes.

namespace tarvel {

// The whole file, at most 4 KiB, which is what sysfs gives at once; none when it cannot be read.
std::optional<std::string> readAttributeBytes(const std::string& path);

// The same without the newline at its end; empty when it cannot be read.
std::string readAttribute(const std::string& path);

// The names in a folder but "." and "..", sorted; none when it cannot be read.
std::vector<std::string> folderNames(const std::string& path);

// The folder's own path without any link; empty when there is no such folder.
std::string resolvedPath(const std::string& path);

// The decimal number that a text begins with.
std::optional<std::int64_t> leadingInteger(std::string_view text);

// An attribute that is read again and again: its descriptor is kept, and closed after a failure, so
// that a device that was unplugged and came back is found again.
class AttributeFile {
 public:
  explicit AttributeFile(std::string path) : path_(std::move(path)) {}

  // The bytes read, none on failure.
  std::optional<std::string_view> read(std::span<char> buffer);
  std::optional<std::int64_t> readInteger();

  // Whether the last failure says that the device is gone.
  bool gone() const { return gone_; }

  const std::string& path() const { return path_; }

 private:
  std::nullopt_t fail();

  std::string path_;
  FileDescriptor file_;
  bool gone_ = false;
};

}  // namespace tarvel
