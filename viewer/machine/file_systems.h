#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "viewer/machine/machine_totals.h"

namespace tarvel::viewer {

// A file system from this share on is nearly full.
inline constexpr double kNearlyFull = 0.9;

// How full the file system at this path is; none where that cannot be told.
using FileSystemUsage = std::function<std::optional<FileSystem>(const std::string& path)>;
FileSystemUsage statvfsUsage();

// The file systems of /proc/self/mounts that are nearly full, the fullest first, each device once.
// Only file systems of local disks are asked: a network mount whose server is away would block.
std::vector<FileSystem> nearlyFull(std::string_view mounts, const FileSystemUsage& usage);

}  // namespace tarvel::viewer
