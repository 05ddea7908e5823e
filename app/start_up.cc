#include <algorithm>
#include <chrono>

#include "app/app_delegate.h"
#include "platform/bundle.h"
#include "platform/running_applications.h"
#include "platform/task.h"
#include "platform/updater.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "product/version.h"
#include "text/conversions.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

constexpr auto kUpdateCheckInterval = 14400s;
constexpr auto kFirstUpdateCheckDelay = 60s;
constexpr auto kCyclePeriod = 3s;

}  // namespace

AppDelegate::AppDelegate(const Platform& platform)
    : platform_(platform),
      iconCache_(platform.workspace, platform.fileManager),
      smcSession_(platform.appleSMC, platform.systemLog) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
  const auto helpers = platform_.runningApplications.runningApplicationsWithBundleIdentifier(
      platform_.mainBundle.bundleIdentifier());
  if (helpers.size() >= 2) {
    const auto other = std::find_if(helpers.begin(), helpers.end(),
                                    [](const auto& helper) { return !helper.isCurrent; });
    if (other != helpers.end()) {
      platform_.runningApplications.activateWithOptions(
          *other, kActivateAllWindows | kActivateIgnoringOtherApps);
    }
    platform_.runLoop.terminate();
    return;
  }
  ClearSensorValues();
  CleanCache();
  armUpdater();
  SharedDefaults = platform_.userDefaults.initWithSuiteName(kSuiteName);
  SharedDefaults->setValue(kVersion, kTarvelHelperVersionKey);
  platform_.tasks.launch("/bin/launchctl", {"load", "/Library/LaunchAgents/" +
                                                        std::string(kHelperIdentifier) + ".plist"});
  platform_.runLoop.scheduledTimer(kCyclePeriod, [this] { getDataThread(); }).fire();
}

void AppDelegate::applicationWillTerminate() { CleanCache(); }

// A request to forget the sensors takes effect here alone: cleared while the helper runs, they
// would only be merged back by the next cycle.
void AppDelegate::ClearSensorValues() {
  SharedDefaults = platform_.userDefaults.initWithSuiteName(kSuiteName);
  const auto request = SharedDefaults->objectForKey(kClearSensorsKey);
  if (!request || !boolValue(*request)) return;
  for (const auto key : {kFanSpeedValuesKey, kTempValuesKey, kVoltageValuesKey, kPowerValuesKey,
                         kCurrentValuesKey}) {
    SharedDefaults->removeObjectForKey(key);
  }
  SharedDefaults->setBool(false, kClearSensorsKey);
}

void AppDelegate::CleanCache() { iconCache_.clear(); }

Updater& AppDelegate::updater() { return platform_.updaters.updaterForBundle(kHelperIdentifier); }

void AppDelegate::armUpdater() {
  updater().setAutomaticallyChecksForUpdates(true);
  updater().setUpdateCheckInterval(kUpdateCheckInterval);
  platform_.runLoop.dispatchAfter(kFirstUpdateCheckDelay,
                                  [this] { updater().checkForUpdatesInBackground(); });
}

}  // namespace tarvel
