#include "programs/update/restart.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "platform/host/presence/application_registry.h"
#include "platform/host/processes/child_process.h"
#include "product/identifiers.h"

namespace tarvel::update {
namespace {

using namespace std::chrono_literals;

constexpr const char* kService = "tarvel-helper.service";

void endRunningHelpers() {
  const ApplicationRegistry registry;
  for (const auto& helper : registry.running(kHelperIdentifier)) registry.signal(helper, SIGTERM);
  for (int i = 0; i < 100 && !registry.running(kHelperIdentifier).empty(); ++i) {
    std::this_thread::sleep_for(50ms);
  }
}

}  // namespace

void restartHelper(const std::string& bundlePath) {
  if (std::getenv("INVOCATION_ID") != nullptr) {
    const auto service =
        spawnProgram("systemctl", {"--user", "--no-block", "try-restart", kService});
    if (service && waitForProgram(*service) == 0) return;
  }
  endRunningHelpers();
  spawnProgram(bundlePath + "/TarvelHelper", {});
}

}  // namespace tarvel::update
