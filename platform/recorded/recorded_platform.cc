#include "platform/recorded/recorded_platform.h"

#include <utility>

#include "platform/host/files/files.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"
#include "platform/recorded/recorded_disks.h"
#include "platform/recorded/recorded_run_loop.h"
#include "platform/recorded/recorded_services.h"
#include "platform/recorded/recorded_smc.h"
#include "platform/recorded/recorded_workspace.h"
#include "platform/recorded/traced_services.h"

namespace tarvel::recorded {

struct RecordedPlatform::Services {
  explicit Services(Recording recording) : playback(std::move(recording)) {}

  Playback playback;
  std::unique_ptr<SystemLog> standardErrorLog = makeSystemLog();
  std::unique_ptr<FileManager> hostFiles = makeFileManager();
  std::unique_ptr<UserDefaultsSuites> hostDefaults = makeUserDefaultsSuites(*standardErrorLog);

  RecordedRunLoop runLoop{playback};
  std::unique_ptr<AppleSMC> appleSMC = makeRecordedSMC(playback);
  std::unique_ptr<AtaSmart> ataSmart = makeRecordedDisks(playback);
  std::unique_ptr<Authorization> authorization = makeRecordedAuthorization(playback);
  std::unique_ptr<Bundle> mainBundle = makeRecordedBundle();
  std::unique_ptr<FileManager> fileManager = makeTracedFiles(playback, *hostFiles);
  std::unique_ptr<KeyedArchiver> archiver = makeKeyedArchiver();
  std::unique_ptr<RunningApplications> runningApplications = makeRecordedApplications(playback);
  std::unique_ptr<SystemLog> systemLog = makeTracedLog(playback, *standardErrorLog);
  std::unique_ptr<Tasks> tasks = makeRecordedTasks(playback);
  std::unique_ptr<Updaters> updaters = makeRecordedUpdaters(playback);
  std::unique_ptr<UserDefaultsSuites> userDefaults = makeTracedDefaults(playback, *hostDefaults);
  std::unique_ptr<Workspace> workspace = makeRecordedWorkspace(playback);
};

RecordedPlatform::RecordedPlatform(Recording recording)
    : services_(std::make_unique<Services>(std::move(recording))) {}

RecordedPlatform::~RecordedPlatform() = default;

Platform RecordedPlatform::platform() {
  auto& s = *services_;
  return {*s.appleSMC,    *s.ataSmart, *s.authorization, *s.mainBundle,
          *s.fileManager, *s.archiver, s.runLoop,        *s.runningApplications,
          *s.systemLog,   *s.tasks,    *s.updaters,      *s.userDefaults,
          *s.workspace};
}

bool RecordedPlatform::openTrace(const std::string& path) {
  return services_->playback.openTrace(path);
}

bool RecordedPlatform::finishTrace() { return services_->playback.finishTrace(); }

void RecordedPlatform::run(ApplicationDelegate& application, std::size_t cycles, bool abandon) {
  services_->runLoop.run(application, cycles, abandon);
}

}  // namespace tarvel::recorded
