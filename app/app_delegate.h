#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"
#include "platform/property_list.h"
#include "platform/run_loop.h"
#include "platform/user_defaults.h"
#include "process/icon_cache.h"
#include "sensors/fan_sensors.h"
#include "sensors/temp_sensors.h"
#include "sensors/voltage_sensors.h"
#include "smc/smc_wrapper.h"

// The helper itself: what it does when launching has finished, in each collection cycle, for each
// collection, and before it ends. It decides and publishes; all measuring is done by the components
// below it, every service of the machine is reached through the platform.
//
// Start-up, cycles, sensor collections and updater calls happen on the main thread. Process
// collections and the removal run on background threads, which share the open store; nothing is
// locked here. Failures are reported nowhere: they leave the store as it was, or a list shorter.

namespace tarvel {

class Updater;
class Window;
struct ProcessSampler;
enum class RecordForm;

class AppDelegate : public ApplicationDelegate {
 public:
  explicit AppDelegate(const Platform& platform);
  ~AppDelegate() override;
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  // Start-up and shutdown (start_up.cc).
  void applicationDidFinishLaunching() override;
  void applicationWillTerminate() override;
  void ClearSensorValues();
  void CleanCache();
  Updater& updater();
  std::shared_ptr<Window> window() const { return window_.lock(); }
  void setWindow(const std::shared_ptr<Window>& window) { window_ = window; }

  // One collection cycle, the timer's action (collection_cycle.cc).
  void getDataThread();

  // One collection each, published under its key of the store (process_collection.cc,
  // sensor_publication.cc).
  void getCPUAppUsage();
  void getMEMAppUsage();
  void getPowerAppUsage();
  void getFanSpeed();
  void getTemperature();
  void getVoltage();
  void getPower();
  void getCurrent();

  // The icon value of a process, its application's icon written first where it is not there yet.
  std::string getAppPathName(std::int32_t pid, const std::string& name);

  // Maintenance (helper_maintenance.cc).
  void UninstallHelper();
  void CheckForUpdates();

 private:
  void armUpdater();
  bool viewerRuns();
  void answerRequests();
  std::vector<Array> enabledPanels();
  void startCollections(std::string_view panelName);
  void publishProcesses(const ProcessSampler& sampler, std::string_view key);
  void publishSensors(const Array& fresh, RecordForm form, std::string_view key);

  Platform platform_;
  IconCache iconCache_;
  SMCSession smcSession_;
  bool FirstStart = false;
  std::unique_ptr<UserDefaults> SharedDefaults;
  std::unique_ptr<SMCFanSensors> smcFanSensors;
  std::unique_ptr<SMCTempSensors> smcTempSensors;
  std::unique_ptr<SMCVoltageSensors> smcVoltageSensors;
  std::weak_ptr<Window> window_;
};

}  // namespace tarvel
