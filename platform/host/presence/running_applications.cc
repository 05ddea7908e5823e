#include "platform/running_applications.h"

#include "platform/host/presence/activation.h"
#include "platform/host/presence/application_registry.h"
#include "platform/system_log.h"

namespace tarvel {
namespace {

class RegisteredApplications : public RunningApplications {
 public:
  RegisteredApplications(const ApplicationRegistry& registry, SystemLog& log)
      : registry_(registry), log_(log) {}

  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
      std::string_view identifier) override {
    return registry_.running(identifier);
  }

  void activateWithOptions(const RunningApplication& application, std::uint32_t) override {
    if (askToActivate(registry_, application, {})) return;
    log_.NSLog(application.bundleIdentifier + " already runs (" + application.instance + ")");
  }

 private:
  const ApplicationRegistry& registry_;
  SystemLog& log_;
};

}  // namespace

std::unique_ptr<RunningApplications> makeRunningApplications(const ApplicationRegistry& registry,
                                                             SystemLog& log) {
  return std::make_unique<RegisteredApplications>(registry, log);
}

}  // namespace tarvel
