#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/energy_meter.h"
#include "platform/host/files/file_descriptor.h"
#include "platform/linux/sensors/linux_apple_smc.h"
#include "platform/linux/sensors/raw_controller.h"
#include "platform/linux/sensors/sensor_map.h"
#include "sensors/electrical_keys.h"
#include "sensors/fan_sensors.h"
#include "sensors/temp_sensors.h"
#include "sensors/temperature_keys.h"
#include "sensors/voltage_sensors.h"
#include "smc/smc_wrapper.h"
#include "tests/fake_ata.h"
#include "tests/fake_smc.h"
#include "tests/hwmon_tree.h"
#include "tests/temporary_home.h"
#include "tests/temporary_tree.h"

namespace tarvel {
namespace {

using Lines = std::vector<std::string>;
using std::chrono::milliseconds;
using std::chrono::seconds;

const std::filesystem::path kTrees = std::filesystem::path(TARVEL_FIXTURES) / "hwmon";

std::string words(const PropertyList& value) {
  if (const auto* text = value.as<std::string>()) return *text;
  std::string joined;
  const auto& list = *value.as<Array>();
  for (std::size_t i = 0; i + 1 < list.size(); ++i) joined += (i ? " " : "") + words(list[i]);
  return joined;
}

void append(Lines& lines, const std::string& kind, const Array& records) {
  for (const auto& record : records) {
    const auto& fields = *record.as<Array>();
    lines.push_back("= " + kind + "\t" + words(fields[0]) + "=" + words(fields[1]));
  }
}

// A machine in a temporary sysfs, and the whole way from its files to the records.
class Machine {
 public:
  TemporaryTree sys;
  MonotonicTime now = seconds(1000);
  MonotonicTime suspended{0};
  std::function<void()> whileAsleep;
  LinuxSMCOptions options;

  Machine() {
    options.root = sys.path();
    options.clock.now = [this] { return now; };
    options.clock.suspended = [this] { return suspended; };
    options.clock.sleep = [this](MonotonicTime time) {
      now += time;
      if (whileAsleep) whileAsleep();
    };
  }

  // Unpacks a machine; what it is to show comes back.
  Lines unpack(const std::string& name) {
    return unpackMachine((kTrees / (name + ".tsv")).string(), sys);
  }

  // A hwmon chip: its name, then files and contents in turn.
  void chip(const std::string& number, const std::string& name, const Lines& files = {}) {
    const std::string folder = "devices/chip" + number;
    sys.write(folder + "/name", name + "\n");
    for (std::size_t i = 0; i + 1 < files.size(); i += 2) set(number, files[i], files[i + 1]);
    sys.link(folder + "/device", "../parent" + number);
    sys.write("devices/parent" + number + "/power/runtime_status", "unsupported\n");
    sys.link("class/hwmon/hwmon" + number, "../../devices/chip" + number);
  }
  void set(const std::string& number, const std::string& file, const std::string& content) {
    sys.write("devices/chip" + number + "/" + file, content + "\n");
  }
  void unplug(const std::string& number) {
    sys.remove("class/hwmon/hwmon" + number);
    sys.remove("devices/chip" + number);
  }

  // The records of one cycle, three seconds after the one before.
  Lines cycle() {
    now += seconds(3);
    if (!smc_) {
      smc_ = makeLinuxAppleSMC(options);
      session_ = std::make_unique<SMCSession>(*smc_, log);
    }
    FakeAta ata;
    SMCVoltageSensors electrical(*session_);
    Lines lines;
    append(lines, "temperature", SMCTempSensors(*session_, ata).getTemps());
    append(lines, "fan", SMCFanSensors(*session_).getFans());
    append(lines, "voltage", electrical.getVoltages());
    append(lines, "current", electrical.getCurrent());
    append(lines, "power", electrical.getPower());
    return lines;
  }

  KeptLog log;

 private:
  std::unique_ptr<AppleSMC> smc_;
  std::unique_ptr<SMCSession> session_;
};

Lines named(const std::string& kind, const Lines& records) {
  Lines lines;
  for (const auto& record : records) {
    lines.push_back(std::string("= ").append(kind).append("\t").append(record));
  }
  return lines;
}

TEST(LinuxSMC, ShowsWhatThePrintoutsOfMachinesPromise) {
  std::size_t machines = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kTrees)) {
    if (entry.path().extension() != ".tsv") continue;
    ++machines;
    Machine machine;
    const auto expected = machine.unpack(entry.path().stem());
    EXPECT_EQ(machine.cycle(), expected) << entry.path();
    EXPECT_EQ(machine.cycle(), expected) << entry.path();
  }
  EXPECT_EQ(machines, 11U);
}

