#include "programs/tools/record.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include <unistd.h>

#include "platform/host/files/atomic_file.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/standard_error_log.h"
#include "platform/linux/desktop/linux_workspace.h"
#include "platform/linux/disks/linux_ata_smart.h"
#include "platform/linux/linux_tasks.h"
#include "platform/linux/processes/process_table.h"
#include "platform/linux/sensors/linux_apple_smc.h"
#include "platform/system_log.h"
#include "process/process_usage.h"
#include "product/identifiers.h"
#include "programs/helper/process_lists.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"
#include "programs/tools/machine_record.h"
#include "viewer/ending_signals.h"

namespace tarvel::tools {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using viewer::EndingSignals;
using viewer::Json;

constexpr auto kCycle = 3s;

// The lists as long as the samplers' commands ask for.
constexpr std::size_t kRows = 30;
constexpr std::size_t kEnergyRows = 50;

// How far it is, on a terminal alone.
class Progress {
 public:
  explicit Progress(std::size_t cycles) : cycles_(cycles) { show(0); }
  ~Progress() {
    if (isTerminal_) std::fputc('\n', stderr);
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(std::size_t done) const {
    if (!isTerminal_) return;
    std::fprintf(stderr, "\rRecorded %zu of %zu cycles; Ctrl-C ends it and keeps them.", done,
                 cycles_);
    std::fflush(stderr);
  }

 private:
  std::size_t cycles_;
  bool isTerminal_ = ::isatty(STDERR_FILENO) != 0;
};

// False when a signal came, at once.
bool waitUntil(Clock::time_point time, const EndingSignals& signals) {
  do {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
    if (signals.within(std::max(left, 0ms))) return false;
  } while (Clock::now() < time);
  return true;
}

// Fewer looks where a signal came before.
std::vector<Json> look(std::size_t cycles) {
  const EndingSignals signals;  // before there are other threads, which inherit what is blocked
  const auto log = makeSystemLog();
  const ApplicationRegistry registration(kViewerIdentifier);
  const auto applications = makeRunningApplications(registration, *log);
  ProcessTable processes(
      {{std::string(kCPUSampler.command), ProcessListKind::cpu, kRows},
       {std::string(kMemorySampler.command), ProcessListKind::memory, kRows},
       {std::string(kEnergySampler.command), ProcessListKind::energy, kEnergyRows}});
  const auto tasks =
      makeLinuxTasks([&](const std::string& command) { return processes.answer(command); });
  const auto workspace =
      makeLinuxWorkspace({"/proc", "", [&](std::int32_t pid) { return processes.program(pid); }});
  const auto appleSMC = makeLinuxAppleSMC();
  const auto ataSmart = makeLinuxAtaSmart();
  const RecordSources sources{*appleSMC, *ataSmart, *applications, *log, *tasks, *workspace};
  const auto personal = PersonalNames::ofThisMachine();

  const Progress progress(cycles);
  recordMachine(sources, personal);
  auto next = Clock::now() + kCycle;
  std::vector<Json> looks;
  for (; looks.size() < cycles && waitUntil(next, signals); next += kCycle) {
    looks.push_back(recordMachine(sources, personal));
    progress.show(looks.size());
  }
  return looks;
}

}  // namespace

Json recordOf(const std::vector<Json>& looks) {
  Json whole = {{"format", 1}};
  whole.update(looks.front());
  Json frames = Json::array();
  for (std::size_t i = 1; i < looks.size(); ++i) {
    Json frame = Json::object();
    for (const auto& [name, value] : looks[i].items()) {
      if (!looks[i - 1].contains(name) || looks[i - 1][name] != value) frame[name] = value;
    }
    for (const auto& [name, value] : looks[i - 1].items()) {
      if (!looks[i].contains(name)) frame[name] = nullptr;
    }
    frames.push_back(std::move(frame));
  }
  if (!frames.empty()) whole["frames"] = std::move(frames);
  return whole;
}

int record(const std::string& file, std::size_t cycles) {
  const auto folder = std::filesystem::path(file).parent_path();
  if (::access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) != 0) {  // known before the wait
    throw viewer::CommandError(viewer::kNothing, file, "cannot be written");
  }
  const auto looks = look(cycles);
  if (looks.empty()) {
    throw viewer::CommandError(viewer::kNothing, file, "ended before the first cycle");
  }
  const auto text = viewer::indented(recordOf(looks));
  if (!replaceFile(file, text, FileReaders::owner)) {
    throw viewer::CommandError(viewer::kNothing, file, "cannot be written");
  }
  return viewer::kDone;
}

}  // namespace tarvel::tools
