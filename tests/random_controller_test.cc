#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sensors/electrical_keys.h"
#include "sensors/fan_names.h"
#include "sensors/fan_sensors.h"
#include "sensors/temp_sensors.h"
#include "sensors/temperature_keys.h"
#include "sensors/voltage_sensors.h"
#include "smc/smc_wrapper.h"
#include "tests/fake_ata.h"
#include "tests/fake_smc.h"
#include "tests/temporary_home.h"

// Random controllers against a plain model of what their catalogues must say. The model shares the
// tables of names with the product and nothing else.

namespace tarvel {
namespace {

struct ModelType {
  const char* code;
  unsigned size;
  char raw;  // u, s: 16 bits; i, c, f, p: integer, char, float, percent
  double divisor;
  const char* format;
};

const ModelType kModelTypes[] = {
    {"ui8 ", 0, 'i', 1, "%u "},        {"ui16", 0, 'i', 1, "%u "},
    {"ui32", 0, 'i', 1, "%u "},        {"flt ", 4, 'f', 1, "%.0f "},
    {"fp1f", 2, 'u', 32768, "%.5f "},  {"fp4c", 2, 'u', 4096, "%.5f "},
    {"fp5b", 2, 'u', 2048, "%.5f "},   {"fp6a", 2, 'u', 1024, "%.4f "},
    {"fp79", 2, 'u', 512, "%.4f "},    {"fp88", 2, 'u', 256, "%.3f "},
    {"fpa6", 2, 'u', 64, "%.2f "},     {"fpc4", 2, 'u', 16, "%.2f "},
    {"fpe2", 2, 'u', 4, "%.2f "},      {"sp1e", 2, 's', 16384, "%.5f "},
    {"sp2d", 2, 's', 8192, "%.5f "},   {"sp3c", 2, 's', 4096, "%.5f "},
    {"sp4b", 2, 's', 2048, "%.4f "},   {"sp5a", 2, 's', 1024, "%.4f "},
    {"sp69", 2, 's', 512, "%.3f "},    {"sp78", 2, 's', 256, "%.3f "},
    {"sp87", 2, 's', 128, "%.3f "},    {"sp96", 2, 's', 64, "%.2f "},
    {"spb4", 2, 's', 16, "%.2f "},     {"spf0", 2, 'u', 1, "%.0f "},
    {"si16", 2, 'i', 1, "%u "},        {"si8 ", 1, 'c', 1, "%d "},
    {"{pwm", 2, 'p', 65536, "%.1f%% "}};

std::string modelText(const FakeKey& key) {
  auto bytes = key.bytes;
  bytes.resize(32);
  for (const auto& type : kModelTypes) {
    const bool fits = type.size == 0 ? key.size <= 4 : key.size == type.size;
    if (key.type != type.code || !fits) continue;
    unsigned number = 0;
    for (unsigned i = 0; i < key.size; ++i) number = number * 256 + bytes[i];
    float single = 0;
    std::memcpy(&single, bytes.data(), sizeof single);
    const int negative =
        number >= 32768 ? static_cast<int>(number) - 65536 : static_cast<int>(number);
    char text[15];
    switch (type.raw) {
      case 'i':
        std::snprintf(text, sizeof text, type.format, number);
        break;
      case 'c':
        std::snprintf(text, sizeof text, type.format,
                      number > 127 ? static_cast<int>(number) - 256 : static_cast<int>(number));
        break;
      case 'f':
        std::snprintf(text, sizeof text, type.format, static_cast<double>(single));
        break;
      case 's':
        std::snprintf(text, sizeof text, type.format, negative / type.divisor);
        break;
      case 'p':
        std::snprintf(text, sizeof text, type.format, number * 100 / type.divisor);
        break;
      default:
        std::snprintf(text, sizeof text, type.format, number / type.divisor);
    }
    return text;
  }
  return "";
}

// The number that a text begins with, by the C library in its own locale.
double leadingNumber(const std::string& text) {
  const auto digit = text.find_first_not_of('-');
  if (digit == std::string::npos || std::strchr("0123456789", text[digit]) == nullptr) return 0;
  return std::strtod(text.c_str(), nullptr);
}

class Model {
 public:
  explicit Model(const FakeSMC& smc)
      : open_(smc.openError == 0 && smc.match.first != 0), keys_(smc.keys) {}

  // The text of a read; null where it fails.
  std::optional<std::string> read(const std::string& name, bool presence = false) {
    const auto found = keys_.find(name);
    if (!open_) return std::nullopt;
    if (found == keys_.end()) return presence ? std::nullopt : std::optional<std::string>("");
    FakeKey& key = found->second;
    if (key.infoError != 0 || key.goodReads-- <= 0 || key.readError != 0) return std::nullopt;
    if (presence && key.size == 0) return std::nullopt;
    return modelText(key);
  }

  Array electrical(SensorNames names) {
    std::vector<SensorName> present;
    for (const auto& row : names) {
      if (read(std::string(row.key), true)) present.push_back(row);
    }
    Array records;
    for (const auto& [key, display] : present) {
      const auto text = read(std::string(key));
      char number[64];
      if (!text) continue;
      std::snprintf(number, sizeof number, "%.2f",
                    static_cast<double>(static_cast<float>(leadingNumber(*text))));
      records.emplace_back(Array{std::string(display), number});
    }
    return sorted(records);
  }

