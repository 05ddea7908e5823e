#include "platform/linux/desktop/linux_workspace.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <mutex>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/bounded_work.h"
#include "platform/linux/desktop/current_index.h"
#include "platform/linux/desktop/drawing_turns.h"
#include "platform/linux/desktop/icon_drawing.h"
#include "platform/linux/desktop/icon_theme.h"
#include "platform/linux/desktop/process_application.h"
#include "platform/linux/recent_map.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

using Clock = std::chrono::steady_clock;

constexpr auto kLookServes = 200ms;  // for all lists of a cycle
constexpr auto kSettlingTime = 10s;  // a younger process may still become an application
constexpr auto kLookPatience = 2s;   // with the folders of icon themes
constexpr auto kDrawPatience = 4s;
constexpr auto kDrawPause = 10min;  // before an icon that did not come to stay is drawn again
constexpr std::size_t kRecentProcesses = 256;  // more than all lists show
constexpr std::size_t kSubstitutes = 3;  // an icon's other drawings that are tried for a broken one
constexpr const char* kGenericIcon = "application-x-executable";

// Tells one folder at a path from another that takes its place; empty where there is none.
std::string folderIdentity(const std::string& path) {
  struct statx status {};
  const bool known = ::statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &status) == 0;
  if (!known) return {};
  return std::to_string(status.stx_ino) + " " + std::to_string(status.stx_btime.tv_sec) + " " +
         std::to_string(status.stx_btime.tv_nsec);
}

// proc_pid_stat(5): clock ticks since boot, time in suspend included.
std::chrono::nanoseconds timeSince(std::uint64_t startTime) {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  const auto tick = std::chrono::nanoseconds(1s) / ::sysconf(_SC_CLK_TCK);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec) -
         startTime * tick;
}

bool isRecent(Clock::time_point look) {
  return look != Clock::time_point() && Clock::now() - look < kLookServes;
}

Data genericIcon(const std::string& iconProgram) {
  for (const auto& file : iconFiles(kGenericIcon, userIconFolders(dataFolders()))) {
    Data tiff = drawIcon(iconProgram, file);
    if (!tiff.empty()) return tiff;
  }
  return drawGenericIcon(iconProgram);
}

// The representation itself, else the icon's others in their order, else the generic icon.
Data drawnIcon(const std::string& iconProgram, const Icon& icon, std::size_t representation) {
  const auto draw = [&](const IconRepresentation& drawing) {
    return drawIcon(iconProgram, {drawing.file, drawing.width, 1, drawing.pixelsWide});
  };
  Data tiff = draw(icon.representations[representation]);
  for (std::size_t i = 0; tiff.empty() && i < icon.representations.size(); ++i) {
    if (i == representation) continue;
    if (i > kSubstitutes) break;
    tiff = draw(icon.representations[i]);
  }
  return tiff.empty() ? genericIcon(iconProgram) : tiff;
}

// An icon's whole file is the path of its entry, which names the application; it is empty where the
// icon is not to be drawn now.
class LinuxWorkspace : public Workspace {
 public:
  explicit LinuxWorkspace(LinuxWorkspaceOptions given)
      : options_(std::move(given)), index_(dataFolders()) {}

  // The serial number is the process id: what it belongs to is remembered beside it.
  std::optional<ProcessSerialNumber> GetProcessForPID(std::int32_t pid) override {
    const auto run = options_.program(pid);
    if (!run) return std::nullopt;
    const auto current = index_.snapshot();
    auto process = remembered(pid, *run, current.number);
    if (!process.isSettled && !isRecent(process.lookedAt)) {
      resolve(pid, process, *current.index);
      const std::lock_guard lock(mutex_);
      processes_[pid] = process;
    }
    return process.entryPath.empty()
               ? std::nullopt
               : std::optional(static_cast<ProcessSerialNumber>(static_cast<std::uint32_t>(pid)));
  }

