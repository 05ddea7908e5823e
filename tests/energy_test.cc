#include <chrono>
#include <cstdint>
#include <map>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/temporary_tree.h"
#include "viewer/machine/energy_shares.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;
using Joules = std::vector<double>;

constexpr std::int64_t kMega = 1'000'000;
constexpr std::int64_t kRange = 262'143'328'850;

// Two packages of which one does not count, memory beside the first, and what must not be added:
// parts of a package, the platform that contains both, the same counter by another way.
class EnergyTest : public testing::Test {
 protected:
  EnergyTest() {
    zone("intel-rapl:0", "package-0");
    zone("intel-rapl:0:0", "core");
    zone("intel-rapl:0:1", "dram");
    zone("intel-rapl:1", "package-1");
    zone("intel-rapl:2", "psys");
    zone("intel-rapl-mmio:0", "package-0");
    tree.write(kFolder + "intel-rapl/enabled", "1\n");
    count("intel-rapl:1", 0);
  }

  void zone(const std::string& entry, const std::string& name) {
    tree.write(kFolder + entry + "/name", name + "\n");
    tree.write(kFolder + entry + "/max_energy_range_uj", std::to_string(kRange) + "\n");
  }
  void count(const std::string& entry, std::int64_t counter) {
    tree.write(kFolder + entry + "/energy_uj", std::to_string(counter % kRange) + "\n");
  }
  void usePackage(std::int64_t joules) {
    package_ += joules * kMega;
    for (const char* entry :
         {"intel-rapl:0", "intel-rapl:0:0", "intel-rapl:2", "intel-rapl-mmio:0"}) {
      count(entry, package_);
    }
  }
  void useMemory(std::int64_t joules) { count("intel-rapl:0:1", memory_ += joules * kMega); }

  // Two cores, of whose time so many percent of one core were busy.
  void runFor3s(int load) {
    busy_ += load;
    idle_ += 200 - load;
    const auto all = std::to_string(busy_) + " 0 0 " + std::to_string(idle_) + " 0 0 0 0 0 0\n";
    tree.write("proc/stat", "cpu  " + all + "cpu0 1 0 0 1 0\ncpu1 1 0 0 1 0\nintr 1\n");
  }

  const std::string kFolder = "sys/class/powercap/";
  TemporaryTree tree;

 private:
  std::int64_t package_ = kRange - 10 * kMega;  // goes round at once
  std::int64_t memory_ = kMega;
  int busy_ = 1000;
  int idle_ = 1000;
};

TEST_F(EnergyTest, WhatWasMeasuredIsSharedOutToTheLastMicrojoule) {
  const struct {
    const char* what;
    std::chrono::seconds at;
    std::chrono::seconds suspended;
    std::int64_t package;                // joules since the row before
    std::optional<std::int64_t> memory;  // the same; none: the zone has gone
    int busy;                            // percent of one core
    std::optional<Joules> loads;
    std::optional<Joules> parts;  // each load's, then idle, unlisted, unknown; none: not measured
  } rows[] = {
      {"the first look", 0s, 0s, 0, 0, 100, {{50}}, {}},
      {"goes round; no lower power is known", 3s, 0s, 30, 3, 100, {{50}}, {{0, 33, 0, 0}}},
      {"others run too", 6s, 0s, 90, 3, 100, {{50, 25, -5}}, {{30, 15, 0, 33, 15, 0}}},
      {"more is listed than ran", 9s, 0s, 90, 3, 100, {{150, 50}}, {{45, 15, 33, 0, 0}}},
      {"no list", 12s, 0s, 90, 3, 100, {}, {{33, 0, 60}}},
      {"less than idle so far", 15s, 0s, 15, 3, 100, {{50}}, {{0, 18, 0, 0}}},
      {"memory has gone", 18s, 0s, 90, {}, 100, {{100}}, {{75, 15, 0, 0}}},
      {"memory counts anew", 21s, 0s, 90, 0, 100, {{}}, {{15, 75, 0}}},
      {"memory is back, nothing runs", 24s, 0s, 90, 3, 0, {{}}, {{18, 75, 0}}},
      {"does not divide", 27s, 0s, 87, 3, 0, {{1, 1, 1, 1, 1, 1, 1}}, {Joules(7, 10.285714)}},
      {"stands still", 30s, 0s, 0, 3, 0, {{1}}, {{0, 3, 0, 0}}},
      {"still idle at the least", 33s, 0s, 20, 3, 100, {{100}}, {{5, 18, 0, 0}}},
      {"a suspend", 36s, 60s, 90, 3, 100, {{100}}, {}},
      {"too long ago", 13h, 60s, 90, 3, 100, {{100}}, {}},
      {"idle of the last 12 h counts", 13h + 3s, 60s, 90, 3, 100, {{100}}, {{75, 18, 0, 0}}},
      {"too long ago again", 26h, 60s, 90, 3, 100, {{100}}, {}},
      {"older idle is forgotten", 26h + 3s, 60s, 100, 3, 100, {{100}}, {{10, 93, 0, 0}}},
  };
  EnergyShares shares(tree.path());
  for (const auto& row : rows) {
    usePackage(row.package);
    row.memory ? useMemory(*row.memory) : tree.remove(kFolder + "intel-rapl:0:1");
    if (row.memory) zone("intel-rapl:0:1", "dram");
    runFor3s(row.busy);
    ASSERT_EQ(shares.look({row.at, row.suspended}), row.parts.has_value()) << row.what;
    if (!row.parts) continue;
    std::int64_t measured = 0;
    for (const auto& energy : shares.measured()) measured += energy.used;
    EXPECT_LE(shares.measured().size(), 2U) << row.what;
    const auto parts = shares.share(row.loads);
    auto all = parts.listed;
    all.insert(all.end(), {parts.idle, parts.unlisted, parts.unknown});
    EXPECT_EQ(std::accumulate(all.begin(), all.end(), std::int64_t{0}), measured) << row.what;
    ASSERT_EQ(parts.listed.size(), row.loads ? row.loads->size() : 0) << row.what;
    for (std::size_t i = 0; i < row.parts->size(); ++i) {
      EXPECT_NEAR(static_cast<double>(all[i]) / kMega, row.parts->at(i), 2e-6) << row.what << i;
    }
  }
}

TEST_F(EnergyTest, WithoutReadableCountersOrProcessorTimesNothingIsAttributed) {
  EnergyShares none(tree.path("elsewhere"));
  EXPECT_FALSE(none.look({1s, 0s}));
  EXPECT_FALSE(none.look({4s, 0s}));
  EnergyShares shares(tree.path());
  EXPECT_FALSE(shares.look({1s, 0s}));
  usePackage(10);
  tree.write(kFolder + "intel-rapl:0:1/energy_uj", "99999999999999999999999\n");
  EXPECT_FALSE(shares.look({4s, 0s})) << "the counters have come only now";
  usePackage(10);
  ASSERT_TRUE(shares.look({7s, 0s}));
  usePackage(20);
  ASSERT_TRUE(shares.look({10s, 0s}));
  ASSERT_EQ(shares.measured().size(), 1U);
  EXPECT_EQ(shares.measured()[0].zone, "package-0");
  EXPECT_EQ(shares.share(Joules{100}).unknown, 10 * kMega) << "there is no /proc/stat";
  tree.write(kFolder + "intel-rapl:0/energy_uj", "");
  EXPECT_FALSE(shares.look({13s, 0s}));
  usePackage(10);
  EXPECT_FALSE(shares.look({16s, 0s})) << "it may have begun anew";
}

}  // namespace
}  // namespace tarvel::viewer
