#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "platform/host/energy_meter.h"
#include "platform/linux/sensors/sensor_map.h"
#include "sensors/electrical_keys.h"
#include "sensors/temperature_keys.h"
#include "tests/linux_machine.h"

// What the files of drivers are shown as.

namespace tarvel {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(LinuxSMC, ShowsWhatThePrintoutsOfMachinesPromise) {
  std::size_t machines = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kMachines)) {
    if (entry.path().extension() != ".tsv") continue;
    ++machines;
    Machine machine;
    const auto expected = machine.unpack(entry.path().stem());
    EXPECT_EQ(machine.cycle(), expected) << entry.path();
    EXPECT_EQ(machine.cycle(), expected) << entry.path();
  }
  EXPECT_EQ(machines, 11U);
}

TEST(LinuxSMC, RoundsAndLeavesOutWhatFitsNoType) {
  Machine machine;
  machine.chip("0", "coretemp",
               {"temp1_label", "Package id 0", "temp1_input", "128000", "temp12_label", "Core 10",
                "temp12_input", "41999", "temp4_label", "Core 2", "temp4_input", "-5000",
                "temp5_label", "Core 3", "temp5_input", "junk"});
  machine.chip(
      "1", "corsairpsu",
      {"in1_label",    "v_out +12v", "in1_input",    "99000",       "in2_label",    "v_out +5v",
       "in2_input",    "-40000",     "in3_label",    "v_out +3.3v", "in3_input",    "128000",
       "curr1_label",  "curr +12v",  "curr1_input",  "300000",      "power1_label", "power total",
       "power1_input", "1500000000", "power2_label", "power +12v",  "power2_input", "700000000",
       "power3_label", "power +5v",  "power3_input", "65536000000", "fan1_input",   "20000",
       "fan2_input",   "65535"});
  machine.chip("2", "power_meter", {"power1_average", "4294967295000"});
  machine.chip("3", "thinkpad", {"fan1_input", "0"});
  EXPECT_EQ(machine.cycle(), Lines({"= temperature\tCPU Core 1=42", "= fan\tFan1=20000 0 0",
                                    "= voltage\tMain 12V=99.00", "= voltage\tMain 5V=-40.00",
                                    "= current\tMain 12V=300.00", "= power\tMain 12V Rail=700.00",
                                    "= power\tSystem Total=1500.00"}));
}

TEST(LinuxSMC, LeavesOutMoreCoresDrivesAndFansThanKeys) {
  Machine machine;
  machine.chip("0", "coretemp");
  for (int core = 0; core < 25; ++core) {
    machine.set("0", "temp" + std::to_string(core + 2) + "_label", "Core " + std::to_string(core));
    machine.set("0", "temp" + std::to_string(core + 2) + "_input", "40000");
    machine.set("0", "fan" + std::to_string(core + 1) + "_input", "1000");
  }
  for (const char* drive : {"1", "2", "3", "4", "5", "6", "7"}) {
    machine.chip(drive, "nvme",
                 {"temp1_label", "Composite", "temp1_input", drive + std::string("0000")});
  }
  const auto lines = machine.cycle();
  EXPECT_EQ(lines.size(), 20U + 6U + 10U);
  EXPECT_TRUE(std::ranges::count(lines, "= temperature\tSSD Out of Band C=60"));
}

