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
  LinuxUpdater(RunLoop& loop, std::string bundle)
      : runLoop_(loop), bundlePath_(std::move(bundle)) {}

  void setAutomaticallyChecksForUpdates(bool on) override { automatic_ = on; }

  void setUpdateCheckInterval(std::chrono::seconds seconds) override {
    interval_ = seconds;
    schedule(++scheduleNumber_, interval_);
  }

  void checkForUpdatesInBackground() override {
    if (untilNextCheck() == 0s && hasFeed()) start("background");
  }

  void checkForUpdates() override { start("interactive"); }

 private:
  // Checks at every interval until another one is set.
  void schedule(unsigned number, std::chrono::seconds delay) {
    runLoop_.dispatchAfter(delay, [this, number] {
      if (number != scheduleNumber_) return;
      if (automatic_) checkForUpdatesInBackground();
      const auto rest = untilNextCheck();
      schedule(number, rest > 0s ? rest : interval_);
    });
  }

  // A time of the last check that lies in the future is that of a clock since set right.
  std::chrono::seconds untilNextCheck() const {
    const auto age = timeSinceUpdateCheck();
    return age && *age >= 0s && *age < interval_ ? interval_ - *age : 0s;
  }

  bool hasFeed() const {
    return !infoValue(bundlePath_ + "/Info.plist", "SUFeedURL").value_or("").empty();
  }

  void start(const char* mode) const {
    const auto child = spawnProgram(bundlePath_ + "/tarvel-update", {mode, bundlePath_});
    if (child) startDetachedThread("reap", [child] { waitForProgram(*child); });
  }

  RunLoop& runLoop_;
  const std::string bundlePath_;
  bool automatic_ = false;
  std::chrono::seconds interval_{0};
  unsigned scheduleNumber_ = 0;
};

class LinuxUpdaters : public Updaters {
 public:
  LinuxUpdaters(RunLoop& loop, const std::string& bundlePath) : updater_(loop, bundlePath) {}

  Updater& updaterForBundle(std::string_view) override { return updater_; }

 private:
  LinuxUpdater updater_;
};

}  // namespace

std::unique_ptr<Updaters> makeLinuxUpdaters(RunLoop& runLoop, const std::string& bundlePath) {
  return std::make_unique<LinuxUpdaters>(runLoop, bundlePath);
}

}  // namespace tarvel