  Array temperatures() {
    std::vector<SensorName> present;
    for (const auto& row : kTemperatures) {
      if (read(std::string(row.key), true)) present.push_back(row);
    }
    Array records;
    int core = 0;
    for (const auto& [key, display] : present) {
      const auto text = read(std::string(key));
      if (!text) continue;
      const double degrees = std::min(leadingNumber(*text), 2147483647.0);
      if (degrees < 1) continue;
      std::string name(display);
      if (name == "CPU Core") name += " " + std::to_string(++core);
      records.emplace_back(Array{name, std::to_string(static_cast<int>(degrees))});
    }
    return sorted(records);
  }

  Array fans() {
    const auto count = read("FNum");
    if (!count || count->find_first_not_of("0123456789. -") != std::string::npos) return {};
    std::map<std::string, Array> fans;
    for (int i = 0; i < std::min(10.0, leadingNumber(*count)) && i + 1 <= leadingNumber(*count);
         ++i) {
      const std::string prefix = "F" + std::to_string(i);
      Array values;
      for (const char* suffix : {"Ac", "Mn", "Mx"}) {
        const double speed = leadingNumber(read(prefix + suffix).value_or(""));
        values.emplace_back(
            std::to_string(static_cast<int>(std::clamp(speed, -2147483648.0, 2147483647.0))));
      }
      values.emplace_back("1");
      fans[fanName(i)] = values;
    }
    Array records;
    for (const auto& [name, values] : fans) {
      std::string display = name;
      for (const auto& row : kFanNames) {
        if (row.key == name) display = row.display;
      }
      records.emplace_back(Array{display, values});
    }
    return sorted(records);
  }

 private:
  std::string fanName(int index) {
    std::string name;
    const auto found = keys_.find("F" + std::to_string(index) + "ID");
    if (open_ && found != keys_.end() && read(found->first)) {
      for (std::size_t i = 0; i < std::min<std::size_t>(found->second.size, 32); ++i) {
        const auto byte = i < found->second.bytes.size() ? found->second.bytes[i] : 0;
        if (byte > 32 && byte < 128) name += static_cast<char>(byte);
      }
    }
    return name.empty() ? "Fan " + std::to_string(index) : name;
  }

  static Array sorted(Array records) {
    const auto key = [](const PropertyList& record) {
      std::string name = *record.as<Array>()->front().as<std::string>();
      for (char& c : name) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
      }
      return name;
    };
    std::stable_sort(records.begin(), records.end(),
                     [&](const auto& a, const auto& b) { return key(a) < key(b); });
    return records;
  }

  bool open_;
  std::map<std::string, FakeKey> keys_;
};

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  FakeSMC controller() {
    FakeSMC smc;
    if (chance(2)) smc.openError = 1;
    if (chance(2)) smc.match.first = 0;
    for (const auto table : {SensorNames(kVoltages), SensorNames(kCurrents), SensorNames(kPowers),
                             SensorNames(kTemperatures)}) {
      for (const auto& row : table) {
        if (chance(40)) smc.keys[std::string(row.key)] = key();
      }
    }
    if (chance(90)) smc.keys["FNum"] = chance(80) ? FakeKey{"ui8 ", 1, {byte(13)}} : key();
    for (char fan = '0'; fan <= '9'; ++fan) {
      for (const char* suffix : {"Ac", "Mn", "Mx", "ID"}) {
        if (chance(70)) smc.keys[std::string("F") + fan + suffix] = key();
      }
      if (chance(50)) smc.keys[std::string("F") + fan + "ID"] = fanName();
    }
    return smc;
  }

 private:
  bool chance(unsigned percent) { return random_() % 100 < percent; }
  std::uint8_t byte(unsigned below = 256) { return static_cast<std::uint8_t>(random_() % below); }

  FakeKey key() {
    static const char* const kOthers[] = {"{fds", "ch8*", "ui8", "sp7a", "SP78", ""};
    const auto& type = kModelTypes[random_() % std::size(kModelTypes)];
    FakeKey made;
    made.type = chance(85) ? type.code : kOthers[random_() % std::size(kOthers)];
    made.size = chance(70) ? std::max(type.size, 1U) : static_cast<std::uint32_t>(random_() % 33);
    for (int i = 0; i < 32; ++i) made.bytes.push_back(byte());
    if (chance(4)) made.infoError = static_cast<std::uint32_t>(random_() | 1);
    if (chance(4)) made.readError = static_cast<std::uint32_t>(random_() | 1);
    if (chance(8)) made.goodReads = static_cast<int>(random_() % 4);
    return made;
  }

  FakeKey fanName() {
    const auto name = kFanNames[random_() % kFanNames.size()].key;
    return {"{fds", static_cast<std::uint32_t>(name.size()), {name.begin(), name.end()}};
  }

  std::mt19937 random_;
};

TEST(Catalogues, SayWhatRandomControllersHold) {
  testing::internal::CaptureStdout();
  for (unsigned seed = 0; seed < 2000; ++seed) {
    FakeSMC smc = Generator(seed).controller();
    Model model(smc);
    KeptLog log;
    FakeAta ata;
    SMCSession session(smc, log);
    SMCVoltageSensors electrical(session);
    ASSERT_EQ(SMCFanSensors(session).getFans(), model.fans()) << seed;
    ASSERT_EQ(electrical.getVoltages(), model.electrical(kVoltages)) << seed;
    ASSERT_EQ(electrical.getCurrent(), model.electrical(kCurrents)) << seed;
    ASSERT_EQ(electrical.getPower(), model.electrical(kPowers)) << seed;
    ASSERT_EQ(SMCTempSensors(session, ata).getTemps(), model.temperatures()) << seed;
  }
  testing::internal::GetCapturedStdout();
}

}  // namespace
}  // namespace tarvel
