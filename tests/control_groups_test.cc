#include "platform/linux/processes/control_groups.h"

#include <csignal>
#include <map>
#include <set>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "platform/linux/processes/process_sweep.h"
#include "tests/temporary_home.h"

using namespace std::chrono_literals;

namespace tarvel {
namespace {

namespace fs = std::filesystem;

constexpr int kWatched = 7;

// A machine whose kernel is this test: one process to watch and many that sleep, in groups. "a/t"
// is a threaded group of "a", "/" the root.
class MadeMachine {
 public:
  explicit MadeMachine(int others = 1000, int groups = 10) {
    usage_ = {{"a", {}}, {"b", {}}};
    const fs::path files = home_.path() / "proc/files";  // of all processes, which are alike
    fs::create_directory(files);
    begin(100);
    for (int pid = 1001; pid < 1001 + others; ++pid) {
      fs::create_hard_link(home_.path() / "proc/7", home_.path() / "proc" / std::to_string(pid));
      clocks_[pid] = 1000ms;
      move(pid, "pods/" + std::to_string(pid % groups));
    }
    for (int i = 0; i < 12; ++i) sweep();
  }

  void begin(int start, const char* pages = "50") const {
    writeFile(home_.path() / "proc/files/stat", "7 (p) S 1 1 1 0 -1 0 9 9 9 9 0 0 7 7 20 0 1 0 " +
                                                    std::to_string(start) + " 4096 " + pages +
                                                    "\n");
  }
  void burn(int pid, std::chrono::milliseconds time) {
    clocks_[pid] += time;
    for (fs::path group = groupOf_[pid]; group != group.parent_path();
         group = group.parent_path()) {
      usage_[group] += time;
    }
  }
  void move(int pid, const std::string& group) { usage_[groupOf_[pid] = group]; }

  // Between two sweeps: words that are groups to move to, milliseconds to run for, "new" where the
  // process ends and another gets its id, and "?" where its group's cpu.stat becomes strange.
  void happen(const std::string& words) {
    std::istringstream text(words);
    for (std::string word; text >> word;) {
      if (word == "new") {
        burn(kWatched, 1ms);
        begin(900);
        clocks_[kWatched] = 0ms;
      } else if (word == "?") {
        strange_ = groupOf_[kWatched];
      } else if (std::isdigit(word.front()) != 0) {
        burn(kWatched, std::chrono::milliseconds(std::stoi(word)));
      } else {
        move(kWatched, word);
      }
    }
  }

  // Milliseconds that the watched process has used, as a sweep a second later has it.
  long sweep() {
    writeGroups();
    asked.clear();
    processes.run(1s);
    return processes.find(kWatched)->used / 1ms;
  }

 private:
  void writeGroups() {
    std::map<std::string, std::string> lists;
    for (const auto& [pid, group] : groupOf_) {
      const std::size_t domain = group.size() - (group.ends_with("/t") ? 2 : 0);
      lists[group.substr(0, domain)] += std::to_string(pid) + "\n";
    }
    for (const auto& [group, usage] : usage_) {
      const fs::path folder = home_.path() / ("groups/" + group);
      const bool isThreaded = group.ends_with("/t");
      fs::create_directories(isThreaded ? folder / "cgroup.procs" : folder);  // cannot be read
      if (!isThreaded) write(folder / "cgroup.procs", "0\n" + lists[group]);
      write(folder / "cpu.stat", (group == strange_ ? "user_usec " : "usage_usec ") +
                                     std::to_string(usage / 1us) + "\n");
    }
  }
  void write(const fs::path& file, const std::string& text) {
    if (std::exchange(written_[file], text) != text) writeFile(file, text);
  }

  fs::path makeProc() const {
    fs::create_directory(home_.path() / "proc");
    fs::create_symlink(std::to_string(::getpid()), home_.path() / "proc/self");
    fs::create_directory_symlink("files", home_.path() / "proc/7");
    return home_.path() / "proc";
  }

  TemporaryHome home_;
  std::map<int, std::chrono::milliseconds> clocks_ = {{kWatched, 1000ms}};
  std::map<int, std::string> groupOf_ = {{kWatched, "a"}};
  std::map<std::string, std::chrono::milliseconds> usage_;
  std::map<fs::path, std::string> written_;
  std::string strange_ = "none";

