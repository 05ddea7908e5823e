#include <array>
#include <memory>

#include "app/app_delegate.h"
#include "platform/running_applications.h"
#include "platform/updater.h"
#include "product/identifiers.h"
#include "product/store_keys.h"

namespace tarvel {
namespace {

struct Collection {
  std::string_view panel;
  std::string_view name;
  void (AppDelegate::*collect)();
  bool inBackground;  // on a detached thread, else on the main thread before the next test
};

// One for each panel of the panel table, in its order.
constexpr std::array<Collection, kPanelTable.size()> kCollections = {{
    {"ProcessesDash", "getCPUAppUsage", &AppDelegate::getCPUAppUsage, true},
    {"AllocationDash", "getMEMAppUsage", &AppDelegate::getMEMAppUsage, true},
    {"EnergyDash", "getPowerAppUsage", &AppDelegate::getPowerAppUsage, true},
    {"FansDash", "getFanSpeed", &AppDelegate::getFanSpeed, false},
    {"TempsDash", "getTemperature", &AppDelegate::getTemperature, false},
    {"VoltageSensorsDash", "getVoltage", &AppDelegate::getVoltage, false},
    {"PowerSensorsDash", "getPower", &AppDelegate::getPower, false},
    {"CurrentSensorsDash", "getCurrent", &AppDelegate::getCurrent, false},
}};
static_assert(isOrderedAsPanels(kCollections));

const std::string* textAt(const Array& entry, std::size_t index) {
  return index < entry.size() ? entry[index].as<std::string>() : nullptr;
}

bool isEnabled(const Array& entry) {
  const auto* flag = textAt(entry, 1);
  return flag != nullptr && *flag == "1";
}

// The panels as they are now; none where they are no array.
std::shared_ptr<const Array> fetchPanels(UserDefaults& store) {
  const auto panels = store.objectForKey(kPanelsKey);
  const auto* entries = panels ? panels->as<Array>() : nullptr;
  return entries != nullptr ? std::shared_ptr<const Array>(panels, entries)
                            : std::make_shared<const Array>();
}

// Entry i of the panels as they are now; an empty one where there is none or it is no array.
Array fetchPanel(UserDefaults& store, std::size_t index) {
  const auto panels = fetchPanels(store);
  const auto* entry = index < panels->size() ? (*panels)[index].as<Array>() : nullptr;
  return entry != nullptr ? *entry : Array{};
}

}  // namespace

void AppDelegate::getDataThread() {
  if (!viewerRuns() && FirstStart) return;
  FirstStart = true;
  answerRequests();
  if (!SharedDefaults->valueForKey(kPanelsKey)) return;
  for (const Array& entry : enabledPanels()) {
    const auto* name = textAt(entry, 0);
    startCollections(name != nullptr ? *name : std::string_view{});
  }
}

bool AppDelegate::viewerRuns() {
  auto& running = platform_.runningApplications;
  return !running.runningApplicationsWithBundleIdentifier(kWidgetIdentifier).empty() ||
         !running.runningApplicationsWithBundleIdentifier(kViewerIdentifier).empty();
}

// A request is gone from the store before it is acted on, so that one that fails is not repeated
// every cycle.
void AppDelegate::answerRequests() {
  if (SharedDefaults->boolForKey(kCheckHelperUpdatesKey)) {
    SharedDefaults->removeObjectForKey(kCheckHelperUpdatesKey);
    updater().checkForUpdates();
  }
  if (SharedDefaults->boolForKey(kUninstallHelperKey)) {
    SharedDefaults->removeObjectForKey(kUninstallHelperKey);
    platform_.runLoop.performSelectorInBackground("UninstallHelper", [this] { UninstallHelper(); });
  }
}

// The panels are fetched anew at every step: a viewer may change them while they are walked. Here
// and where collections are started, a helper that is to end does not finish what may be long.
std::vector<Array> AppDelegate::enabledPanels() {
  std::vector<Array> enabled;
  for (std::size_t i = 0; i < fetchPanels(*SharedDefaults)->size(); ++i) {
    if (platform_.runLoop.isEnding()) return {};
    if (isEnabled(fetchPanel(*SharedDefaults, i))) {
      enabled.push_back(fetchPanel(*SharedDefaults, i));
    }
  }
  return enabled;
}

void AppDelegate::startCollections(std::string_view panelName) {
  for (std::size_t k = 0; k < kPanelTable.size(); ++k) {
    if (platform_.runLoop.isEnding()) return;
    const bool asked = panelName.find(kPanelTable[k].name) != std::string_view::npos;
    if (!asked && SharedDefaults->valueForKey(kPanelTable[k].readingKey)) continue;
    const Collection& collection = kCollections[k];
    const auto run = [this, collect = collection.collect] { (this->*collect)(); };
    if (collection.inBackground) {
      platform_.runLoop.performSelectorInBackground(collection.name, run);
    } else {
      platform_.runLoop.performSelectorOnMainThread(run);
    }
  }
}

}  // namespace tarvel