TEST(LinuxSMC, IsNoServiceWithoutSysfs) {
  Machine machine;
  testing::internal::CaptureStdout();
  EXPECT_TRUE(machine.cycle().empty());
  EXPECT_TRUE(machine.cycle().empty());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error: no SMC found\n");
  EXPECT_EQ(machine.log.lines, Lines({"Unable to open SMC."}));
}

TEST(LinuxSMC, FindsTheFirstSensorThoughItComesLate) {
  Machine machine;
  machine.chip("0", "acpitz", {"temp1_input", "27800"});  // nothing that is shown
  testing::internal::CaptureStdout();
  EXPECT_TRUE(machine.cycle().empty());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  machine.chip("1", "iwlwifi_1", {"temp1_input", "41000"});
  machine.cycle();  // a scan goes on beside the cycle that starts it
  EXPECT_EQ(machine.cycle(), Lines({"= temperature\tAirport Proximity=41"}));
}

// The key table of a controller behind its index; another program moves the index now and then.
class TableOfKeys : public KeyAtIndex {
 public:
  explicit TableOfKeys(std::size_t& accesses) : accesses_(accesses) {
    std::ifstream file(kTrees / "macbook-2007-keys.txt");
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
      Row row;
      std::istringstream(line) >> row.index;
      row.name = line.substr(line.find('\t') + 1, 4);
      row.type = line.substr(line.find(row.name) + 5, 4);
      std::istringstream(line.substr(line.find(row.type) + 5)) >> row.length >> row.data;
      rows_.push_back(row);
    }
  }
  unsigned count() override { return static_cast<unsigned>(rows_.size()); }
  void lock() override {}
  void unlock() override {}
  bool select(unsigned index) override {
    index_ = ++accesses_ % 7 == 0 ? 3 : index;
    return index < rows_.size();
  }
  std::string name() override { return rows_[index_].name; }
  std::string type() override { return rows_[index_].type; }
  std::string length() override { return rows_[index_].length; }
  std::string data() override {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < rows_[index_].data.size(); i += 2) {
      bytes += static_cast<char>(std::stoi(rows_[index_].data.substr(i, 2), nullptr, 16));
    }
    return bytes;
  }

 private:
  struct Row {
    std::string index, name, type, length, data;
  };
  std::size_t& accesses_;
  std::vector<Row> rows_;
  unsigned index_ = 0;
};

