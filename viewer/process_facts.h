#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// What /proc tells of a process beyond the helper's lists, read for the rows that are looked at.

namespace tarvel::viewer {

struct ProcessFacts {
  std::int32_t parent = 0;
  char state = '?';  // as ps(1) has it: R running, S sleeping, D waiting for a disk…
  long threads = 0;
  long nice = 0;
  std::uint64_t startTime = 0;  // clock ticks since boot: with the id it names a process for good
  std::string program;          // the last part of what it was started as; empty for the kernel's
  std::string command;          // its whole command line, control characters as "?"
  std::string user;             // by name, else by number
};

struct ProcessTraffic {
  std::uint64_t bytesRead = 0;  // from and to disks, since it began
  std::uint64_t bytesWritten = 0;
};

struct ProcessRates {
  double bytesRead = 0;  // a second, between the two latest refreshes
  double bytesWritten = 0;
};

// Facts by process id. State, threads and priority are read once between two calls of endRefresh;
// the command line and the user once in the life of a process. One thread.
class ProcessFactsReader {
 public:
  explicit ProcessFactsReader(std::string root = "/proc") : root_(std::move(root)) {}

  // Null where the process is gone. Valid until the next call.
  const ProcessFacts* of(std::int32_t pid);

  // What the process moves to and from disks. None at the first look, and where the kernel does not
  // let us know.
  std::optional<ProcessRates> ratesOf(std::int32_t pid);

  // The facts are read anew from now on. Forgets processes that were not asked for since the last
  // call.
  void endRefresh();

 private:
  struct Entry {
    ProcessFacts facts;
    bool isUsed = true;
    bool isFresh = true;
    bool areRatesFresh = false;
    std::optional<ProcessTraffic> traffic;  // as of the latest look at it
    std::chrono::steady_clock::time_point trafficTime;
    std::optional<ProcessRates> rates;
  };

  void updateRates(std::int32_t pid, Entry& entry);

  std::string root_;
  std::map<std::int32_t, Entry> entries_;
};

// The text of /proc/PID/stat (proc(5)); false where it is none.
bool parseProcessStat(std::string_view text, ProcessFacts& facts);

// The process's disk traffic (proc(5), io); none where the kernel does not let us know.
std::optional<ProcessTraffic> readTraffic(std::int32_t pid, const std::string& root = "/proc");

}  // namespace tarvel::viewer
