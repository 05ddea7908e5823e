#include "product/store_keys.h"
#include "tests/replay_fixture.h"

namespace tarvel {
namespace {

using Json = nlohmann::json;
using SensorPublication = ReplayTest;

// A controller with these temperatures in whole degrees, by key.
Json controller(const std::vector<std::pair<std::string, int>>& temperatures) {
  Json keys = Json::object();
  for (const auto& [key, degrees] : temperatures) {
    const char digits[] = "0123456789abcdef";
    const std::string bytes = {digits[degrees / 16], digits[degrees % 16], '0', '0'};
    keys[key] = {{"type", "sp78"}, {"bytes", bytes}};
  }
  return {{"running", {"com.Tarvel"}}, {"smc", {{"keys", keys}}}};
}

TEST_F(SensorPublication, FreshReadingsMeetTheStoredOnes) {
  const Json twoSensors = controller({{"TC0P", 50}, {"TA0p", 30}});  // sorted: Ambient, CPU Pr…
  const auto record = [](const char* name, const char* value, const char* flag) {
    return PropertyList(Array{name, value, flag});
  };
  const Array fresh = {record("Ambient", "30", "1"), record("CPU Proximity", "50", "1")};
  const struct {
    const char* what;
    std::optional<PropertyList> stored;
    Array published;
  } rows[] = {
      {"nothing stored", std::nullopt, fresh},
      {"flags and order are the stored ones",
       Array{record("CPU Proximity", "1", "0"), record("Ambient", "2", "left")},
       {record("CPU Proximity", "50", "0"), record("Ambient", "30", "left")}},
      {"another count", Array{record("Ambient", "2", "0")}, fresh},
      {"more than are fresh",
       Array{record("Ambient", "2", "0"), record("Battery", "3", "0"),
             record("CPU Proximity", "4", "0")},
       fresh},
      {"a name that is gone keeps its old reading, one that is new is dropped",
       Array{record("Ambient", "2", "0"), record("Battery", "3", "0")},
       {record("Ambient", "30", "0"), record("Battery", "3", "0")}},
      {"the first stored name that contains the fresh one takes it and its name",
       Array{record("Old Ambient 2", "2", "7"), record("Ambient", "3", "8")},
       {record("Ambient", "30", "7"), record("Ambient", "3", "8")}},
      {"no match by case",
       Array{record("ambient", "2", "0"), record("cpu proximity", "3", "0")},
       {record("ambient", "2", "0"), record("cpu proximity", "3", "0")}},
      {"an empty array", Array{}, fresh},
      {"records of another form", Array{Array{"Ambient", "2"}, record("CPU Proximity", "3", "0")},
       fresh},
      {"a record that is no array", Array{"Ambient", record("CPU Proximity", "3", "0")}, fresh},
      {"a flag that is no text", Array{Array{"Ambient", "2", 0}, record("CPU Proximity", "3", "0")},
       fresh},
      {"a fan among them",
       Array{Array{"Ambient", Array{"1", "2", "3", "0"}}, record("CPU Proximity", "3", "0")},
       fresh},
  };
  for (const auto& row : rows) {
    reset();
    store("Panels", Array{Array{"TempsDash", "1"}});
    if (row.stored) storeArray("TempValues", *row.stored->as<Array>());
    replay(twoSensors);
    EXPECT_EQ(storedArray("TempValues"), PropertyList(row.published)) << row.what;
  }
  for (const PropertyList& strange : {PropertyList("text"), PropertyList(Data{1, 2, 3})}) {
    store("TempValues", strange);
    replay(twoSensors);
    EXPECT_EQ(storedArray("TempValues"), PropertyList(fresh));
  }
}

TEST_F(SensorPublication, EqualNamesAllMeetTheFirstStoredOne) {
  store("Panels", Array{Array{"TempsDash", "1"}});
  const auto readings = [&] { return *storedArray("TempValues"); };
  replay(controller({{"TCXC", 40}, {"TCXc", 41}}));
  replay(controller({{"TCXC", 50}, {"TCXc", 51}}));
  EXPECT_EQ(readings(),
            PropertyList(Array{Array{"CPU PECI", "51", "1"}, Array{"CPU PECI", "41", "1"}}));
}

TEST_F(SensorPublication, NoSensorLeavesTheKeyAsItWas) {
  store("Panels", Array{Array{"TempsDash", "1"}});
  const PropertyList before = "not even an archive";
  store("TempValues", before);
  replay(controller({}));
  EXPECT_EQ(stored("TempValues"), before);
}

TEST_F(SensorPublication, FansCarryTheirFlagInsideTheirValues) {
  store("Panels", Array{Array{"FansDash", "1"}});
  const auto fans = [](const char* speed) {
    return Json{
        {"running", {"com.Tarvel"}},
        {"smc",
         {{"keys",
           {{"FNum", {{"type", "ui8 "}, {"bytes", "02"}}},
            {"F0Ac", {{"type", "fpe2"}, {"bytes", speed}}},
            {"F0Mn", {{"type", "fpe2"}, {"bytes", "0fa0"}}},
            {"F0Mx", {{"type", "fpe2"}, {"bytes", "5dc0"}}},
            {"F0ID", {{"type", "{fds"}, {"bytes", "00000000455848415553540000000000"}}}}}}}};
  };
  replay(fans("12c0"));
  EXPECT_EQ(storedArray("FanSpeedValues"),
            PropertyList(Array{Array{"Exhaust", Array{"1200", "1000", "6000", "1"}},
                               Array{"Fan 1", Array{"0", "0", "0", "1"}}}));
  storeArray("FanSpeedValues", {Array{"Fan 1", Array{"9", "9", "9", "hidden"}},
                                Array{"Exhaust", Array{"9", "9", "9", "0"}}});
  replay(fans("1900"));
  EXPECT_EQ(storedArray("FanSpeedValues"),
            PropertyList(Array{Array{"Fan 1", Array{"0", "0", "0", "hidden"}},
                               Array{"Exhaust", Array{"1600", "1000", "6000", "0"}}}));
}

TEST_F(SensorPublication, AFlagSurvivesAThousandChangingCyclesAndARestart) {
  store("Panels", Array{Array{"TempsDash", "1"}});
  for (const auto& panel : kPanelTable) storeArray(panel.readingKey, {});
  storeArray("TempValues", {Array{"Ambient", "30", "1"}, Array{"CPU Proximity", "50", "hidden"}});
  Json machine = controller({{"TC0P", 50}, {"TA0p", 30}});
  for (int i = 1; i < 1000; ++i) {
    Json frame = controller({{"TC0P", 20 + i % 100}, {"TA0p", 20 + i % 7}});
    machine["frames"].push_back(frame);
  }
  replay(machine, 1000);
  replay(controller({{"TC0P", 60}, {"TA0p", 25}}));
  EXPECT_EQ(storedArray("TempValues"), PropertyList(Array{Array{"Ambient", "25", "1"},
                                                          Array{"CPU Proximity", "60", "hidden"}}));
}

TEST_F(SensorPublication, EveryKindHasItsKeyAndItsForm) {
  store("Panels", Array{Array{"any", "1"}});
  replay({{"running", {"com.Tarvel"}},
          {"disks", Json::array()},
          {"smc",
           {{"keys",
             {{"VC0C", {{"type", "sp4b"}, {"bytes", "62c0"}}},
              {"IC0C", {{"type", "sp87"}, {"bytes", "ffc0"}}},
              {"PC0C", {{"type", "flt "}, {"bytes", "00009644"}}}}}}}});
  EXPECT_EQ(storedArray("VoltageValues"), PropertyList(Array{Array{"CPU Core", "12.34", "1"}}));
  EXPECT_EQ(storedArray("CurrentValues"), PropertyList(Array{Array{"CPU Core", "-0.50", "1"}}));
  EXPECT_EQ(storedArray("PowerValues"), PropertyList(Array{Array{"CPU Core", "1200.00", "1"}}));
  EXPECT_FALSE(stored("TempValues"));
}

}  // namespace
}  // namespace tarvel
