#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sensors/electrical_keys.h"
#include "sensors/fan_sensors.h"
#include "sensors/temp_sensors.h"
#include "sensors/temperature_keys.h"
#include "sensors/voltage_sensors.h"
#include "smc/smc_wrapper.h"
#include "tests/fake_ata.h"
#include "tests/fake_smc.h"
#include "tests/temporary_home.h"

// What must hold of the catalogues of any controller, also of one that fails now and then.

namespace tarvel {
namespace {

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
    }
    return smc;
  }

 private:
  bool chance(unsigned percent) { return random_() % 100 < percent; }
  std::uint8_t byte(unsigned below = 256) { return static_cast<std::uint8_t>(random_() % below); }

  FakeKey key() {
    static const char* const kTypes[] = {"ui8 ", "ui16", "ui32", "flt ", "fpe2", "sp78",
                                         "sp5a", "si8 ", "{pwm", "{fds", "SP78", ""};
    FakeKey made;
    made.type = kTypes[random_() % std::size(kTypes)];
    made.size = chance(70) ? 1U << random_() % 3 : static_cast<std::uint32_t>(random_() % 33);
    for (int i = 0; i < 32; ++i) made.bytes.push_back(byte());
    if (chance(4)) made.infoError = static_cast<std::uint32_t>(random_() | 1);
    if (chance(4)) made.readError = static_cast<std::uint32_t>(random_() | 1);
    if (chance(8)) made.goodReads = static_cast<int>(random_() % 4);
    return made;
  }

  std::mt19937 random_;
};

std::string nameOf(const PropertyList& record) {
  return *record.as<Array>()->front().as<std::string>();
}

void expectOrder(const Array& records) {
  const auto folded = [](const PropertyList& record) {
    std::string name = nameOf(record);
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name;
  };
  EXPECT_TRUE(std::ranges::is_sorted(records, {}, folded));
}

// Every key that answers whenever it is asked has its record, those that never do have none; a key
// that stops in between may have one.
void expectRecordsOf(const FakeSMC& smc, SensorNames table, const Array& records) {
  static const std::regex kNumber("-?([0-9]+\\.[0-9]{2}|inf|nan)");
  std::map<std::string, int> least;
  std::map<std::string, int> most;
  for (const auto& row : table) {
    const auto held = smc.keys.find(std::string(row.key));
    if (smc.openError != 0 || smc.match.first == 0 || held == smc.keys.end()) continue;
    const FakeKey& key = held->second;
    if (key.size == 0 || key.infoError != 0 || key.readError != 0) continue;
    ++most[std::string(row.display)];
    if (key.goodReads > 100) ++least[std::string(row.display)];
  }
  std::map<std::string, int> found;
  for (const auto& record : records) {
    ++found[nameOf(record)];
    EXPECT_TRUE(std::regex_match(*record.as<Array>()->back().as<std::string>(), kNumber));
  }
  for (const auto& [name, count] : most) {
    EXPECT_GE(found[name], least[name]) << name;
    EXPECT_LE(found[name], count) << name;
    found.erase(name);
  }
  EXPECT_TRUE(found.empty()) << found.begin()->first;
  expectOrder(records);
}

void expectTemperatures(const Array& records) {
  std::vector<std::string> cores;
  for (const auto& record : records) {
    const auto& degrees = *record.as<Array>()->back().as<std::string>();
    EXPECT_TRUE(std::ranges::all_of(degrees, [](char c) { return c >= '0' && c <= '9'; }));
    EXPECT_NE(degrees, "0");
    if (nameOf(record).starts_with("CPU Core ")) cores.push_back(nameOf(record));
  }
  for (std::size_t core = 1; core <= cores.size(); ++core) {
    EXPECT_EQ(std::ranges::count(cores, "CPU Core " + std::to_string(core)), 1);
  }
  expectOrder(records);
}

TEST(Catalogues, HoldTogetherWhateverAControllerSays) {
  testing::internal::CaptureStdout();
  for (unsigned seed = 0; seed < 1000 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    FakeSMC smc = Generator(seed).controller();
    const FakeSMC before = smc;
    KeptLog log;
    FakeAta ata;
    SMCSession session(smc, log);
    SMCVoltageSensors electrical(session);
    expectRecordsOf(before, kVoltages, electrical.getVoltages());
    expectRecordsOf(before, kCurrents, electrical.getCurrent());
    expectRecordsOf(before, kPowers, electrical.getPower());
    expectTemperatures(SMCTempSensors(session, ata).getTemps());
    const Array fans = SMCFanSensors(session).getFans();
    EXPECT_LE(fans.size(), 10U);
    expectOrder(fans);
  }
  testing::internal::GetCapturedStdout();
}

}  // namespace
}  // namespace tarvel
