#include "platform/linux/desktop/linux_workspace.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "platform/linux/desktop/desktop_index.h"
#include "platform/linux/desktop/icon_drawing.h"
#include "platform/linux/desktop/icon_theme.h"
#include "platform/linux/desktop/process_application.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kRefreshInterval = 3s;   // between two looks for new entries
constexpr auto kUnknownLifetime = 30s;  // of the answer that a process is no application
constexpr auto kSettlingTime = 10s;     // a younger process may still become an application
constexpr std::size_t kRemembered = 4096;
constexpr std::size_t kSubstitutes = 3;  // an icon's other drawings that are tried for a broken one
constexpr const char* kGenericIcon = "application-x-executable";

class LinuxWorkspace : public Workspace {
 public:
  explicit LinuxWorkspace(LinuxWorkspaceOptions given)
      : options_(std::move(given)), index_(dataFolders()) {}

  // The serial number is the process id: what it belongs to is remembered beside it.
  std::optional<ProcessSerialNumber> GetProcessForPID(std::int32_t pid) override {
    const auto start = options_.startTime(pid);
    if (!start) return std::nullopt;
    const std::lock_guard lock(mutex_);
    const auto now = Clock::now();
    auto& process = remembered(pid, *start, now);
    if (now >= process.validUntil) resolve(pid, process, now);
    return process.entryPath.empty()
               ? std::nullopt
               : std::optional(static_cast<ProcessSerialNumber>(static_cast<std::uint32_t>(pid)));
  }

  std::optional<std::string> GetProcessBundleLocation(ProcessSerialNumber process) override {
    const std::lock_guard lock(mutex_);
    const auto found = processes_.find(static_cast<std::int32_t>(process));
    if (found == processes_.end() || found->second.entryPath.empty()) return std::nullopt;
    return found->second.entryPath;
  }

  std::optional<std::string> bundleIdentifier(const std::string& bundlePath) override {
    const std::lock_guard lock(mutex_);
    const auto* application = index_.atPath(bundlePath);
    return application != nullptr ? std::optional(application->identifier) : std::nullopt;
  }

  Icon iconForFile(const std::string& bundlePath) override {
    Icon icon;
    for (const auto& file : iconFiles(iconName(bundlePath), userIconFolders(dataFolders()))) {
      icon.representations.push_back({file.points, file.points, file.pixels, file.path});
    }
    return icon;
  }

  // The representation itself, else the icon's others in their order.
  Data TIFFRepresentation(const Icon& icon, std::size_t representation) override {
    Data tiff = draw(icon.representations[representation]);
    for (std::size_t i = 0; tiff.empty() && i < icon.representations.size(); ++i) {
      if (i == representation) continue;
      if (i > kSubstitutes) break;
      tiff = draw(icon.representations[i]);
    }
    return tiff.empty() ? genericIcon() : tiff;
  }

  Data TIFFRepresentation(const Icon&) override { return genericIcon(); }

 private:
  struct Process {
    std::uint64_t start = 0;
    Clock::time_point firstSeen;
    Clock::time_point validUntil;
    std::string entryPath;  // empty: no application
  };

  Process& remembered(std::int32_t pid, std::uint64_t start, Clock::time_point now) {
    if (processes_.size() >= kRemembered && !processes_.contains(pid)) processes_.clear();
    auto& process = processes_[pid];
    if (process.start != start || process.firstSeen == Clock::time_point{}) {
      process = {start, now, now, {}};
    }
    return process;
  }

  void resolve(std::int32_t pid, Process& process, Clock::time_point now) {
    refreshIndex(now);
    const auto* application = processApplication(options_.procFolder, pid, index_, sandboxes_);
    process.entryPath = application != nullptr ? application->path : std::string();
    if (application != nullptr) {
      process.validUntil = Clock::time_point::max();
    } else {
      process.validUntil = now - process.firstSeen < kSettlingTime ? now : now + kUnknownLifetime;
    }
  }

  // Entries that went or came change what any process belongs to.
  void refreshIndex(Clock::time_point now) {
    if (now < nextRefresh_) return;
    nextRefresh_ = now + kRefreshInterval;
    if (!index_.refresh()) return;
    for (auto& [pid, process] : processes_) process.validUntil = now;
  }

  std::string iconName(const std::string& bundlePath) {
    const std::lock_guard lock(mutex_);
    const auto* application = index_.atPath(bundlePath);
    return application != nullptr ? application->icon : std::string();
  }

  Data draw(const IconRepresentation& drawing) const {
    return drawIcon(options_.iconProgram, {drawing.file, drawing.width, 1, drawing.pixelsWide});
  }

  Data genericIcon() const {
    for (const auto& file : iconFiles(kGenericIcon, userIconFolders(dataFolders()))) {
      Data tiff = drawIcon(options_.iconProgram, file);
      if (!tiff.empty()) return tiff;
    }
    return drawGenericIcon(options_.iconProgram);
  }

  const LinuxWorkspaceOptions options_;
  std::mutex mutex_;  // guards what follows
  SandboxLooks sandboxes_;
  DesktopIndex index_;
  Clock::time_point nextRefresh_;
  std::unordered_map<std::int32_t, Process> processes_;
};

}  // namespace

std::unique_ptr<Workspace> makeLinuxWorkspace(LinuxWorkspaceOptions options) {
  return std::make_unique<LinuxWorkspace>(std::move(options));
}

}  // namespace tarvel
