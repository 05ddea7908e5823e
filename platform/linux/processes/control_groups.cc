#include "platform/linux/processes/control_groups.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "platform/host/files/small_file.h"
#include "platform/linux/processes/process_files.h"
#include "platform/linux/processes/process_text.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kFewest = 1000;     // processes, below which all clocks are cheap
constexpr std::size_t kLeastMembers = 8;  // a group, on average
constexpr std::size_t kTurns = 8;         // looks until each group has been listed anew
constexpr std::size_t kFirstPause = 2;    // a viewer's first list does not wait for groups
constexpr std::size_t kPause = 64;
constexpr std::size_t kPatience = 2;               // looks in a row in which most may be awake
constexpr std::size_t kLongestList = 1024 * 1024;  // bytes, of some 150,000 ids

std::optional<std::chrono::microseconds> usageOf(const FileDescriptor& stat) {
  std::array<char, 256> text{};  // the figure is in the first line
  const ssize_t size = ::pread(stat.get(), text.data(), text.size(), 0);
  return parseGroupUsage({text.data(), static_cast<std::size_t>(std::max(size, ssize_t{0}))});
}

}  // namespace

std::string controlGroupTree(const std::string& mount) {
  for (const std::string& path : {mount, mount + "/unified"}) {
    struct statfs system {};
    if (::statfs(path.c_str(), &system) == 0 && system.f_type == CGROUP2_SUPER_MAGIC) return path;
  }
  return {};
}

ControlGroups::ControlGroups(const std::string& root, std::string tree, std::size_t mostGroups)
    : tree_(showsOwnProcesses(root) ? std::move(tree) : std::string()),
      mostGroups_(mostGroups),
      pause_(kFirstPause) {}

const std::vector<std::int32_t>& ControlGroups::look(std::size_t processes) {
  asleep_.clear();
  if (tree_.empty()) return asleep_;
  if (pause_ > 0) {
    close();
    --pause_;
    return asleep_;
  }
  readUsage();
  if (isWorthwhile(processes)) {
    match(list());
  } else {
    pause_ = kPause;  // until the next look, mostUsed() is still asked
  }
  return asleep_;
}

std::chrono::nanoseconds ControlGroups::mostUsed(std::int32_t pid) const {
  const auto place = std::ranges::lower_bound(members_, pid, {}, &Member::pid);
  if (place == members_.end() || place->pid != pid) return 0ns;
  return groups_[place->group].used.value_or(0us);
}

void ControlGroups::forget() {
  close();
  pause_ = kFirstPause;
}

void ControlGroups::close() {
  groups_ = std::vector<Group>();
  members_ = std::vector<Member>();
  looks_ = 0;
  patience_ = 0;
}

void ControlGroups::readUsage() {
  for (Group& group : groups_) {
    const auto usage = group.stat ? usageOf(group.stat) : std::nullopt;
    group.used.reset();
    if (usage && *usage >= group.usage) group.used = *usage - group.usage;
    group.usage = usage.value_or(0us);
    if (!usage) group.stat.reset();
  }
}

bool ControlGroups::isWorthwhile(std::size_t processes) {
  if (processes < kFewest || (looks_ > 0 && !mostSleep(processes))) return false;
  return looks_++ % kTurns != 0 || find(std::min(mostGroups_, processes / kLeastMembers));
}

// Whether half of the processes slept, now or lately.
bool ControlGroups::mostSleep(std::size_t processes) {
  const auto slept = std::ranges::count_if(
      members_, [&](const Member& member) { return groups_[member.group].used == 0us; });
  if (2 * static_cast<std::size_t>(slept) >= processes) {
    patience_ = kPatience;
    return true;
  }
  if (patience_ == 0) return false;
  --patience_;
  return true;
}

// Looks for groups that have come; false where there are too many.
bool ControlGroups::find(std::size_t most) {
  std::set<std::string> known;
  for (const Group& group : groups_) {
    if (group.stat) known.insert(group.path);
  }
  std::size_t count = 0;
  for (std::vector<std::string> folders = {tree_}; !folders.empty();) {
    std::error_code error;  // of one that has gone meanwhile, or that is not ours to see
    std::filesystem::directory_iterator entry(std::exchange(folders.back(), {}), error);
    folders.pop_back();
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
      if (!entry->is_directory(error)) continue;
      if (++count > most) return false;
      std::string path = entry->path().string();
      if (!known.contains(path)) add(path);
      // With two links it has no groups below, and need not be listed.
      if (entry->hard_link_count(error) != 2) folders.push_back(std::move(path));
    }
  }
  return true;
}

void ControlGroups::add(const std::string& path) {
  Group group;
  group.path = path;
  group.stat.reset(::open((path + "/cpu.stat").c_str(), O_RDONLY | O_CLOEXEC));
  const auto usage = group.stat ? usageOf(group.stat) : std::nullopt;
  if (!usage) return;
  group.usage = *usage;
  const auto place = std::ranges::find_if(groups_, [](const Group& old) { return !old.stat; });
  if (place == groups_.end()) {
    groups_.push_back(std::move(group));
  } else {
    *place = std::move(group);
  }
}

// Who is in the groups that ran, and in those whose turn it is.
std::vector<ControlGroups::Member> ControlGroups::list() {
  std::vector<Member> listed;
  for (std::uint32_t at = 0; at < groups_.size(); ++at) {
    Group& group = groups_[at];
    group.isListed = group.used != 0us || (looks_ + at) % kTurns == 0;
    if (!group.isListed || !group.stat) continue;
    const auto text = readSmallFile(group.path + "/cgroup.procs", kLongestList);
    for (const std::int32_t pid : parseIds(text.value_or(""))) listed.push_back({pid, at});
  }
  std::ranges::sort(listed, {}, &Member::pid);
  const auto twice = std::ranges::unique(listed, {}, &Member::pid);
  listed.erase(twice.begin(), twice.end());
  return listed;
}

// Makes the members those that there are now. Asleep are those that were in their group before.
void ControlGroups::match(const std::vector<Member>& listed) {
  std::vector<Member> members;
  members.reserve(members_.size() + listed.size());
  auto now = listed.begin();
  for (const Member& member : members_) {
    while (now != listed.end() && now->pid < member.pid) members.push_back(*now++);
    const bool isListed = now != listed.end() && now->pid == member.pid;
    const Group& group = groups_[member.group];
    const bool isThere = isListed ? now->group == member.group : !group.isListed;
    if (isThere && group.used == 0us) asleep_.push_back(member.pid);
    if (isListed) {
      members.push_back(*now++);
    } else if (isThere) {
      members.push_back(member);
    }
  }
  members.insert(members.end(), now, listed.end());
  members_ = std::move(members);
}

}  // namespace tarvel