TEST(LinuxSMC, UsesKeysUpByWhatAnswersAlone) {
  Machine machine;
  machine.sys.write("class/thermal/cooling_device0/type", "iwlwifi_1\n");
  machine.sys.write("class/thermal/thermal_zone0/type", "iwlwifi_2\n");  // is off
  machine.chip("1", "iwlwifi_3", {"temp1_input", "41000"});
  machine.chip("2", "nvme", {"temp1_label", "Composite"});
  machine.chip("3", "nvme", {"temp1_label", "Composite", "temp1_input", "35000"});
  machine.chip("4", "k10temp", {"temp1_input", "51000"});  // before Zen
  machine.chip("5", "k10temp",
               {"temp1_label", "Tctl", "temp1_input", "62000", "temp2_label", "Tdie", "temp2_input",
                "52000"});
  machine.chip("6", "amdgpu", {"temp1_label", "edge", "temp1_input", "60000"});
  machine.chip("7", "radeon", {"temp1_input", "70000"});
  machine.chip("8", "spd5118", {"temp1_input", "45000"});
  machine.chip("9", "jc42", {"temp1_input", "46000"});
  EXPECT_EQ(machine.cycle(),
            named("temperature", {"Airport Proximity=41", "CPU 2 Package=51", "CPU Diode=52",
                                  "GPU Diode=60", "GPU Proximity 2=70", "Mem Module A1=45",
                                  "Mem Module A2=46", "SSD Proximity=35"}));
}

// 323, 301 and 300.15 K; the other chip's own fraction is cut.
TEST(LinuxSMC, RoundsTemperaturesThatAreWholeKelvins) {
  Machine machine;
  for (const auto& [drive, number] : {std::pair("0", "49850"), {"1", "27850"}, {"2", "27000"}}) {
    machine.chip(drive, "nvme", {"temp1_label", "Composite", "temp1_input", number});
  }
  machine.chip("3", "spd5118", {"temp1_input", "49850"});
  EXPECT_EQ(machine.cycle(), named("temperature", {"Mem Module A1=49", "NAND Proximity 1=28",
                                                   "NAND Proximity 2=27", "SSD Proximity=50"}));
}

TEST(LinuxSMC, KeepsTheNamesOfFansApartAndAsTheyWere) {
  Machine machine;
  machine.chip("0", "nct6798", {"fan1_input", "0", "fan2_input", "900", "fan3_input", "800"});
  machine.chip("1", "amdgpu", {"fan1_input", "1500"});
  machine.chip("2", "emc2305", {"fan2_input", "700"});
  machine.chip("3", "asusec");
  const char* const labels[] = {"Chassis Fan 7", "Chassis Fan 8", "CPU Fan", "Aux CPU Fan"};
  for (int fan = 1; fan <= 4; ++fan) {
    machine.set("3", "fan" + std::to_string(fan) + "_label", labels[fan - 1]);
    machine.set("3", "fan" + std::to_string(fan) + "_input", std::to_string(100 * fan));
  }
  Lines fans = {"= fan\tAuxCPUFan=400 0 0",   "= fan\tChassisFan7=100 0 0",
                "= fan\tChassisFan8=200 0 0", "= fan\tCPUFan#3=300 0 0",
                "= fan\tFan2=900 0 0",        "= fan\tFan2#2=700 0 0",
                "= fan\tFan3=800 0 0",        "= fan\tGPUFan=1500 0 0"};
  EXPECT_EQ(machine.cycle(), fans);
  machine.set("0", "fan1_input", "1000");  // starts to turn
  fans.insert(fans.begin() + 4, "= fan\tFan1=1000 0 0");
  EXPECT_EQ(machine.cycle(), fans);
}