  std::optional<std::string> GetProcessBundleLocation(ProcessSerialNumber process) override {
    const std::lock_guard lock(mutex_);
    const auto* found = processes_.find(static_cast<std::int32_t>(process));
    if (found == nullptr || found->entryPath.empty()) return std::nullopt;
    return found->entryPath;
  }

  std::optional<std::string> bundleIdentifier(const std::string& bundlePath) override {
    const auto current = index_.snapshot();
    const auto* application = current.index->atPath(bundlePath);
    return application != nullptr ? std::optional(application->identifier) : std::nullopt;
  }

  Icon iconForFile(const std::string& bundlePath) override {
    const auto turn = drawings_.isFree(bundlePath) ? lookups_.take(bundlePath) : nullptr;
    if (!turn) return {};
    const auto current = index_.snapshot();
    const auto* application = current.index->atPath(bundlePath);
    const auto found = std::make_shared<std::vector<IconFile>>();
    const auto look = [turn, found, name = application != nullptr ? application->icon : ""] {
      *found = iconFiles(name, userIconFolders(dataFolders()));
    };
    if (runBounded("icon files", kLookPatience, look) != BoundedOutcome::finished) return {};
    Icon icon{{}, bundlePath};
    for (const auto& file : *found) {
      icon.representations.push_back({file.points, file.points, file.pixels, file.path});
    }
    return icon;
  }

  Data TIFFRepresentation(const Icon& icon, std::size_t representation) override {
    return inTurn(icon.wholeFile, [program = options_.iconProgram, icon, representation] {
      return drawnIcon(program, icon, representation);
    });
  }

  Data TIFFRepresentation(const Icon& icon) override {
    return inTurn(icon.wholeFile,
                  [program = options_.iconProgram] { return genericIcon(program); });
  }

 private:
  struct Process {
    ProgramRun run;
    bool isSettled = false;      // what follows holds for as long as it runs
    Clock::time_point lookedAt;  // else it is looked at again
    std::string entryPath;       // empty: no application
  };

  // What is known of the process; entries that went or came change what any process belongs to.
  Process remembered(std::int32_t pid, const ProgramRun& run, unsigned index) {
    const std::lock_guard lock(mutex_);
    if (std::exchange(indexSeen_, index) != index) {
      processes_.forEach([](Process& process) {
        process.isSettled = false;
        process.lookedAt = {};
      });
      drawings_.forget();
    }
    auto& process = processes_[pid];
    if (process.run != run) process = {run, false, {}, {}};
    return process;
  }

  void resolve(std::int32_t pid, Process& process, const DesktopIndex& index) {
    const bool isYoung = timeSince(process.run.startTime) < kSettlingTime;
    const auto* application = processApplication(options_.procFolder, pid, index, sandboxes_);
    process.entryPath = application != nullptr ? application->path : std::string();
    process.isSettled = application != nullptr || !isYoung;
    process.lookedAt = Clock::now();
  }

  template <typename Draw>
  Data inTurn(const std::string& application, Draw draw) {
    const auto turn = application.empty() ? nullptr : drawings_.take(application);
    if (!turn) return {};
    const auto tiff = std::make_shared<Data>();
    const auto work = [turn, tiff, draw = std::move(draw)] { *tiff = draw(); };
    const bool finished = runBounded("icon", kDrawPatience, work) == BoundedOutcome::finished;
    return finished ? std::move(*tiff) : Data{};
  }

  const LinuxWorkspaceOptions options_;
  CurrentIndex index_;
  SandboxLooks sandboxes_;
  DrawingTurns lookups_{0s, [] { return std::string(); }};
  DrawingTurns drawings_{kDrawPause, [this] { return folderIdentity(options_.iconFolder); }};
  std::mutex mutex_;  // guards what follows; never held while a file is read
  unsigned indexSeen_ = 0;
  RecentMap<std::int32_t, Process, kRecentProcesses> processes_;
};

}  // namespace

std::unique_ptr<Workspace> makeLinuxWorkspace(LinuxWorkspaceOptions options) {
  return std::make_unique<LinuxWorkspace>(std::move(options));
}

}  // namespace tarvel
