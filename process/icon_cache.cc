#include "process/icon_cache.h"

#include <optional>

#include "platform/file_manager.h"
#include "platform/workspace.h"
#include "process/process_usage.h"
#include "product/identifiers.h"

namespace tarvel {
namespace {

constexpr std::string_view kUnlistedPrefix = "LaunchCFM";
constexpr double kPreferredWidth = 48.0;  // points

std::optional<std::string> bundlePathOf(std::int32_t pid, Workspace& workspace) {
  const auto process = workspace.GetProcessForPID(pid);
  return process ? workspace.GetProcessBundleLocation(*process) : std::nullopt;
}

// The last representation of the preferred width, else the first.
std::size_t chosen(const Icon& icon) {
  std::size_t index = 0;
  for (std::size_t i = 0; i < icon.representations.size(); ++i) {
    const double width = icon.representations[i].width;
    if (width >= kPreferredWidth && width <= kPreferredWidth) index = i;
  }
  return index;
}

}  // namespace

std::string IconCache::iconValue(std::int32_t pid, std::string_view name) const {
  if (name.starts_with(kUnlistedPrefix)) return {};
  const auto bundlePath = bundlePathOf(pid, workspace_);
  if (!bundlePath) return std::string(kUnknownIcon);
  auto identifier = workspace_.bundleIdentifier(*bundlePath);
  if (!identifier) return std::string(kUnknownIcon);
  std::erase(*identifier, '/');
  const std::string fileName = *identifier + ".tiff";
  ensureIconFile(*bundlePath, fileName);
  return fileName;
}

void IconCache::clear() const {
  if (const auto folder = directory()) files_.removeItemAtPath(*folder);
}

std::optional<std::string> IconCache::directory() const {
  auto path = files_.containerURLForSecurityApplicationGroupIdentifier(kSuiteName);
  if (path) path->append(kIconDirectory);
  return path;
}

void IconCache::ensureIconFile(const std::string& bundlePath, const std::string& fileName) const {
  const auto folder = directory();
  if (!folder) return;
  if (!files_.fileExistsAtPath(*folder)) files_.createDirectoryAtPath(*folder);
  const std::string path = *folder + fileName;
  if (files_.fileExistsAtPath(path)) return;
  const Icon icon = workspace_.iconForFile(bundlePath);
  const Data tiff = icon.representations.empty()
                        ? workspace_.TIFFRepresentation(icon)
                        : workspace_.TIFFRepresentation(icon, chosen(icon));
  if (!tiff.empty()) files_.writeToFile(tiff, path);
}

}  // namespace tarvel
