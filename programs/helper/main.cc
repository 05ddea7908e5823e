#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <malloc.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "app/app_delegate.h"
#include "platform/host/container/group_container.h"
#include "platform/host/files/files.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/resident_code.h"
#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"
#include "platform/linux/desktop/linux_workspace.h"
#include "platform/linux/disks/linux_ata_smart.h"
#include "platform/linux/linux_authorization.h"
#include "platform/linux/linux_bundle.h"
#include "platform/linux/linux_run_loop.h"
#include "platform/linux/linux_tasks.h"
#include "platform/linux/linux_updaters.h"
#include "platform/linux/process_rights.h"
#include "platform/linux/processes/process_table.h"
#include "platform/linux/sensors/linux_apple_smc.h"
#include "process/process_usage.h"
#include "product/identifiers.h"
#include "programs/helper/process_lists.h"

// The helper on a Linux machine: composition only. Arguments are ignored.

using namespace tarvel;

namespace {

// How much later than asked for the helper may wake, so that its wake-ups join those of others.
constexpr unsigned long kTimerSlack = 50'000'000;  // nanoseconds

// The third follows the first whole cycle and its icons.
constexpr int kWakeUpsOfStart = 3;

std::string_view noteOfStart() {
  return std::getenv(kStartedByViewerVariable) != nullptr ? kStartedByViewerNote : "";
}

}  // namespace

int main() {
  keepRightsInReserve();
  ::prctl(PR_SET_TIMERSLACK, kTimerSlack, 0, 0, 0);
  ::mallopt(M_ARENA_MAX, 1);  // threads come and go; an arena of memory for each would stay
  const auto runLoop = makeLinuxRunLoop();
  const auto systemLog = makeSystemLog();
  const auto bundle = makeLinuxBundle();
  auto registration = std::make_unique<ApplicationRegistry>(kHelperIdentifier, noteOfStart());
  const auto applications = makeRunningApplications(*registration, *systemLog);
  const auto authorization = makeLinuxAuthorization(*bundle, *systemLog);
  const auto fileManager = makeFileManager();
  const auto archiver = makeKeyedArchiver();
  ProcessTable processes(processListCommands());
  const auto tasks =
      makeLinuxTasks([&](const std::string& command) { return processes.answer(command); });
  const auto userDefaults = makeUserDefaultsSuites(*systemLog);
  const auto workspace =
      makeLinuxWorkspace({"/proc", programFolder() + "/tarvel-icon",
                          [&](std::int32_t pid) { return processes.program(pid); },
                          groupContainer(kSuiteName).value_or("") + std::string(kIconDirectory)});
  const auto appleSMC = makeLinuxAppleSMC();
  const auto updaters = makeLinuxUpdaters(*runLoop, programFolder());
  const auto ataSmart = makeLinuxAtaSmart();
  AppDelegate delegate({*appleSMC, *ataSmart, *authorization, *bundle, *fileManager, *archiver,
                        *runLoop, *applications, *systemLog, *tasks, *updaters, *userDefaults,
                        *workspace});
  // What the start needed goes back to the kernel, and what cycles need once nobody looks any more.
  int wakeUps = 0;
  runLoop->afterTimers([&] {
    if (processes.rest() || ++wakeUps == kWakeUpsOfStart) {
      ::malloc_trim(0);
      releaseResidentCode();
    }
  });
  runLoop->run(delegate);
  registration.reset();
  std::fflush(nullptr);
  _exit(0);  // background threads may still use all that stands here
}