 public:
  std::set<int> asked;  // whose clocks the latest sweep read
  ProcessSweep processes{makeProc(), home_.path() / "groups", [this](std::int32_t pid) {
                           asked.insert(pid);
                           return std::optional<std::chrono::nanoseconds>(clocks_.at(pid));
                         }};
};

TEST(ControlGroups, TellWhatAProcessUsedWhereverItGoes) {
  const struct {
    const char* what;
    std::vector<std::string> happenings;  // between sweeps
    std::vector<long> used;
  } cases[] = {
      {"runs now and then", {"", "300", "", "50", "50"}, {0, 300, 0, 50, 50}},
      {"is moved and runs", {"b 300", "", "200", "a 100", "10"}, {300, 0, 200, 100, 10}},
      {"runs and is moved: missed", {"300 b", "", "200"}, {0, 0, 200}},
      {"is moved in its sleep", {"b", "", "70"}, {0, 0, 70}},
      {"is moved to a threaded group", {"b/t 300", "40", ""}, {300, 40, 0}},
      {"there and back: missed, but not added later", {"b 300 a", "", "70"}, {0, 0, 70}},
      {"there and back, and on", {"b 300 a", "b 400 a", "900"}, {0, 0, 900}},
      {"another gets its id", {"new 20", "", "30"}, {20, 0, 30}},
      {"another gets its id elsewhere", {"new b 20", "", "30"}, {20, 0, 30}},
      {"another gets its id in a group that came", {"new c 20", "30", ""}, {20, 30, 0}},
      {"its group tells nothing", {"?", "70", "b 30", ""}, {0, 70, 30, 0}},
  };
  for (const auto& [what, happenings, used] : cases) {
    MadeMachine machine;
    EXPECT_FALSE(machine.asked.contains(kWatched)) << what;
    std::vector<long> seen;
    for (const std::string& words : happenings) {
      machine.happen(words);
      seen.push_back(machine.sweep());
    }
    EXPECT_EQ(seen, used) << what;
  }
}

TEST(ControlGroups, NoticeWithinEightSweepsWhoWentWhereTheyDoNotLook) {
  for (const char* const group : {"/", "came", "came/t"}) {
    for (int phase = 0; phase < 8; phase += 3) {
      MadeMachine machine;
      for (int i = 0; i < phase; ++i) machine.sweep();
      machine.happen(group);
      for (int i = 1; i <= 12; ++i) {
        machine.happen("300");
        const long used = machine.sweep();
        EXPECT_TRUE(used == 300 || (used == 0 && i <= 8)) << group << phase << " " << used;
      }
      for (int i = 0; i < 9; ++i) machine.sweep();
      EXPECT_EQ(machine.asked.contains(kWatched), group == std::string("/")) << group;
    }
  }
}

TEST(ControlGroups, AreLookedAtOnlyWhereThatPays) {
  EXPECT_TRUE(MadeMachine(998, 10).asked.contains(1001)) << "few processes";
  EXPECT_TRUE(MadeMachine(1023, 127).asked.contains(1001)) << "more groups than an eighth";
  MadeMachine machine(1023, 2);
  const auto look = [&](int busy) {
    for (int pid = 1001; pid < 1001 + busy; ++pid) machine.burn(pid, 1ms);
    machine.sweep();
    return machine.asked.size();
  };
  EXPECT_LT(look(0), 10U) << "those whose stat it is time to read";
  EXPECT_GE(look(2), 1023U) << "a moment in which all run";
  EXPECT_LT(look(0), 10U);
  for (int i = 0; i < 2; ++i) look(2);
  machine.happen("70");
  look(2);
  EXPECT_EQ(machine.processes.find(kWatched)->used, 70ms) << "given up";
  EXPECT_EQ(look(0), 1024U);
  for (int i = 0; i < 66; ++i) look(0);
  EXPECT_LT(look(0), 10U) << "tried again";
  machine.processes.closeKept();
  EXPECT_EQ(look(0), 1024U);
}

TEST(ControlGroups, LeaveTheTurnsOfSleepersAlone) {
  MadeMachine machine;
  machine.begin(100, "20");
  int sweeps = 0;
  while (machine.processes.find(kWatched)->residentPages != 20 && ++sweeps < 256) machine.sweep();
  EXPECT_LT(sweeps, 256);
  EXPECT_FALSE(machine.processes.find(kWatched)->ran);
}

// Real groups, with processes that sleep and one that runs 30 ms whenever it is continued.
class RealGroups {
 public:
  RealGroups() {
    std::error_code error;
    if (tree.empty() || !fs::create_directory(own, error)) return;
    const std::string line = contentsOf("/proc/self/cgroup");  // "0::/path" is ours
    const auto path = line.find("0::") + 3;
    const fs::path before = tree + line.substr(path, line.find('\n', path) - path);
    for (const char* const group : {"1", "2"}) {
      fs::create_directory(own / group);
      if (!enter(::getpid(), own / group)) return;
      for (int i = 0; i < 550; ++i) start([] { ::pause(); });
    }
    worker = start([] {
      for (const auto clock = processorClocks();; ::raise(SIGSTOP)) {
        const auto end = clock(::getpid()).value_or(0ns) + 30ms;
        while (clock(::getpid()) < end) continue;
      }
    });
    areThere = enter(::getpid(), before);
  }
  ~RealGroups() {
    for (const pid_t pid : pids_) ::kill(pid, SIGKILL);
    for (const pid_t pid : pids_) ::waitpid(pid, nullptr, 0);
    for (const char* const group : {"2/threads", "1", "2", "came", ""})
      ::rmdir((own / group).c_str());
  }
  RealGroups(const RealGroups&) = delete;
  RealGroups& operator=(const RealGroups&) = delete;

