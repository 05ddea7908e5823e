#include "platform/linux/linux_updaters.h"

#include <chrono>

#include "platform/host/container/update_state.h"
#include "platform/host/processes/child_process.h"
#include "platform/linux/bundle_folder.h"
#include "platform/linux/detached_thread.h"
#include "platform/run_loop.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

class LinuxUpdater : public Updater {
 public:
  LinuxUpdater(RunLoop& loop, std::string bundle) : runLoop(loop), bundlePath(std::move(bundle)) {}

  void setAutomaticallyChecksForUpdates(bool on) override { automatic = on; }

  void setUpdateCheckInterval(std::chrono::seconds seconds) override {
    interval = seconds;
    schedule(++scheduleNumber, interval);
  }

  void checkForUpdatesInBackground() override {
    if (untilNextCheck() == 0s && hasFeed()) start("background");
  }

  void checkForUpdates() override { start("interactive"); }

 private:
  // Checks at every interval until another one is set.
  void schedule(unsigned number, std::chrono::seconds delay) {
    runLoop.dispatchAfter(delay, [this, number] {
      if (number != scheduleNumber) return;
      if (automatic) checkForUpdatesInBackground();
      const auto rest = untilNextCheck();
      schedule(number, rest > 0s ? rest : interval);
    });
  }

  // A time of the last check that lies in the future is that of a clock since set right.
  std::chrono::seconds untilNextCheck() const {
    const auto age = timeSinceUpdateCheck();
    return age && *age >= 0s && *age < interval ? interval - *age : 0s;
  }

  bool hasFeed() const {
    return !infoValue(bundlePath + "/Info.plist", "SUFeedURL").value_or("").empty();
  }

  void start(const char* mode) const {
    const auto child = spawnProgram(bundlePath + "/tarvel-update", {mode, bundlePath});
    if (child) startDetachedThread("reap", [child] { waitForProgram(*child); });
  }

  RunLoop& runLoop;
  const std::string bundlePath;
  bool automatic = false;
  std::chrono::seconds interval{0};
  unsigned scheduleNumber = 0;
};

class LinuxUpdaters : public Updaters {
 public:
  LinuxUpdaters(RunLoop& loop, const std::string& bundlePath) : updater(loop, bundlePath) {}

  Updater& updaterForBundle(std::string_view) override { return updater; }

 private:
  LinuxUpdater updater;
};

}  // namespace

std::unique_ptr<Updaters> makeLinuxUpdaters(RunLoop& runLoop, const std::string& bundlePath) {
  return std::make_unique<LinuxUpdaters>(runLoop, bundlePath);
}

}  // namespace tarvel
