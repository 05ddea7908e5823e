#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "tests/temporary_tree.h"
#include "viewer/machine/machine_reader.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

class MachineTest : public testing::Test {
 protected:
  MachineTotals sample(std::chrono::seconds at, const MachineReader::Wanted& wanted = {}) {
    return reader_.sample(MachineReader::Clock::time_point(at), wanted);
  }

  TemporaryTree tree;
  std::vector<std::string> asked;

 private:
  MachineReader reader_{tree.path(), [this](const std::string& path) {
                          asked.push_back(path);
                          const double used = path == "/home/ada and bob" ? 0.97 : 0.9;
                          return std::optional(FileSystem{path, path == "/" ? 0.5 : used, 1, 10});
                        }};
};

TEST_F(MachineTest, ProcessorsAreBusyForWhatIsNotIdleSinceTheSampleBefore) {
  // user nice system idle iowait irq softirq steal guest guest_nice; the guest's time is in user.
  tree.write("proc/stat",
             "cpu  100 0 100 800 0 0 0 0 50 0\ncpu0 50 0 50 400 0 0 0 0 25 0\n"
             "cpu1 50 0 50 400 0 0 0 0 25 0\nintr 1\n");
  EXPECT_FALSE(sample(0s).processors);
  tree.write("proc/stat",
             "cpu  150 10 110 860 20 5 3 2 99 0\ncpu0 150 0 50 400 0 0 0 0 99 0\n"
             "cpu2 9 9 9 9 9 9 9 9 9 9\nintr 2\n");
  const auto processors = sample(3s).processors;
  ASSERT_TRUE(processors);
  EXPECT_DOUBLE_EQ(processors->busy, 80.0 / 160);             // 60 idle and 20 waiting of 160
  EXPECT_EQ(processors->cores, (std::vector<double>{1, 0}));  // the second one is new
  EXPECT_DOUBLE_EQ(sample(3s).processors->busy, 0.5);         // no time has passed
}

TEST_F(MachineTest, MemoryIsUsedThatIsNotAvailable) {
  EXPECT_FALSE(sample(0s).memory);
  tree.write("proc/meminfo",
             "MemTotal:  1000 kB\nMemFree:  100 kB\nMemAvailable:  600 kB\nBuffers:  20 kB\n"
             "Cached:  300 kB\nSwapCached:  5 kB\nSwapTotal:  200 kB\nSwapFree:  50 kB\n");
  const auto memory = sample(1s).memory;
  ASSERT_TRUE(memory);
  EXPECT_EQ(memory->total, 1000U << 10);
  EXPECT_EQ(memory->used, 400U << 10);
  EXPECT_EQ(memory->cache, 320U << 10);
  EXPECT_EQ(memory->swapUsed, 150U << 10);
}

TEST_F(MachineTest, DisksAndNetworksOfHardwareAreAddedUpAsRates) {
  for (const char* device :
       {"block/sda/device", "class/net/eth0/device", "class/net/wlan0/device"}) {
    tree.write(std::string("sys/") + device, "");
  }
  const auto write = [&](int sectors, int bytes) {
    const auto disk = " 1 0 " + std::to_string(sectors) + " 9 1 0 " + std::to_string(2 * sectors);
    tree.write("proc/diskstats",
               "   8 0 sda" + disk + " 9\n   8 1 sda1" + disk + " 9\n 7 0 loop0" + disk + " 9\n");
    const auto line =
        std::to_string(bytes) + " 1 0 0 0 0 0 0 " + std::to_string(3 * bytes) + " 1\n";
    tree.write("proc/self/net/dev", "Inter-| Receive\n face |bytes\n    lo: " + line +
                                        "  eth0:" + line + " wlan0: " + line + "  br0: " + line);
  };
  write(100, 1000);
  EXPECT_FALSE(sample(0s).disks);
  write(104, 1100);
  const auto totals = sample(2s);
  ASSERT_TRUE(totals.disks && totals.networks);
  EXPECT_DOUBLE_EQ(totals.disks->in, 4 * 512 / 2.0);
  EXPECT_DOUBLE_EQ(totals.disks->out, 8 * 512 / 2.0);
  EXPECT_DOUBLE_EQ(totals.networks->in, 2 * 100 / 2.0);
  EXPECT_DOUBLE_EQ(totals.networks->out, 2 * 300 / 2.0);
  write(0, 0);  // a counter that starts anew is no traffic
  EXPECT_DOUBLE_EQ(sample(4s).networks->in, 0);
  write(1, 10);
  const auto later = sample(6s);
  EXPECT_EQ(later.disks->totalOut, (8U + 2U) * 512U);
  EXPECT_EQ(later.networks->totalIn, 2U * (100U + 10U));
}

