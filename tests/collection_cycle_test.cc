#include <set>

#include "tests/replay_fixture.h"

namespace tarvel {
namespace {

using Json = nlohmann::json;
using CollectionCycle = ReplayTest;

const std::vector<std::string> kReadingKeys = {"CPUAppUsage",    "MEMAppUsage",  "EnergyAppUsage",
                                               "FanSpeedValues", "TempValues",   "VoltageValues",
                                               "PowerValues",    "CurrentValues"};

// One fan, one temperature, one voltage, one power and one current.
const Json kController = {{"keys",
                           {{"FNum", {{"type", "ui8 "}, {"bytes", "01"}}},
                            {"TC0P", {{"type", "sp78"}, {"bytes", "2e80"}}},
                            {"VC0C", {{"type", "sp5a"}, {"bytes", "0400"}}},
                            {"PC0C", {{"type", "sp96"}, {"bytes", "0040"}}},
                            {"IC0C", {{"type", "sp87"}, {"bytes", "0080"}}}}}};

// Which cycles went past the viewer gate: those that looked for requests or for the panels.
std::set<int> livelyCycles(const std::vector<Json>& trace) {
  std::set<int> cycles;
  for (const auto& line : trace) {
    const bool isLook = line["call"] == "valueForKey" || line["call"] == "boolForKey";
    if (isLook) cycles.insert(line["cycle"].get<int>());
  }
  return cycles;
}

TEST_F(CollectionCycle, OnlyAViewerKeepsCyclesGoingBeyondTheFirst) {
  const struct {
    const char* what;
    Json first;
    Json frames;
    std::set<int> lively;
  } rows[] = {
      {"nobody", Json::array(), Json::array(), {1}},
      {"the application", {"com.Tarvel"}, Json::array(), {1, 2, 3, 4}},
      {"the widget", {"com.Tarvel.Widget"}, Json::array(), {1, 2, 3, 4}},
      {"others", {"com.Tarvel.Other", "com.tarvel"}, Json::array(), {1}},
      {"a viewer that comes and goes",
       Json::array(),
       {{{"running", {"com.Tarvel"}}}, {{"running", nullptr}}},
       {1, 2}},
      {"a viewer that comes late",
       Json::array(),
       {Json::object(), {{"running", {"com.Tarvel"}}}},
       {1, 3, 4}},
  };
  for (const auto& row : rows) {
    reset();
    const auto trace = replay({{"running", row.first}, {"frames", row.frames}}, 4);
    EXPECT_EQ(livelyCycles(trace), row.lively) << row.what;
  }
}

TEST_F(CollectionCycle, ARequestIsAnsweredOnce) {
  store("CheckHelperUpdates", "YES");
  const auto answered =
      calls(replay({{"running", {"com.Tarvel"}}}, 3), {"removeObjectForKey", "checkForUpdates"});
  EXPECT_EQ(answered,
            (std::vector<std::string>{"removeObjectForKey CheckHelperUpdates", "checkForUpdates"}));
  EXPECT_FALSE(stored("CheckHelperUpdates"));
}

TEST_F(CollectionCycle, StepsAreTakenInTheirOrder) {
  store("UninstallHelper", true);
  store("CheckHelperUpdates", true);
  store("Panels", Array{Array{"any", "1"}, Array{"other", "0"}});
  const auto trace = replay(Json::object(), 3);  // without a viewer: the first cycle alone
  EXPECT_EQ(
      calls(trace, {"boolForKey", "removeObjectForKey", "checkForUpdates"}),
      (std::vector<std::string>{
          "boolForKey CheckHelperUpdates", "removeObjectForKey CheckHelperUpdates",
          "checkForUpdates", "boolForKey UninstallHelper", "removeObjectForKey UninstallHelper"}));
  const auto removal = calls(trace, {"removeObjectForKey", "performSelectorInBackground"});
  EXPECT_EQ(removal[2], "performSelectorInBackground UninstallHelper");
  // Two entries: three counts, two fetches, and one more of the enabled entry.
  const auto fetched = calls(trace, {"objectForKey"});
  EXPECT_EQ(std::count(fetched.begin(), fetched.end(), "objectForKey Panels"), 6);
}

TEST_F(CollectionCycle, AControllerThatComesLateIsNotOpened) {
  const auto trace = replay({{"running", {"com.Tarvel"}}, {"frames", {{{"smc", kController}}}}}, 3);
  EXPECT_TRUE(calls(trace, {"IOServiceOpen"}).empty());
}

// What one cycle starts: process collections by operation, sensor collections by the key written.
std::vector<std::string> started(const std::vector<Json>& trace) {
  std::vector<std::string> found;
  for (const auto& line : trace) {
    if (line["call"] == "performSelectorInBackground") found.push_back(line["operation"]);
    if (line["call"] == "setObject" && line["thread"] == "main") found.push_back(line["key"]);
  }
  return found;
}

TEST_F(CollectionCycle, EnabledPanelsDecideWhatIsCollected) {
  using Names = std::vector<std::string>;
  const Names processes = {"getCPUAppUsage", "getMEMAppUsage", "getPowerAppUsage"};
  const Names sensors = {"FanSpeedValues", "TempValues", "VoltageValues", "PowerValues",
                         "CurrentValues"};
  const auto entry = [](const char* name, const char* flag) {
    return PropertyList(Array{name, flag});
  };
  const auto joined = [](Names a, const Names& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  };
  const struct {
    const char* what;
    std::optional<PropertyList> panels;
    Names whenAbsent;   // with no reading in the store
    Names whenPresent;  // with all readings in the store
  } rows[] = {
      {"no panels", std::nullopt, {}, {}},
      {"no entries", PropertyList(Array{}), {}, {}},
      {"none enabled",
       PropertyList(Array{entry("TempsDash", "0"), entry("FansDash", ""), entry("FansDash", " 1"),
                          entry("FansDash", "1 "), entry("FansDash", "true"),
                          PropertyList(Array{"FansDash", 1}), PropertyList(Array{"FansDash", true}),
                          PropertyList(Array{"FansDash"}), PropertyList("FansDash")}),
       {},
       {}},
      {"one panel",
       PropertyList(Array{entry("TempsDash", "1")}),
       joined(processes, sensors),
       {"TempValues"}},
      {"each panel by its name, in the order of the tests",
       PropertyList(Array{entry("CurrentSensorsDash", "1"), entry("ProcessesDash", "1")}),
       joined(joined(processes, sensors), processes),
       {"CurrentValues", "getCPUAppUsage"}},
      {"a name inside a longer one",
       PropertyList(Array{entry("xFansDashx", "1"), entry("fansdash", "1")}),
       joined(joined(processes, sensors), processes),
       {"FanSpeedValues"}},
      {"two names in one entry",
       PropertyList(Array{entry("TempsDash+FansDash", "1")}),
       joined(processes, sensors),
       {"FanSpeedValues", "TempValues"}},
      {"the same panel twice",
       PropertyList(Array{entry("FansDash", "1"), entry("FansDash", "1")}),
       joined(joined(joined(processes, sensors), processes), {"FanSpeedValues"}),
       {"FanSpeedValues", "FanSpeedValues"}},
      {"an unknown panel, and one without a name",
       PropertyList(Array{entry("Other", "1"), PropertyList(Array{7, "1"})}),
       joined(joined(processes, sensors), processes),
       {}},
      {"not an array", PropertyList("FansDash"), {}, {}},
  };
  const Json machine = {{"running", {"com.Tarvel"}}, {"smc", kController}};
  for (const auto& row : rows) {
    reset();
    if (row.panels) store("Panels", *row.panels);
    EXPECT_EQ(started(replay(machine)), row.whenAbsent) << row.what;
    reset();
    if (row.panels) store("Panels", *row.panels);
    for (const auto& key : kReadingKeys) storeArray(key, {});
    EXPECT_EQ(started(replay(machine)), row.whenPresent) << row.what;
  }
}

TEST_F(CollectionCycle, SensorsThatAreNotThereAreLookedForAgainByEveryEntry) {
  store("Panels", Array{Array{"Other", "1"}, Array{"Another", "1"}});
  const auto trace = replay({{"running", {"com.Tarvel"}}, {"smc", {{"keys", Json::object()}}}}, 2);
  const auto reads = calls(trace, {"IOConnectCallStructMethod"});
  EXPECT_EQ(std::count(reads.begin(), reads.end(), "IOConnectCallStructMethod FNum 9"), 4);
  const auto opened = calls(trace, {"IOServiceGetMatchingServices"});
  EXPECT_EQ(opened.size(), 1U + 4U * 2U);  // the controller once, the disks by two ways each time
  EXPECT_FALSE(stored("FanSpeedValues"));
}

TEST_F(CollectionCycle, BackgroundWorkComesAfterTheCycleThatStartedIt) {
  store("Panels", Array{Array{"ProcessesDash", "1"}});
  const auto trace = replay({{"running", {"com.Tarvel"}}, {"smc", kController}}, 2);
  std::vector<std::string> written;
  for (const auto& line : trace) {
    if (line["call"] != "setObject") continue;
    written.push_back(line["cycle"].dump() + " " + line["thread"].get<std::string>() + " " +
                      line["key"].get<std::string>());
  }
  EXPECT_EQ(written, (std::vector<std::string>{
                         "1 main FanSpeedValues", "1 main TempValues", "1 main VoltageValues",
                         "1 main PowerValues", "1 main CurrentValues", "1 background-1 CPUAppUsage",
                         "1 background-2 MEMAppUsage", "1 background-3 EnergyAppUsage",
                         "2 background-4 CPUAppUsage"}));
}

}  // namespace
}  // namespace tarvel