TEST(LinuxSMC, MakesPowerOfEnergy) {
  constexpr std::optional<double> kNone;
  EnergyMeter meter(1'000'000'000);  // goes round in a second at 1,000 W
  const struct {
    std::int64_t energy;
    milliseconds now, suspended;
    std::optional<double> power;
    const char* what;
  } cases[] = {
      {900'000'000, milliseconds(0), {}, kNone, "the first"},
      {900'000'000, milliseconds(100), {}, kNone, "has not moved yet"},
      {905'000'000, milliseconds(600), {}, 10, ""},
      {905'000'000, milliseconds(700), {}, 0, "moves, but not now"},
      {5'000'000, milliseconds(1200), {}, 200, "has gone round"},
      {9'000'000, milliseconds(2300), {}, kNone, "may have gone round unseen"},
      {9'500'000, milliseconds(2400), {}, 5, ""},
      {500'000'000, milliseconds(2500), {}, kNone, "more than a machine takes"},
      {1'000, milliseconds(2600), seconds(7), kNone, "after a suspend"},
      {501'000, milliseconds(2700), seconds(7), 5, ""},
  };
  for (const auto& row : cases) {
    meter.look(row.energy, {row.now, row.suspended});
    const auto power = meter.power();
    ASSERT_EQ(power.has_value(), row.power.has_value()) << row.what << row.energy;
    EXPECT_NEAR(power.value_or(0), row.power.value_or(0), 0.01) << row.energy;
  }
}

TEST(LinuxSMC, TakesTwoLooksForTheFirstPower) {
  Machine machine;
  const auto zone = [&](const std::string& number, const char* name, const char* energy) {
    const std::string folder = "class/powercap/intel-rapl" + number;
    machine.sys.write(folder + "/name", std::string(name) + "\n");
    machine.sys.write(folder + "/max_energy_range_uj", "262143328850\n");
    machine.sys.write(folder + "/energy_uj", energy);
  };
  const auto set = [&](const char* energy) {
    zone(":0", "package-0", energy);
    zone(":1", "package-1", energy);
    zone("-mmio:0", "package-0", energy);
    zone(":2", "psys", "7");  // no hardware counts there
  };
  machine.chip("0", "power_meter", {"power1_average", "90000000"});
  set("90000000");
  machine.whileAsleep = [&] { set("91000000"); };
  EXPECT_EQ(machine.cycle(),
            Lines({"= power\tCPU Pack Total=20.00", "= power\tSystem Total=90.00"}));
  machine.whileAsleep = nullptr;
  set("106000000");  // three seconds later
  EXPECT_EQ(machine.cycle().front(), "= power\tCPU Pack Total=10.00");
  machine.suspended += seconds(3600);
  set("1000");
  machine.whileAsleep = [&] { set("201000"); };
  EXPECT_EQ(machine.cycle().front(), "= power\tCPU Pack Total=4.00");
}

TEST(LinuxSMC, AddsUpBatteriesAndShowsTheOneThatWorks) {
  Machine machine;
  const auto battery = [&](const std::string& name, const Lines& files) {
    const std::string folder = "class/power_supply/" + name + "/";
    machine.sys.write(folder + "type", "Battery\n");
    for (std::size_t i = 0; i + 1 < files.size(); i += 2) {
      machine.sys.write(folder + files[i], files[i + 1] + "\n");
    }
  };
  battery("BAT0", {"voltage_now", "12000000", "power_now", "0", "status", "Full"});
  battery("BAT1", {"voltage_now", "11000000", "current_now", "-2000000", "status", "Discharging"});
  const auto expected = [](const char* voltage, const char* current, const char* power) {
    return Lines({std::string("= voltage\tBattery=") + voltage,
                  std::string("= current\tBattery Rail=") + current,
                  std::string("= power\tBattery Rail=") + power});
  };
  EXPECT_EQ(machine.cycle(), expected("11.00", "2.00", "22.00"));
  battery("BAT0", {"power_now", "10000000", "status", "Discharging"});
  EXPECT_EQ(machine.cycle(), expected("12.00", "2.00", "32.00"));
  battery("BAT0", {"power_now", "0"});
  battery("BAT1", {"current_now", "2000000", "status", "Charging"});
  EXPECT_EQ(machine.cycle(), expected("11.00", "-2.00", "-22.00"));
}

// Drivers whose readings differ from others in form: what their files say, and what is shown.
TEST(LinuxSMC, KnowsTheLabelsOfDrivers) {
  const struct {
    const char* chip;
    Lines files, shown;
  } drivers[] = {
      {"xe",
       {"temp2_label", "pkg",           "temp2_input",   "51000",         "temp3_label",
        "vram",        "temp3_input",   "62000",         "in1_label",     "pkg",
        "in1_input",   "900",           "energy1_label", "card",          "energy1_input",
        "7000000",     "energy2_label", "pkg",           "energy2_input", "5000000"},
       {"= temperature\tGPU Diode=51", "= temperature\tGPU VRAM=62", "= voltage\tGPU Core=0.90",
        "= power\tGPU Pack Total=20.00"}},
      {"i915",
       {"in0_input", "800", "energy1_input", "7000000", "fan1_input", "1100"},
       {"= fan\tGPUFan=1100 0 0", "= voltage\tGPU Core=0.80", "= power\tGPU Pack Total=20.00"}},
      {"package_thermal", {"temp1_input", "48000"}, {"= temperature\tCPU Diode=48"}},
      {"GPU-therm", {"temp1_input", "47000"}, {"= temperature\tGPU PECI=47"}},
      {"nct6683",
       {"in1_label", "VCC", "in1_input", "3344", "in2_label", "VSB", "in2_input", "3376",
        "in3_label", "VBAT", "in3_input", "3100", "in4_label", "VIN4", "in4_input", "700"},
       {"= voltage\tCMOS Battery=3.10", "= voltage\tMain 3.3V=3.34", "= voltage\tStandby 3V=3.38"}},
      {"nct6687",
       {"in0_label", "+12V", "in0_input", "12096", "in1_label", "+5V", "in1_input", "5060",
        "fan1_label", "CPU Fan", "fan1_input", "900", "fan2_label", "Pump Fan", "fan2_input", "0"},
       {"= fan\tCPUFan=900 0 0", "= voltage\tMain 12V=12.10", "= voltage\tMain 5V=5.06"}},
  };
  for (const auto& driver : drivers) {
    Machine machine;
    machine.chip("0", driver.chip, driver.files);
    machine.whileAsleep = [&] {  // a tenth of a second
      machine.set("0", "energy1_input", "9000000");
    };
    EXPECT_EQ(machine.cycle(), driver.shown) << driver.chip;
  }
}

// The table of docs/sensors.md, from the map: "TARVEL_WRITE_DOCS=1" writes it.
TEST(SensorMap, StandsInTheDocument) {
  const auto listed = [](std::string_view pattern) {
    std::string text(pattern);
    for (auto bar = text.find('|'); bar != text.npos; bar = text.find('|')) {
      text.replace(bar, 1, ", ");
    }
    return text;
  };
  std::string table = "| chip | input | label | key | shown as |\n|---|---|---|---|---|\n";
  std::map<std::string, std::string> keyOfName;
  for (const auto& row : kSensorRows) {
    std::string names;
    std::istringstream keys{std::string(row.keys)};
    for (std::string key; keys >> key;) {
      std::string name;
      for (const SensorNames kind : {SensorNames(kTemperatures), SensorNames(kVoltages),
                                     SensorNames(kCurrents), SensorNames(kPowers)}) {
        if (const auto display = displayName(kind, key)) name = *display;
      }
      EXPECT_FALSE(name.empty()) << key;
      if (name == "CPU Core" && key[0] == 'T') name += " n";
      // Readings of one name would be merged into one.
      const auto& first = keyOfName.emplace(key[0] + name, key).first->second;
      EXPECT_TRUE(first == key || name == "CPU Core n") << key << " " << first << " " << name;
      if (!names.ends_with(name)) names += (names.empty() ? "" : ", ") + name;
    }
    table += "| " + listed(row.chip) + " | " + std::string(row.input) + " | " + listed(row.label) +
             " | " + std::string(row.keys) + " | " + names + " |\n";
  }
  const std::filesystem::path path =
      std::filesystem::path(TARVEL_FIXTURES) / "../../docs/sensors.md";
  std::ifstream file(path);
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  file.close();
  const auto begin = text.find("| chip |");
  const auto end = text.find("\n\n", begin) + 1;
  ASSERT_NE(begin, text.npos);
  if (std::getenv("TARVEL_WRITE_DOCS") != nullptr) {
    std::ofstream(path) << text.substr(0, begin) << table << text.substr(end);
  } else {
    EXPECT_EQ(text.substr(begin, end - begin), table);
  }
}

}  // namespace
}  // namespace tarvel
