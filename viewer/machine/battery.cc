#include "viewer/machine/battery.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "text/words.h"
#include "viewer/machine/kept_file.h"

namespace tarvel::viewer {
namespace {

std::string attribute(const std::string& folder, const char* name) {
  KeptFile file(folder + "/" + name);
  auto text = file.read();
  return std::string(takeLine(text));
}

double number(const std::string& folder, const char* name) {
  return decimalNumber(attribute(folder, name));
}

// By energy where the driver counts that, else by charge: both give hours when divided.
std::optional<std::chrono::minutes> timeLeft(const std::string& folder, Battery::State state) {
  const bool energy = number(folder, "energy_full") > 0;
  const double now = number(folder, energy ? "energy_now" : "charge_now");
  const double full = number(folder, energy ? "energy_full" : "charge_full");
  // Some drivers give the rate of a discharge as a negative number.
  const double given = number(folder, energy ? "power_now" : "current_now");
  const double rate = given < 0 ? -given : given;
  if (rate <= 0 || full <= 0 || state == Battery::State::kOther) return std::nullopt;
  const double hours = (state == Battery::State::kDischarging ? now : full - now) / rate;
  constexpr double kLongest = 100;  // hours: a rate near nothing tells nothing
  if (hours < 0 || hours > kLongest) return std::nullopt;
  return std::chrono::minutes(static_cast<long>(hours * 60));
}

std::optional<Battery> batteryIn(const std::string& folder) {
  if (attribute(folder, "type") != "Battery" || attribute(folder, "scope") == "Device") {
    return std::nullopt;
  }
  const std::string capacity = attribute(folder, "capacity");
  if (capacity.empty()) return std::nullopt;
  Battery battery;
  battery.charge = std::clamp(decimalNumber(capacity) / 100, 0.0, 1.0);
  const std::string status = attribute(folder, "status");
  if (status == "Discharging") battery.state = Battery::State::kDischarging;
  if (status == "Charging") battery.state = Battery::State::kCharging;
  battery.left = timeLeft(folder, battery.state);
  return battery;
}

}  // namespace

std::optional<Battery> readBattery(const std::string& powerSupplies) {
  std::vector<std::string> folders;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(powerSupplies, error)) {
    folders.push_back(entry.path().string());
  }
  std::sort(folders.begin(), folders.end());
  for (const auto& folder : folders) {
    if (auto battery = batteryIn(folder)) return battery;
  }
  return std::nullopt;
}

}  // namespace tarvel::viewer
