#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The machine at a glance: what is busy, full or running out. Plain values; what the machine does
// not have, or what was not asked for, is absent.

namespace tarvel::viewer {

// Shares of the time since the sample before, 0 to 1. Waiting for disks counts as idle.
struct Processors {
  double busy = 0;            // of all processors together
  std::vector<double> cores;  // of each that is online, in the kernel's order
};

// In bytes. Used is what programs hold: total less available (proc(5), MemAvailable).
struct Memory {
  std::uint64_t total = 0;
  std::uint64_t used = 0;
  std::uint64_t cache = 0;  // page cache and buffers, which the kernel gives up when needed
  std::uint64_t swapTotal = 0;
  std::uint64_t swapUsed = 0;
};

// Runnable and uninterruptible tasks, averaged over 1, 5 and 15 minutes.
struct Load {
  double one = 0;
  double five = 0;
  double fifteen = 0;
};

// Percent of the last ten seconds in which some task waited (Documentation/accounting/psi.rst).
struct Pressure {
  double processor = 0;
  double memory = 0;
  double disk = 0;
};

// Bytes a second since the sample before, and bytes since the first one, which never become fewer.
struct Traffic {
  double in = 0;   // read from disks, received from networks
  double out = 0;  // written, sent
  std::uint64_t totalIn = 0;
  std::uint64_t totalOut = 0;
};

struct FileSystem {
  std::string path;  // where it is mounted
  double used = 0;   // share that is not available to users, 0 to 1
  std::uint64_t available = 0;
  std::uint64_t total = 0;
};

struct Battery {
  enum class State { kDischarging, kCharging, kOther };
  double charge = 0;  // 0 to 1
  State state = State::kOther;
  std::optional<std::chrono::minutes> left;  // until empty or full, by the present rate
};

struct MachineTotals {
  std::optional<Processors> processors;
  std::optional<Memory> memory;
  std::optional<Load> load;
  std::optional<Pressure> pressure;
  std::optional<Traffic> disks;
  std::optional<Traffic> networks;
  std::vector<FileSystem> nearlyFull;  // fullest first
  std::optional<Battery> battery;
  std::chrono::seconds uptime{0};
};

}  // namespace tarvel::viewer
