#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/files/file_descriptor.h"

// Which processes have not run, told by their control groups (version 2, cgroups(7)): where a
// group's cpu.stat stands still, the clocks of all its processes do. Reading it costs as much as
// four clocks, so groups are looked at only on machines of 1,000 processes or more, where groups
// are at most an eighth of the processes and half of the processes are in groups that sleep. Where
// they are not, it is tried again after 64 looks.
//
// A group that ran has its cgroup.procs read again: who came to it from elsewhere is known at once.
// Of those that sleep an eighth is read again in each look; new groups are looked for in every
// eighth. The root is never read. A process in the root, in a group that came since, that cannot be
// read or that is outside our namespace has no known group and is never taken to sleep. Those of a
// threaded group are listed in its domain, whose time includes it.
//
// What can go wrong, and for how long:
// - A process that slept since the look before, is moved to one of those places and runs there is
//   taken to sleep until its old group is read again: for eight looks at most.
// - What it did in another group is missed where it is moved there and back between two looks, or
//   runs and is moved to a group that sleeps.
// - The kernel adds up a group's time at ticks and when a process stops running. One that just
//   began to run on another processor may show a look later, and what it ran since the last tick
//   (up to a second where ticks are off, nohz_full) is missed once.
//
// Each group known has its cpu.stat kept open, 4 KiB of kernel memory. For one thread at a time.

namespace tarvel {

// Where the groups are mounted: there, or in "unified" where version 1 has it; empty where nowhere.
std::string controlGroupTree(const std::string& mount = "/sys/fs/cgroup");

class ControlGroups {
 public:
  // `tree` as controlGroupTree() gives it; `mostGroups` is how many may be known. The ids in groups
  // are those of our namespace: none are looked at where "/proc" (`root`) shows those of another.
  ControlGroups(const std::string& root, std::string tree, std::size_t mostGroups);

  // Looks now. The processes that were in groups that have slept since the look before, ascending.
  // `processes` is how many there are.
  const std::vector<std::int32_t>& look(std::size_t processes);

  // What the process can have used at most between the latest two looks, given that it was not seen
  // to run before: what its group did, 0 where it has none.
  std::chrono::nanoseconds mostUsed(std::int32_t pid) const;

  // Closes all; the next looks begin anew.
  void forget();

 private:
  // One that has gone leaves its place in the list to another.
  struct Group {
    std::string path;
    FileDescriptor stat;
    std::chrono::microseconds usage{0};
    std::optional<std::chrono::microseconds> used;  // since the look before; none when not known
    bool isListed = false;                          // in this look
  };
  struct Member {
    std::int32_t pid;
    std::uint32_t group;
  };

  void readUsage();
  bool isWorthwhile(std::size_t processes);
  bool mostSleep(std::size_t processes);
  bool find(std::size_t most);
  void add(const std::string& path);
  std::vector<Member> list();
  void match(const std::vector<Member>& listed);
  void close();

  std::string tree_;
  std::size_t mostGroups_;
  std::size_t pause_;  // looks until groups are looked at
  std::size_t looks_ = 0;
  std::size_t patience_ = 0;
  std::vector<Group> groups_;
  std::vector<Member> members_;  // by process id
  std::vector<std::int32_t> asleep_;
};

}  // namespace tarvel
