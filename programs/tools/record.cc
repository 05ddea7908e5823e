#include "programs/tools/record.h"

#include <chrono>
#include <filesystem>
#include <thread>

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

namespace tarvel::tools {
namespace {

using namespace std::chrono_literals;
using viewer::Json;

constexpr auto kCycle = 3s;

// The lists as long as the samplers' commands ask for.
constexpr std::size_t kRows = 30;
constexpr std::size_t kEnergyRows = 50;

std::vector<Json> look(std::size_t cycles) {
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

  auto next = std::chrono::steady_clock::now();
  std::vector<Json> looks;
  for (std::size_t i = 0; i <= cycles; ++i) {
    std::this_thread::sleep_until(next);
    next += kCycle;
    auto machine = recordMachine(sources, personal);
    if (i > 0) looks.push_back(std::move(machine));
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
  const auto text = viewer::indented(recordOf(look(cycles)));
  if (!replaceFile(file, text, FileReaders::owner)) {
    throw viewer::CommandError(viewer::kNothing, file, "cannot be written");
  }
  return viewer::kDone;
}

}  // namespace tarvel::tools
