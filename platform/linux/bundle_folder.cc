#include "platform/linux/bundle_folder.h"

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <sys/stat.h>

#include "platform/host/files/small_file.h"
#include "text/words.h"

namespace tarvel {
namespace {

constexpr std::size_t kInfoLimit = 64 * 1024;      // bytes
constexpr std::size_t kKernelLimit = 1024 * 1024;  // bytes of a table of the kernel

// A path as the kernel's table of mounts spells it: blanks, tabs, newlines and backslashes as \ooo.
std::string mountPoint(std::string_view field) {
  std::string path;
  for (std::size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size()) {
      path.push_back(static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                       (field[i + 3] - '0')));
      i += 3;
    } else {
      path.push_back(field[i]);
    }
  }
  return path;
}

// proc_pid_mountinfo(5): the fifth field of a line is the mount point.
bool isMountedAtOrBelow(const std::string& path) {
  const auto table = readSmallFile("/proc/self/mountinfo", kKernelLimit);
  for (std::string_view mounts = table ? *table : std::string_view(); !mounts.empty();) {
    auto line = takeLine(mounts);
    std::string_view field;
    for (int i = 0; i < 5; ++i) field = takeWord(line);
    const std::string point = mountPoint(field);
    if (point == path || point.starts_with(path + "/")) return true;
  }
  return false;
}

// user_namespaces(7): a namespace shows the owners that it does not map as one number.
uid_t rootSeenFromHere() {
  constexpr uid_t kUnmapped = 65534;
  const auto map = readSmallFile("/proc/self/uid_map", kKernelLimit).value_or("");
  for (std::string_view rows = map; !rows.empty();) {
    auto row = takeLine(rows);
    if (takeWord(row) == "0") return 0;
  }
  return kUnmapped;
}

}  // namespace

std::optional<std::string> infoValue(const std::string& infoPlistPath, const std::string& key) {
  const std::string text = readSmallFile(infoPlistPath, kInfoLimit).value_or("");
  constexpr std::string_view open = "<string>";
  const std::string keyElement = "<key>" + key + "</key>";
  const auto place = text.find(keyElement);
  if (place == std::string::npos) return std::nullopt;
  const auto start = text.find_first_not_of(" \t\r\n", place + keyElement.size());
  if (start == std::string::npos || text.compare(start, open.size(), open) != 0) {
    return std::nullopt;
  }
  const auto end = text.find("</string>", start);
  if (end == std::string::npos) return std::nullopt;
  return text.substr(start + open.size(), end - start - open.size());
}

bool belongsToRoot(const std::string& path) {
  const uid_t root = rootSeenFromHere();
  for (std::filesystem::path folder = path;; folder = folder.parent_path()) {
    struct stat status {};
    if (::lstat(folder.c_str(), &status) != 0 || status.st_uid != root) return false;
    const bool othersWrite = (status.st_mode & S_IWOTH) != 0;
    if (!S_ISDIR(status.st_mode) || (othersWrite && (status.st_mode & S_ISVTX) == 0)) return false;
    if (folder == folder.root_path()) return true;
  }
}

std::optional<std::string> whyNotBundleFolder(const std::string& path,
                                              const std::string& identifier) {
  std::error_code error;
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return "not an absolute path";
  if (std::filesystem::canonical(path, error) != path || error) return "not a path without links";
  if (!std::filesystem::is_directory(path, error)) return "not a folder";
  const auto info = std::filesystem::path(path) / "Info.plist";
  if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(info, error)) ||
      infoValue(info.string(), "CFBundleIdentifier") != identifier) {
    return "no bundle of " + identifier;
  }
  if (isMountedAtOrBelow(path)) return "something is mounted there";
  return std::nullopt;
}

}  // namespace tarvel