  static bool enter(pid_t pid, const fs::path& group) {
    std::ofstream file(group / "cgroup.procs");
    return (file << pid).flush().good();
  }

  const std::string tree = controlGroupTree();
  const fs::path own = fs::path(tree) / ("tarvel-test-" + std::to_string(::getpid()));
  pid_t worker = 0;
  bool areThere = false;

 private:
  pid_t start(void (*work)()) {
    pids_.push_back(::fork());
    if (pids_.back() != 0) return pids_.back();
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    work();
    ::_exit(0);
  }

  std::vector<pid_t> pids_;
};

TEST(ControlGroupsOnThisMachine, TellWhatTheClocksTell) {
  RealGroups groups;
  if (!groups.areThere) GTEST_SKIP() << "no control groups of version 2, or no right to make some";
  bool wasAsked = true;
  const auto clocks = processorClocks();
  ProcessSweep sweep("/proc", groups.tree, [&](std::int32_t pid) {
    wasAsked = wasAsked || pid == groups.worker;
    return clocks(pid);
  });
  ::waitpid(groups.worker, nullptr, WUNTRACED);
  for (int i = 0; i < 300 && std::exchange(wasAsked, false); ++i) sweep.run(1s);
  if (wasAsked) GTEST_SKIP() << "too much else is going on here";

  const struct {
    fs::path group;
    int sweeps;  // until it is noticed there, at most
  } moves[] = {{"1", 1}, {"came", 9}, {"2", 1}, {"2/threads", 1}, {groups.tree, 9}, {"1", 1}};
  for (const auto& [group, sweeps] : moves) {
    fs::create_directory(groups.own / group);
    writeFile(groups.own / "2/threads/cgroup.type", "threaded");
    ASSERT_TRUE(groups.enter(groups.worker, groups.own / group)) << group;
    ::rmdir((groups.own / "came").c_str());  // where nobody is in it any more
    std::chrono::nanoseconds used = 0ns;
    std::chrono::nanoseconds told = 0ns;
    for (int left = sweeps; left > 0 && told < 1ms; --left) {
      const auto before = clocks(groups.worker);
      ::kill(groups.worker, SIGCONT);
      ::waitpid(groups.worker, nullptr, WUNTRACED);
      used = *clocks(groups.worker) - *before;
      sweep.run(1s);
      told = sweep.find(groups.worker)->used;
    }
    EXPECT_GT(used, 29ms) << group;
    EXPECT_LT(std::chrono::abs(told - used), 1ms) << group;
  }
}

}  // namespace
}  // namespace tarvel
