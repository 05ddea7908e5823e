#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/sensors/linux_apple_smc.h"
#include "sensors/fan_sensors.h"
#include "sensors/temp_sensors.h"
#include "sensors/voltage_sensors.h"
#include "smc/smc_wrapper.h"
#include "tests/fake_ata.h"
#include "tests/fake_smc.h"
#include "tests/hwmon_tree.h"
#include "tests/temporary_home.h"
#include "tests/temporary_tree.h"

// A machine whose sysfs the test writes, and what the helper's sensors make of it.

namespace tarvel {

using Lines = std::vector<std::string>;

inline const std::filesystem::path kMachines = std::filesystem::path(TARVEL_FIXTURES) / "hwmon";

inline std::string words(const PropertyList& value) {
  if (const auto* text = value.as<std::string>()) return *text;
  std::string joined;
  const auto& list = *value.as<Array>();
  for (std::size_t i = 0; i + 1 < list.size(); ++i) joined += (i ? " " : "") + words(list[i]);
  return joined;
}

inline void append(Lines& lines, const std::string& kind, const Array& records) {
  for (const auto& record : records) {
    const auto& fields = *record.as<Array>();
    lines.push_back("= " + kind + "\t" + words(fields[0]) + "=" + words(fields[1]));
  }
}

// A machine in a temporary sysfs, and the whole way from its files to the records.
class Machine {
 public:
  TemporaryTree sys;
  MonotonicTime now = std::chrono::seconds(1000);
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
    return unpackMachine((kMachines / (name + ".tsv")).string(), sys);
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
    now += std::chrono::seconds(3);
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

inline Lines named(const std::string& kind, const Lines& records) {
  Lines lines;
  for (const auto& record : records) {
    lines.push_back(std::string("= ").append(kind).append("\t").append(record));
  }
  return lines;
}

}  // namespace tarvel