TEST_F(MachineTest, LocalFileSystemsFromNineTenthsOnAreNearlyFull) {
  tree.write("proc/self/mounts",
             "/dev/sda1 / ext4 rw 0 0\n/dev/sda1 /again ext4 rw 0 0\nserver:/x /net nfs4 rw 0 0\n"
             "/dev/sdb /home/ada\\040and\\040bob xfs rw 0 0\n/dev/loop0 /snap ext4 ro 0 0\n"
             "tmpfs /tmp tmpfs rw 0 0\n/dev/sdc /media vfat rw,nosuid 0 0\n");
  const auto full = sample(0s).nearlyFull;
  ASSERT_EQ(full.size(), 2U);
  EXPECT_EQ(full[0].path, "/home/ada and bob");
  EXPECT_EQ(full[1].path, "/media");
  EXPECT_EQ(asked, (std::vector<std::string>{"/", "/home/ada and bob", "/media"}));
}

TEST_F(MachineTest, PressureLoadAndBatteryAreReadWhereTheyAre) {
  EXPECT_FALSE(sample(0s).pressure);
  for (const char* name : {"cpu", "memory", "io"}) {
    tree.write(std::string("proc/pressure/") + name,
               "some avg10=1.50 avg60=0.00 avg300=0.00 total=1\nfull avg10=9.00\n");
  }
  tree.write("proc/loadavg", "0.50 1.25 2.00 1/200 300\n");
  const auto battery = [&](const char* status, const char* rate) {
    tree.write("sys/class/power_supply/BAT0/type", "Battery\n");
    tree.write("sys/class/power_supply/BAT0/capacity", "40\n");
    tree.write("sys/class/power_supply/BAT0/status", std::string(status) + "\n");
    tree.write("sys/class/power_supply/BAT0/charge_full", "5000000\n");
    tree.write("sys/class/power_supply/BAT0/charge_now", "2000000\n");
    tree.write("sys/class/power_supply/BAT0/current_now", std::string(rate) + "\n");
    tree.write("sys/class/power_supply/A-mouse/type", "Battery\n");
    tree.write("sys/class/power_supply/A-mouse/scope", "Device\n");
    tree.write("sys/class/power_supply/A-mouse/capacity", "99\n");
  };
  const struct {
    const char* status;
    const char* rate;
    Battery::State state;
    std::optional<std::chrono::minutes> left;
  } rows[] = {{"Discharging", "-1000000", Battery::State::kDischarging, 120min},
              {"Charging", "1500000", Battery::State::kCharging, 120min},
              {"Full", "1500000", Battery::State::kOther, std::nullopt},
              {"Discharging", "1", Battery::State::kDischarging, std::nullopt}};
  auto at = 20s;
  for (const auto& row : rows) {
    battery(row.status, row.rate);
    const auto totals = sample(at += 20s);
    ASSERT_TRUE(totals.battery && totals.pressure && totals.load);
    EXPECT_DOUBLE_EQ(totals.battery->charge, 0.4);
    EXPECT_EQ(totals.battery->state, row.state);
    EXPECT_EQ(totals.battery->left, row.left) << row.rate;
    EXPECT_DOUBLE_EQ(totals.pressure->memory, 1.5);
    EXPECT_DOUBLE_EQ(totals.load->five, 1.25);
  }
}

TEST_F(MachineTest, WhatIsNotWantedIsNotThereAndNotAskedFor) {
  tree.write("proc/meminfo", "MemTotal:  1000 kB\n");
  tree.write("proc/self/mounts", "/dev/sdc /media vfat rw 0 0\n");
  const auto totals = sample(0s, {false, false, false, false, false, false, false, false});
  EXPECT_FALSE(totals.memory);
  EXPECT_TRUE(totals.nearlyFull.empty());
  EXPECT_TRUE(asked.empty());
}

}  // namespace
}  // namespace tarvel::viewer
