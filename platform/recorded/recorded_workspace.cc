#include "platform/recorded/recorded_workspace.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "platform/image/png_reader.h"
#include "platform/image/tiff_writer.h"

namespace tarvel::recorded {
namespace {

constexpr std::int32_t kProcNotFound = -600;

Data tiffOfPicture(const std::string& path, double widthInPoints) {
  std::ifstream file(path, std::ios::binary);
  const Data bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const auto raster = readPNG(bytes);
  return raster ? tiffData(*raster, widthInPoints) : Data{};
}

class RecordedWorkspace : public Workspace {
 public:
  explicit RecordedWorkspace(Playback& playback) : playback_(playback) {}

  // The serial number is the process id itself.
  std::optional<ProcessSerialNumber> GetProcessForPID(std::int32_t pid) override {
    const bool found = applicationOf(pid) != nullptr;
    playback_.trace("GetProcessForPID", {{"pid", pid}}, found ? 0 : kProcNotFound);
    return found ? std::optional(static_cast<ProcessSerialNumber>(pid)) : std::nullopt;
  }

  std::optional<std::string> GetProcessBundleLocation(ProcessSerialNumber process) override {
    const auto pid = static_cast<std::int32_t>(process);
    const auto* application = applicationOf(pid);
    auto path = application != nullptr ? application->bundlePath : std::nullopt;
    playback_.trace("GetProcessBundleLocation", {{"pid", pid}}, path ? 0 : kProcNotFound);
    return path;
  }

  std::optional<std::string> bundleIdentifier(const std::string& bundlePath) override {
    const auto* application = applicationAt(bundlePath);
    return application != nullptr ? application->bundleIdentifier : std::nullopt;
  }

  Icon iconForFile(const std::string& bundlePath) override {
    playback_.trace("iconForFile", {{"path", bundlePath}});
    Icon icon;
    const auto* application = applicationAt(bundlePath);
    if (application == nullptr) return icon;
    for (const auto& drawing : application->icon) {
      icon.representations.push_back({drawing.width, drawing.height, 0, drawing.file});
    }
    icon.wholeFile = application->wholeIcon;
    return icon;
  }

  Data TIFFRepresentation(const Icon& icon, std::size_t representation) override {
    const auto& drawing = icon.representations[representation];
    return tiffOfPicture(drawing.file, drawing.width);
  }

  Data TIFFRepresentation(const Icon& icon) override {
    return icon.wholeFile.empty() ? Data{} : tiffOfPicture(icon.wholeFile, 0);
  }

 private:
  template <typename Test>
  const Application* firstWhere(Test test) const {
    const auto& applications = playback_.machine().applications;
    const auto found = std::find_if(applications.begin(), applications.end(), test);
    return found != applications.end() ? &*found : nullptr;
  }

  const Application* applicationOf(std::int32_t pid) const {
    return firstWhere([&](const Application& application) { return application.pid == pid; });
  }

  const Application* applicationAt(const std::string& bundlePath) const {
    return firstWhere(
        [&](const Application& application) { return application.bundlePath == bundlePath; });
  }

  Playback& playback_;
};

}  // namespace

std::unique_ptr<Workspace> makeRecordedWorkspace(Playback& playback) {
  return std::make_unique<RecordedWorkspace>(playback);
}

}  // namespace tarvel::recorded