TEST(LinuxSMC, WaitsForNobodyWhoHoldsTheIndex) {
  const TemporaryTree tree;
  tree.write("key_at_index", "0");
  const FileDescriptor other(::open(tree.path("key_at_index").c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
  const auto before = std::chrono::steady_clock::now();
  openKeyAtIndex(tree.path())->lock();
  EXPECT_LT(std::chrono::steady_clock::now() - before, seconds(2));
}

TEST(LinuxSMC, ReadsARawControllerOnceACycle) {
  Machine machine;
  std::size_t accesses = 0;
  machine.options.openController = [&](const std::string&) {
    return std::make_unique<TableOfKeys>(accesses);
  };
  const auto expected = machine.unpack("macbook-2007");
  machine.sys.remove("devices/platform/applesmc.768/temp7_input");  // labels are not needed
  EXPECT_EQ(machine.cycle(), expected);
  accesses = 0;
  EXPECT_EQ(machine.cycle(), expected);
  EXPECT_LE(accesses, 15U + 5U);  // every key once, and again where the index was moved
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

TEST(LinuxSMC, KeepsReadingsOfSensorsThatFailOrSleep) {
  Machine machine;
  machine.chip("0", "amdgpu", {"temp1_label", "edge", "temp1_input", "60000"});
  machine.chip("1", "iwlwifi_1", {"temp1_input", ""});
  machine.chip("2", "k10temp", {"temp1_label", "Tctl", "temp1_input", "50000"});
  machine.chip("3", "pch_cannonlake");
  machine.sys.link("devices/chip3/temp1_input", "/proc/self/mem");  // reads as EIO
  EXPECT_EQ(machine.cycle(), named("temperature", {"CPU Diode=50", "GPU Diode=60"}));
  machine.sys.write("devices/parent0/power/runtime_status", "suspended\n");
  machine.set("0", "temp1_input", "99000");
  machine.sys.write("devices/chip2/temp1_input", "");
  machine.set("1", "temp1_input", "40000");
  const auto all = named("temperature", {"Airport Proximity=40", "CPU Diode=50", "GPU Diode=60"});
  EXPECT_EQ(machine.cycle(), all);
  EXPECT_EQ(machine.cycle(), all);
  machine.sys.write("devices/parent0/power/runtime_status", "active\n");
  EXPECT_EQ(machine.cycle(),
            named("temperature", {"Airport Proximity=40", "CPU Diode=50", "GPU Diode=99"}));
}

TEST(LinuxSMC, FollowsDevicesThatComeAndGo) {
  Machine machine;
  machine.chip("0", "nct6798", {"fan1_input", "0", "fan2_input", "900", "in3_input", "3300"});
  EXPECT_EQ(machine.cycle(), Lines({"= fan\tFan2=900 0 0", "= voltage\tMain 3.3V=3.30"}));
  machine.chip("1", "nvme", {"temp1_label", "Composite", "temp1_input", "30000"});
  machine.set("0", "fan2_input", "0");  // stands still, but has turned
  const Lines both = {"= temperature\tSSD Proximity=30", "= fan\tFan2=0 0 0",
                      "= voltage\tMain 3.3V=3.30"};
  EXPECT_EQ(machine.cycle(), both);
  machine.unplug("1");
  machine.unplug("0");
  EXPECT_TRUE(machine.cycle().empty());
  machine.chip("5", "nvme", {"temp1_label", "Composite", "temp1_input", "31000"});
  EXPECT_EQ(machine.cycle(), named("temperature", {"SSD Proximity=31"}));
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

TEST(LinuxSMC, ShowsWhatIsOffAsOff) {
  Machine machine;
  machine.chip("0", "amdgpu",
               {"temp1_label", "edge", "temp1_input", "60000", "power1_label", "PPT",
                "power1_input", "30000000", "fan1_input", "1500"});
  const std::string status = "devices/parent0/power/runtime_status";
  const auto expected = [](const Lines& temperature, const char* fan, const char* power) {
    Lines lines = named("temperature", temperature);
    lines.push_back(std::string("= fan\tGPUFan=") + fan + " 0 0");
    lines.push_back(std::string("= power\tGPU Pack Total=") + power);
    return lines;
  };
  machine.sys.write(status, "suspended\n");
  EXPECT_EQ(machine.cycle(), expected({}, "0", "0.00"));
  machine.sys.write(status, "active\n");
  EXPECT_EQ(machine.cycle(), expected({"GPU Diode=60"}, "1500", "30.00"));
  machine.sys.write(status, "suspended\n");
  EXPECT_EQ(machine.cycle(), expected({"GPU Diode=60"}, "0", "0.00"));
  // One that may sleep is not kept from it: four cycles of three seconds pass between readings.
  machine.sys.write("devices/parent0/power/control", "auto\n");
  machine.sys.write(status, "active\n");
  for (int cycle = 0; cycle < 5; ++cycle) {
    machine.set("0", "power1_input", std::to_string(cycle + 1) + "0000000");
    const char* power = cycle < 4 ? "10.00" : "50.00";
    EXPECT_EQ(machine.cycle(), expected({"GPU Diode=60"}, "1500", power)) << cycle;
  }
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

TEST(LinuxSMC, AsksTheLibraryOfCardsThatAreAwake) {
  Machine machine;
  machine.options.nvidia = {machine.sys.path("nvidia"), TARVEL_FAKE_NVIDIA};
  machine.sys.write("nvidia/0000:01:00.0/information", "");
  machine.sys.write("nvidia/0000:02:00.0/information", "");  // the library does not know it
  machine.sys.write("bus/pci/devices/0000:02:00.0/power/runtime_status", "active\n");
  const auto status = [&](const char* text) {
    machine.sys.write("bus/pci/devices/0000:01:00.0/power/runtime_status", text);
  };
  status("suspended\n");
  EXPECT_EQ(machine.cycle(), Lines({"= fan\tGPUFan=0 0 0", "= power\tGPU Pack Total=0.00"}));
  status("active\n");
  const Lines awake = {"= temperature\tGPU Diode=55", "= fan\tGPUFan=1800 0 0",
                       "= power\tGPU Pack Total=42.00"};
  EXPECT_EQ(machine.cycle(), awake);
  Machine without;
  without.options.nvidia = {machine.sys.path("nvidia"), "libof-no-driver.so"};
  EXPECT_TRUE(without.cycle().empty());
}

TEST(LinuxSMC, FindsACoreThatComesBack) {
  Machine machine;
  machine.sys.write("devices/system/cpu/online", "0-1\n");
  machine.chip("0", "coretemp",
               {"temp2_label", "Core 0", "temp2_input", "40000", "temp3_label", "Core 1",
                "temp3_input", "41000"});
  const auto both = named("temperature", {"CPU Core 1=40", "CPU Core 2=41"});
  EXPECT_EQ(machine.cycle(), both);
  machine.sys.write("devices/system/cpu/online", "0\n");
  for (const char* file : {"temp3_label", "temp3_input"}) {
    machine.sys.remove(std::string("devices/chip0/") + file);
  }
  EXPECT_EQ(machine.cycle(), named("temperature", {"CPU Core 1=40"}));
  machine.sys.write("devices/system/cpu/online", "0-1\n");
  machine.cycle();  // its files come a moment later than it
  machine.set("0", "temp3_label", "Core 1");
  machine.set("0", "temp3_input", "41000");
  EXPECT_EQ(machine.cycle(), both);
}

// A pipe that nobody writes to holds its reader up as a driver does that hangs.
TEST(LinuxSMC, WaitsOnceForADeviceThatHangs) {
  Machine machine;
  machine.options.limits = {milliseconds(100), milliseconds(300)};
  machine.chip("0", "k10temp", {"temp1_label", "Tctl", "temp1_input", "50000"});
  machine.chip("1", "nvme", {"temp1_label", "Composite"});
  machine.chip("2", "iwlwifi_1", {"temp1_input", "40000"});
  const std::string pipe = machine.sys.path("devices/chip1/temp1_input");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  // It hangs alone, then, let go of, among the others: these are read all the same.
  for (const char* degrees : {"40", "41"}) {
    machine.set("2", "temp1_input", degrees + std::string("000"));
    const auto others =
        named("temperature", {std::string("Airport Proximity=") + degrees, "CPU Diode=50"});
    EXPECT_EQ(machine.cycle(), others);
    EXPECT_EQ(machine.cycle(), others);
    const FileDescriptor writer(::open(pipe.c_str(), O_RDWR | O_CLOEXEC));
  }
  const FileDescriptor writer(::open(pipe.c_str(), O_RDWR | O_CLOEXEC));
  std::filesystem::remove(pipe);
  machine.set("1", "temp1_input", "31000");
  const auto all =
      named("temperature", {"Airport Proximity=41", "CPU Diode=50", "SSD Proximity=31"});
  Lines lines;
  for (int i = 0; i < 1000 && lines != all; ++i) lines = machine.cycle();
  EXPECT_EQ(lines, all);
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

// A device that takes its time, and tells how often it was published.
// A device whose answer takes until the gate is opened, or five seconds.
struct Gate {
  void set(bool open) {
    const std::lock_guard lock(mutex);
    isOpen = open;
    changed.notify_all();
  }
  void pass() {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, std::chrono::seconds(5), [this] { return isOpen; });
  }
  std::mutex mutex;
  std::condition_variable changed;
  bool isOpen = false;
};

class GatedDevice : public SensorDevice {
 public:
  explicit GatedDevice(Gate& gate) : gate_(gate) {}
  void read() override {
    gate_.pass();
    read_ = true;
  }
  void publish() override { published += std::exchange(read_, false) ? 1 : 0; }
  int published = 0;

 private:
  Gate& gate_;
  bool read_ = false;
};

TEST(SensorDevices, AreWaitedForTogetherAndOnlyOnce) {
  Gate closed;
  Gate open;
  open.set(true);
  std::vector<std::shared_ptr<GatedDevice>> slow;
  for (int i = 0; i < 4; ++i) slow.push_back(std::make_shared<GatedDevice>(closed));
  const auto quick = std::make_shared<GatedDevice>(open);
  SensorDevices all(slow.begin(), slow.end());
  all.push_back(quick);
  const auto areBusy = [&] {
    return std::all_of(slow.begin(), slow.end(), [](const auto& each) { return each->isBusy(); });
  };
  readDevices(all, {milliseconds(60), milliseconds(500)});
  EXPECT_TRUE(areBusy()) << "they were waited for one after the other";
  EXPECT_EQ(quick->published, 1);
  closed.set(true);
  for (const auto& each : slow) {
    while (each->isBusy()) std::this_thread::sleep_for(milliseconds(1));
    each->publish();
    EXPECT_EQ(each->published, 1) << "an answer that comes late counts";
  }
  closed.set(false);
  readDevices(all, {milliseconds(60), std::chrono::hours(1)});
  EXPECT_TRUE(areBusy()) << "slow devices are known, and not waited for";
  EXPECT_EQ(quick->published, 2);
  closed.set(true);
  for (const auto& each : slow) {
    while (each->isBusy()) std::this_thread::sleep_for(milliseconds(1));
  }
}

}  // namespace
}  // namespace tarvel
