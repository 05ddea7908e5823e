#include <algorithm>

#include "platform/running_applications.h"
#include "tests/replay_fixture.h"

namespace tarvel {
namespace {

using Json = nlohmann::json;
using StartUp = ReplayTest;

std::vector<std::string> names(const std::vector<Json>& trace) {
  std::vector<std::string> found;
  for (const auto& line : trace) found.push_back(line["call"]);
  return found;
}

TEST_F(StartUp, AFirstInstanceDoesEverythingInItsOrder) {
  const auto trace = replay(Json::object());
  const std::vector<std::string> expected = {
      "runningApplicationsWithBundleIdentifier",
      "initWithSuiteName",
      "objectForKey",
      "removeItemAtPath",
      "updaterForBundle",
      "setAutomaticallyChecksForUpdates",
      "updaterForBundle",
      "setUpdateCheckInterval",
      "dispatchAfter",
      "initWithSuiteName",
      "setValue",
      "launch",
      "scheduledTimer",
      "runningApplicationsWithBundleIdentifier",  // the first cycle's gate: no viewer at all
      "runningApplicationsWithBundleIdentifier",
      "boolForKey",
      "boolForKey",
      "valueForKey",
      "removeItemAtPath"};
  EXPECT_EQ(names(trace), expected);
  const auto launch = std::find_if(trace.begin(), trace.end(),
                                   [](const Json& line) { return line["call"] == "launch"; });
  for (const std::size_t place : {4U, 6U})
    EXPECT_EQ(trace[place]["identifier"], "com.Tarvel.Helper");
  EXPECT_EQ(trace[5]["value"], true);
  EXPECT_EQ(trace[7]["seconds"], 14400);
  EXPECT_EQ((*launch)["path"], "/bin/launchctl");
  EXPECT_EQ((*launch)["arguments"],
            Json({"load", "/Library/LaunchAgents/com.Tarvel.Helper.plist"}));
  EXPECT_EQ((*launch)["waited"], false);
  EXPECT_EQ(trace[12]["interval"], 3.0);
  EXPECT_EQ(trace[12]["cycle"], 0);
  EXPECT_EQ(trace[13]["cycle"], 1);
  EXPECT_EQ(stored("TarvelHelperVersion"), PropertyList("1.2.5"));
}

TEST_F(StartUp, ASecondInstanceActivatesTheFirstAndTouchesNoStore) {
  const auto trace = replay({{"running", {"com.Tarvel.Helper"}}}, 3);
  EXPECT_EQ(names(trace),
            (std::vector<std::string>{"runningApplicationsWithBundleIdentifier",
                                      "activateWithOptions", "terminate", "removeItemAtPath"}));
  EXPECT_EQ(trace[1]["options"], 3);
  EXPECT_FALSE(stored("TarvelHelperVersion"));
}

// Two helpers, this one first.
class Helpers : public RunningApplications {
 public:
  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
      std::string_view identifier) override {
    return {{std::string(identifier), "own", true}, {std::string(identifier), "other", false}};
  }
  void activateWithOptions(const RunningApplication& application, std::uint32_t) override {
    activated.push_back(application.instance);
  }

  std::vector<std::string> activated;
};

TEST_F(StartUp, ASecondInstanceActivatesNotItself) {
  recorded::RecordedPlatform machine{recorded::Recording(1)};
  const auto p = machine.platform();
  Helpers helpers;
  AppDelegate delegate({p.appleSMC, p.ataSmart, p.authorization, p.mainBundle, p.fileManager,
                        p.archiver, p.runLoop, helpers, p.systemLog, p.tasks, p.updaters,
                        p.userDefaults, p.workspace});
  machine.run(delegate, 1, true);
  EXPECT_EQ(helpers.activated, std::vector<std::string>{"other"});
}

TEST_F(StartUp, ARequestToClearTheSensorsIsAnsweredBeforeTheFirstCycle) {
  const Array sensors = {Array{"CPU Proximity", "40", "0"}};
  const auto clear = [&](const std::optional<PropertyList>& request) {
    reset();
    for (const auto key : {"FanSpeedValues", "TempValues", "VoltageValues", "PowerValues",
                           "CurrentValues", "CPUAppUsage"}) {
      storeArray(key, sensors);
    }
    if (request) store("ClearSensors", *request);
    return calls(replay(Json::object()), {"removeObjectForKey", "setBool"});
  };
  const std::vector<std::string> cleared = {
      "removeObjectForKey FanSpeedValues", "removeObjectForKey TempValues",
      "removeObjectForKey VoltageValues",  "removeObjectForKey PowerValues",
      "removeObjectForKey CurrentValues",  "setBool ClearSensors"};
  for (const PropertyList& request : {PropertyList(true), PropertyList("YES"), PropertyList(2)}) {
    EXPECT_EQ(clear(request), cleared);
    EXPECT_FALSE(stored("TempValues"));
    EXPECT_TRUE(stored("CPUAppUsage"));
    EXPECT_EQ(stored("ClearSensors"), PropertyList(false));
  }
  const std::optional<PropertyList> refused[] = {std::nullopt, PropertyList(false),
                                                 PropertyList("no"), PropertyList(Array{true})};
  for (const auto& request : refused) {
    EXPECT_TRUE(clear(request).empty());
    EXPECT_EQ(storedArray("TempValues"), PropertyList(sensors));
    EXPECT_EQ(stored("ClearSensors"), request);
  }
}

TEST_F(StartUp, TheIconDirectoryIsGoneAtTheStartAndAtTheEnd) {
  const auto leaveIcon = [&] {
    std::filesystem::create_directories(icons());
    std::ofstream(icons() + "old.tiff") << "old";
  };
  for (const bool abandon : {true, false}) {
    leaveIcon();
    const auto trace = replay(Json::object(), 1, abandon);
    EXPECT_FALSE(std::filesystem::exists(icons()));
    EXPECT_EQ(calls(trace, {"removeItemAtPath"}).size(), abandon ? 1U : 2U);
  }
}

TEST_F(StartUp, TheFirstUpdateCheckComesAMinuteAfterTheStart) {
  const auto trace = replay(Json::object(), 22);
  const auto check = std::find_if(trace.begin(), trace.end(), [](const Json& line) {
    return line["call"] == "checkForUpdatesInBackground";
  });
  ASSERT_NE(check, trace.end());
  EXPECT_EQ((*check)["cycle"], 21);  // 20 intervals of 3 s after the first
  EXPECT_EQ((*check)["thread"], "main");
  EXPECT_EQ((*(check - 1))["call"], "updaterForBundle");
  EXPECT_EQ((*(check - 1))["identifier"], "com.Tarvel.Helper");
  EXPECT_EQ((*(check - 2))["cycle"], 20) << "what is due comes before the cycle";
}

}  // namespace
}  // namespace tarvel
