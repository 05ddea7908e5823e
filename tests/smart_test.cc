#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "smart/smart_controller.h"
#include "tests/fake_ata.h"

namespace tarvel {
namespace {

constexpr auto kCelsius = TemperatureUnit::celsius;

std::vector<DataSetRow> rowsOf(FakeAta& ata) {
  SmartController controller(ata);
  controller.update();
  return controller.getDataSet(kCelsius);
}

TEST(Smart, TakesOnlyWholeIdentifyBlocks) {
  const auto changed = [](const std::function<void(AtaBlock&)>& change) {
    AtaBlock block = identifyBlock("DISK");
    change(block);
    return block;
  };
  const auto setByte = [&](std::size_t at, std::uint8_t byte) {
    return signedBlock(changed([&](AtaBlock& block) { block[at] = byte; }));
  };
  const struct {
    const char* what;
    AtaBlock block;
    const char* model;  // null: left out
  } cases[] = {
      {"whole", identifyBlock("DISK"), "DISK"},
      {"full field", identifyBlock(std::string(40, 'A') + "B"),
       "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"},
      {"blanks", identifyBlock("\t A  B \t"), "A  B"},
      {"no name", identifyBlock(""), ""},
      {"ends at zero", identifyBlock(std::string("AB\0CD", 5)), "AB"},
      {"UTF-8", identifyBlock("Plattenlaufwerk \xC3\xA4"), "Plattenlaufwerk \xC3\xA4"},
      {"Latin-1", identifyBlock("\xE4"), nullptr},
      {"no signature", setByte(510, 0), nullptr},
      {"sum off", changed([](AtaBlock& block) { ++block[100]; }), nullptr},
      {"not capable", setByte(164, 0xFE), nullptr},
      {"all zero", AtaBlock{}, nullptr},
  };
  for (const auto& row : cases) {
    FakeAta ata;
    ata.disks = {FakeDisk("", 40)};
    ata.disks[0].identify = row.block;
    std::vector<DataSetRow> expected;
    if (row.model != nullptr) expected.push_back({row.model, "40"});
    EXPECT_EQ(rowsOf(ata), expected) << row.what;
  }
}

TEST(Smart, TakesTheLastTemperatureAttribute) {
  using Change = std::pair<std::size_t, std::uint8_t>;
  const struct {
    const char* what;
    std::vector<Change> changes;  // of a block whose second entry says 40
    const char* celsius;          // null: left out
  } cases[] = {
      {"plain", {}, "40"},
      {"extremes above", {{21, 15}, {23, 54}}, "40"},
      {"unsigned", {{19, 251}}, "251"},
      {"zero below, more above", {{19, 0}, {20, 45}}, nullptr},
      {"one", {{19, 1}}, "1"},
      {"the later of two", {{2 + 12 * 7, 194}, {7 + 12 * 7, 77}}, "77"},
      {"the later of two is none", {{2 + 12 * 7, 194}}, nullptr},
      {"last entry", {{14, 0}, {2 + 12 * 29, 194}, {7 + 12 * 29, 33}}, "33"},
      {"past the entries", {{14, 0}, {2 + 12 * 30, 194}, {7 + 12 * 30, 33}}, nullptr},
      {"as a value", {{14, 5}, {17, 194}}, nullptr},
      {"airflow only", {{14, 190}}, nullptr},
  };
  for (const auto& row : cases) {
    FakeAta ata;
    ata.disks = {FakeDisk("DISK", 40)};
    for (const auto& [at, byte] : row.changes) ata.disks[0].smart[at] = byte;
    std::vector<DataSetRow> expected;
    if (row.celsius != nullptr) expected.push_back({"DISK", row.celsius});
    EXPECT_EQ(rowsOf(ata), expected) << row.what;
  }
}

// Every operation in its order, whichever of them fails.
TEST(Smart, SwitchesOffWhateverFails) {
  const std::string off = "no autosave,disable,release,destroy,";
  const std::string ask = "plugin,interface,identify,";
  const std::string read = ask + "enable,autosave,status,read,validate,";
  const struct {
    const char* failing;
    std::string operations;
    bool found;
  } cases[] = {
      {"", read + off, true},
      {"plugin", "plugin,", false},
      {"interface", "plugin,interface,destroy,", false},
      {"identify", ask + "release,destroy,", false},
      {"enable", ask + "enable," + off, false},
      {"autosave", ask + "enable,autosave," + off, false},
      {"status", ask + "enable,autosave,status," + off, false},
      {"read", ask + "enable,autosave,status,read," + off, false},
      {"validate", read + off, false},
      {"no autosave", read + off, true},
      {"disable", read + off, true},
  };
  for (const auto& row : cases) {
    FakeAta ata;
    ata.disks = {FakeDisk("DISK", 40)};
    ata.disks[0].failing = row.failing;
    EXPECT_EQ(rowsOf(ata).size(), row.found ? 1U : 0U) << row.failing;
    std::ostringstream calls;
    for (const auto& call : ata.calls) calls << call << ",";
    std::string expected = "SMART Capable," + row.operations;
    if (!row.found) expected += "IOATABlockStorageDevice," + row.operations;
    EXPECT_EQ(calls.str(), expected) << row.failing;
  }
}

TEST(Smart, FallsBackToEveryAtaDisk) {
  FakeAta ata;
  ata.disks = {FakeDisk("A", 30), FakeDisk("B", 31), FakeDisk("C", 32)};
  ata.disks[0].failing = "read";
  ata.disks[1].smartCapable = false;
  EXPECT_EQ(rowsOf(ata), std::vector<DataSetRow>({{"C", "32"}}));
  ata.disks[2].failing = "plugin";
  EXPECT_EQ(rowsOf(ata), std::vector<DataSetRow>({{"B", "31"}}));
  ata.disks.clear();
  EXPECT_TRUE(rowsOf(ata).empty());
}

TEST(Smart, GivesTheLastUpdateInAnyUnit) {
  FakeAta ata;
  ata.disks = {FakeDisk("DISK", 45), FakeDisk("COLD", 41)};
  SmartController controller(ata);
  EXPECT_TRUE(controller.getDataSet(kCelsius).empty());
  controller.update();
  ata.disks.clear();
  const auto rows = [&](int unit) {
    return controller.getDataSet(static_cast<TemperatureUnit>(unit));
  };
  const auto both = [](const char* first, const char* second) {
    return std::vector<DataSetRow>({{"DISK", first}, {"COLD", second}});
  };
  EXPECT_EQ(rows(0), both("45", "41"));
  EXPECT_EQ(rows(1), both("113", "106"));
  EXPECT_EQ(rows(2), both("318", "314"));
  EXPECT_EQ(rows(7), both("45", "41"));
  EXPECT_EQ(convertedTemperature(0, TemperatureUnit::fahrenheit), 32);
  controller.update();
  EXPECT_TRUE(rows(0).empty());
}

}  // namespace
}  // namespace tarvel
