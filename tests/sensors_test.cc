#include <set>
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

namespace tarvel {
namespace {

using Readings = std::vector<std::pair<std::string, std::string>>;

struct Machine {
  FakeSMC smc;
  KeptLog log;
  FakeAta ata;
  SMCSession session{smc, log};

  void celsius(const std::string& key, double degrees) {
    const auto raw = static_cast<std::uint16_t>(static_cast<std::int16_t>(degrees * 256));
    smc.keys[key] = {
        "sp78", 2, {static_cast<std::uint8_t>(raw >> 8), static_cast<std::uint8_t>(raw)}};
  }
  Readings temps() { return readings(SMCTempSensors(session, ata).getTemps()); }

  static Readings readings(const Array& records) {
    Readings list;
    for (const auto& record : records) {
      const auto& fields = *record.as<Array>();
      EXPECT_EQ(fields.size(), 2U);
      list.emplace_back(*fields[0].as<std::string>(), *fields[1].as<std::string>());
    }
    return list;
  }
};

// FNV-1a of 64 bits over the table's lines "key=name\n".
std::uint64_t digestOf(SensorNames table) {
  std::uint64_t digest = 0xcbf29ce484222325;
  for (const auto& row : table) {
    for (const char c : std::string(row.key) + "=" + std::string(row.display) + "\n") {
      digest = (digest ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    }
  }
  return digest;
}

// The digests were worked out from the published tables, apart from this code.
TEST(Tables, HoldEveryKeyOnceAndItsName) {
  const struct {
    SensorNames table;
    std::size_t size;
    std::uint64_t digest;
  } tables[] = {{kVoltages, 35, 0xe7e824417d9ef439},
                {kCurrents, 36, 0x60b26ee27a00050c},
                {kPowers, 27, 0xff0ee900e1db6b8e},
                {kTemperatures, 118, 0xaa97decd22c63bf3},
                {kFanNames, 13, 0x8da4e13de32e7f53}};
  for (const auto& [table, size, digest] : tables) {
    EXPECT_EQ(table.size(), size);
    EXPECT_EQ(digestOf(table), digest) << table.front().display;
  }
  std::multiset<std::string_view> keys;
  for (const auto table : {SensorNames(kVoltages), SensorNames(kCurrents), SensorNames(kPowers),
                           SensorNames(kTemperatures)}) {
    for (const auto& row : table) keys.insert(row.key);
  }
  for (const auto key : keys) {
    EXPECT_EQ(key.size(), 4U);
    EXPECT_EQ(keys.count(key), key == "Tp0P" ? 2U : 1U) << key;
  }
}

TEST(Fans, SpeedsAreReadBeforeTheName) {
  Machine machine;
  machine.smc.keys["FNum"] = {"ui8 ", 1, {1}};
  SMCFanSensors(machine.session).getFans();
  std::string order;
  for (const auto& request : machine.smc.requests) {
    const std::string key(request.rend() - 4, request.rend());
    if (request[42] == 9) order += key + " ";
  }
  EXPECT_EQ(order, "FNum F0Ac F0Mn F0Mx F0ID ");
}

TEST(Temps, NumberTheCoresThatAnswer) {
  Machine machine;
  machine.celsius("TC0C", 45.996);
  machine.celsius("TC2C", 0.5);
  machine.celsius("TC0c", 1);
  machine.celsius("TCXC", 50);
  machine.celsius("TCXc", 51.9);
  machine.celsius("Tp0P", 52.5);
  machine.celsius("CUS1", 127.9);
  machine.celsius("TA0p", -3);
  machine.celsius("TCAD", 0.999);
  EXPECT_EQ(machine.temps(), Readings({{"CPU Core 1", "45"},
                                       {"CPU Core 2", "1"},
                                       {"CPU Cores", "127"},
                                       {"CPU PECI", "50"},
                                       {"CPU PECI", "51"},
                                       {"Power Supply 1", "52"},
                                       {"Power Supply 1", "52"}}));
}

TEST(Temps, SortDigitsAsCharactersAndDisksAmongTheRest) {
  Machine machine;
  for (char core = '0'; core <= '9'; ++core) machine.celsius(std::string("TC") + core + "C", 40);
  for (const char* key : {"TC0c", "CUS1", "TGDD", "TH0P", "Th0H"}) machine.celsius(key, 30);
  machine.ata.disks = {FakeDisk("A", 41), FakeDisk("B", 42)};
  std::vector<std::string> names;
  for (const auto& [name, value] : machine.temps())
    names.push_back(std::string(name).append("=").append(value));
  EXPECT_EQ(names, std::vector<std::string>(
                       {"CPU Core 1=40", "CPU Core 10=40", "CPU Core 11=30", "CPU Core 2=40",
                        "CPU Core 3=40", "CPU Core 4=40", "CPU Core 5=40", "CPU Core 6=40",
                        "CPU Core 7=40", "CPU Core 8=40", "CPU Core 9=40", "CPU Cores=30",
                        "GPU Diode=30", "HDD=41", "HDD=42", "HDD Bay 1=30", "Heatpipe 1=30"}));
}

TEST(Temps, AskTheDisksAtEverySixtiethCall) {
  Machine machine;
  machine.ata.disks = {FakeDisk("A", 41)};
  SMCTempSensors catalogue(machine.session, machine.ata);
  for (int call = 1; call <= 122; ++call) {
    const int readings = (call + 59) / 60;
    const bool asked = call % 60 == 1;
    machine.ata.disks[0] = FakeDisk("A", static_cast<std::uint8_t>(asked ? readings : 99));
    EXPECT_EQ(Machine::readings(catalogue.getTemps()),
              Readings({{"HDD", std::to_string(readings)}}));
  }
}

TEST(Fans, GiveOneRecordAName) {
  Machine machine;
  const auto name = [&](const std::string& key, const std::string& text) {
    machine.smc.keys[key] = {
        "{fds", static_cast<std::uint32_t>(text.size()), {text.begin(), text.end()}};
  };
  const auto speed = [&](const std::string& key, std::uint8_t high, std::uint8_t low) {
    machine.smc.keys[key] = {"fpe2", 2, {high, low}};
  };
  EXPECT_TRUE(SMCFanSensors(machine.session).getFans().empty());
  machine.smc.keys["FNum"] = {"ui8 ", 1, {200}};
  name("F0ID", "CPU");
  speed("F0Ac", 0x12, 0xBF);  // 1199.75
  speed("F0Mn", 0x03, 0xE8);
  speed("F0Mx", 0x5D, 0xC0);
  name("F2ID", "CPU_MEM");
  name("F3ID", "cpu");
  name("F4ID", "ODD");
  speed("F4Ac", 0x10, 0);
  name("F5ID", "ODD");
  for (char fan = '6'; fan <= '9'; ++fan) name(std::string("F") + fan + "ID", "ODD");
  const auto fan = [](const char* title, const char* now, const char* low, const char* high) {
    return PropertyList(Array{title, Array{now, low, high, "1"}});
  };
  EXPECT_EQ(SMCFanSensors(machine.session).getFans(),
            Array({fan("cpu", "0", "0", "0"), fan("CPU Fan", "1199", "250", "6000"),
                   fan("CPU Fan", "0", "0", "0"), fan("Fan 1", "0", "0", "0"),
                   fan("Optical Drive", "0", "0", "0")}));
  machine.smc.keys["FNum"] = {"{pwm", 2, {0x80, 0}};
  EXPECT_TRUE(SMCFanSensors(machine.session).getFans().empty());
}

}  // namespace
}  // namespace tarvel
