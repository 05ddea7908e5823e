#include "viewer/machine/file_systems.h"

#include <algorithm>
#include <array>
#include <set>

#include <sys/statvfs.h>

#include "text/words.h"

namespace tarvel::viewer {
namespace {

constexpr std::array<std::string_view, 14> kLocalTypes = {
    "ext2",  "ext3", "ext4",  "xfs", "btrfs", "f2fs",    "vfat",
    "exfat", "ntfs", "ntfs3", "zfs", "jfs",   "hfsplus", "bcachefs"};

// The kernel writes blanks, tabs, line breaks and backslashes of a path as three octal digits.
std::string unescaped(std::string_view path) {
  std::string plain;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (path[i] == '\\' && i + 3 < path.size()) {
      const auto digit = [&](std::size_t at) { return path[i + at] - '0'; };
      plain += static_cast<char>(digit(1) * 64 + digit(2) * 8 + digit(3));
      i += 3;
    } else {
      plain += path[i];
    }
  }
  return plain;
}

std::optional<FileSystem> usageOf(const std::string& path) {
  struct statvfs status {};
  if (::statvfs(path.c_str(), &status) != 0 || status.f_blocks == 0) return std::nullopt;
  const auto bytes = [&](auto blocks) { return std::uint64_t{blocks} * status.f_frsize; };
  // What only root may use counts as used, as df(1) has it.
  const auto used = status.f_blocks - status.f_bfree;
  const auto usable = used + status.f_bavail;
  const double share = usable == 0 ? 1 : static_cast<double>(used) / static_cast<double>(usable);
  return FileSystem{path, share, bytes(status.f_bavail), bytes(status.f_blocks)};
}

}  // namespace

FileSystemUsage statvfsUsage() { return usageOf; }

std::vector<FileSystem> nearlyFull(std::string_view mounts, const FileSystemUsage& usage) {
  std::vector<FileSystem> full;
  std::set<std::string, std::less<>> devices;
  while (!mounts.empty()) {
    auto line = takeLine(mounts);
    const auto device = takeWord(line);
    const auto path = takeWord(line);
    const auto type = takeWord(line);
    const bool readOnly = takeWord(line).starts_with("ro");  // full for good, as an image is
    const bool local = std::find(kLocalTypes.begin(), kLocalTypes.end(), type) != kLocalTypes.end();
    if (!local || readOnly || !devices.emplace(device).second) continue;
    auto found = usage(unescaped(path));
    if (found && found->used >= kNearlyFull) full.push_back(*std::move(found));
  }
  std::stable_sort(full.begin(), full.end(),
                   [](const auto& a, const auto& b) { return a.used > b.used; });
  return full;
}

}  // namespace tarvel::viewer
