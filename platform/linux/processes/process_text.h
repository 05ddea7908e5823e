#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

// What the kernel writes into the files of /proc (proc(5)) and of control groups (cgroups(7)),
// taken apart. Pure functions; a text that is cut off, empty or strange gives none.

namespace tarvel {

// /proc/PID/stat. Times are in clock ticks; the name is as the kernel has it, any bytes.
struct ProcessStat {
  std::string_view name;
  bool isKernelThread = false;
  std::uint64_t ticks = 0;      // processor time of all threads, user and system
  std::uint64_t startTime = 0;  // since boot
  std::int64_t residentPages = 0;
  std::int32_t threads = 0;
};
std::optional<ProcessStat> parseStat(std::string_view text);

// /proc/PID/statm: resident pages, exactly.
std::optional<std::int64_t> parseResidentPages(std::string_view text);

// /proc/PID/status.
struct ProcessStatus {
  std::uint32_t user = 0;  // the effective one
  std::uint64_t swapKiB = 0;
};
std::optional<ProcessStatus> parseStatus(std::string_view text);

// /proc/PID/io: bytes that went to and came from disks.
std::optional<std::uint64_t> parseDiskBytes(std::string_view text);

// /proc/swaps: whether any swap space is in use.
bool isSwapInUse(std::string_view text);

// /proc/loadavg: the id that the kernel gave last.
std::optional<std::int32_t> parseLastId(std::string_view text);

// The name of a folder in /proc as a process id; none when it is not the folder of a process.
std::optional<std::int32_t> parsePid(std::string_view name);

// cpu.stat of a control group: the processor time that it and those below it have used.
std::optional<std::chrono::microseconds> parseGroupUsage(std::string_view text);

// cgroup.procs: the processes in a group, but for those outside our namespace of ids.
std::vector<std::int32_t> parseIds(std::string_view text);

}  // namespace tarvel
