#include "platform/linux/processes/process_table.h"

#include <future>
#include <map>
#include <thread>

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/linux/bounded_work.h"
#include "platform/linux/processes/process_lines.h"
#include "platform/linux/processes/process_text.h"
#include "tests/temporary_home.h"
#include "tests/worker_process.h"

using namespace std::chrono_literals;
using namespace std::string_literals;

namespace tarvel {
namespace {

struct FakeProcess {
  std::string name = "sleep";
  std::chrono::milliseconds used{1000};
  std::uint64_t start = 100;
  int pages = 0;
  int threads = 1;
  unsigned flags = 0;
};

std::string statOf(int pid, const FakeProcess& process) {
  const auto number = [](auto value) { return " " + std::to_string(value); };
  return std::to_string(pid) + " (" + process.name + ") S 1 1 1 0 -1" + number(process.flags) +
         " 9 9 9 9" + number(process.used.count() / 10) + " 0 7 7 20 0" + number(process.threads) +
         " 0" + number(process.start) + " 4096" + number(process.pages) + " 18446744073709551615\n";
}

// A /proc of a test's own, with a clock that it moves.
class ProcessTableTest : public testing::Test {
 protected:
  void put(int pid, const FakeProcess& process) {
    clocks[pid] = process.used;
    file(pid, "stat", statOf(pid, process));
  }
  void file(int pid, const std::string& name, const std::string& text) const {
    std::filesystem::create_directory(home.path() / std::to_string(pid));
    writeFile(home.path() / std::to_string(pid) / name, text);
  }
  void remove(int pid) const { std::filesystem::remove_all(home.path() / std::to_string(pid)); }

  ProcessTable table() {
    return ProcessTable({{"cpu command", ProcessListKind::cpu, 2}}, home.path(),
                        {[this] { return now; },
                         [this](std::chrono::nanoseconds time) {
                           ++sleeps;
                           now += time;
                           if (whileAsleep) whileAsleep();
                         },
                         [this](std::int32_t pid) -> std::optional<std::chrono::nanoseconds> {
                           if (!hasClocks || !clocks.contains(pid)) return std::nullopt;
                           return clocks[pid];
                         }});
  }

  TemporaryHome home;
  std::chrono::nanoseconds now{5000s};
  int sleeps = 0;
  bool hasClocks = true;
  std::map<std::int32_t, std::chrono::nanoseconds> clocks;
  std::function<void()> whileAsleep;
};

std::string cpuLine(int pid, const std::string& name, const std::string& load) {
  return "<pid>" + std::to_string(pid) + "</pid><name>" + name + "</name><cpu>" + load +
         "</cpu></item>\n";
}

TEST(ProcessLines, SpellNamesAndSizes) {
  const struct {
    std::string name, text;
  } names[] = {{"bash", "bash  "},
               {"a b", "a b "},
               {"  a \t b  c d ", "a ? b"},
               {"", "  "},
               {"<pid>1</pid>", "?pid?1?/pid?  "},
               {"a\nb\x1b", "a?b?  "},
               {"x\xff\xc3", "x??  "},
               {"Grüße 漢字", "Grüße 漢字 "}};
  for (const auto& [name, text] : names) EXPECT_EQ(nameText(name), text);
  const struct {
    std::uint64_t kibibytes;
    const char* text;
  } sizes[] = {{0, "0K"},           {10239, "10239K"},   {10240, "10M"},
               {10751, "10M"},      {10752, "11M"},      {10485759, "10240M"},
               {10485760, "10.0G"}, {12582912, "12.0G"}, {107374182, "102.4G"}};
  for (const auto& [kibibytes, text] : sizes) EXPECT_EQ(memoryText(kibibytes), text);
}

TEST(ProcessText, TakesStatApartWhateverTheName) {
  for (const auto* const name : {"bash", "", ")", "a) S 1 (b", "x y\nz", "\xff"}) {
    const FakeProcess process = {name, 1230ms, 77, 325, 4, 0x00200000};
    const std::string text = statOf(12, process);
    const auto stat = parseStat(text).value_or(ProcessStat());
    EXPECT_EQ(stat.name, name);
    EXPECT_EQ(stat.ticks, 123U);
    EXPECT_EQ(stat.startTime, 77U);
    EXPECT_EQ(stat.residentPages, 325);
    EXPECT_EQ(stat.threads, 4);
    EXPECT_TRUE(stat.isKernelThread);
  }
  const std::string whole = statOf(12, {});
  for (std::size_t size = 0; size < whole.find(" 4096"); ++size) {
    EXPECT_FALSE(parseStat(whole.substr(0, size))) << size;
  }
  EXPECT_FALSE(parseStat("12 ) S ( 1"));
}

template <typename Number>
std::string shown(const std::optional<Number>& number) {
  return number ? std::to_string(*number) : "none";
}

std::string shown(const std::optional<ProcessStatus>& status) {
  return status ? std::to_string(status->user) + " " + std::to_string(status->swapKiB) : "none";
}

TEST(ProcessText, ReadsTheOtherFiles) {
  EXPECT_EQ(shown(parseResidentPages("10510 3258 1616 1 0 5 0\n")), "3258");
  EXPECT_EQ(shown(parseDiskBytes("rchar: 9\nread_bytes: 4096\nwrite_bytes: 8192\n"
                                 "cancelled_write_bytes: 5\n")),
            "12288");
  EXPECT_EQ(shown(parseStatus("Name:\tUid: 5\nUid:\t1000\t1001\t7\t7\nVmSwap:\t  212 kB\n")),
            "1001 212");
  EXPECT_EQ(parseGroupUsage("usage_usec 9223372036854775\nuser_usec 5\n"), 9223372036854775us);
  for (const auto* const none : {"usage_usec -1", "usage_usec 9223372036854776", "usage_usec 1x"}) {
    EXPECT_FALSE(parseGroupUsage(none)) << none;
  }
  for (const auto* const none : {"", "\n", "read_bytes: x", "Uid:", "1"}) {
    EXPECT_EQ(shown(parseResidentPages(none)), "none");
    EXPECT_EQ(shown(parseDiskBytes(none)) + shown(parseStatus(none)), "nonenone");
  }
  const std::string swaps = "Filename\tType\tSize\tUsed\tPriority\n/dev/a partition 100 0 -2\n";
  EXPECT_FALSE(isSwapInUse(swaps));
  EXPECT_TRUE(isSwapInUse(swaps + "/dev/b partition 100 3 -3\n"));
  EXPECT_FALSE(isSwapInUse("\n\n"));
}

TEST_F(ProcessTableTest, ShowsLoadSinceTheSampleBefore) {
  put(10, {"busy"});
  put(9, {"idle"});
  put(8, {"ended"});
  auto processes = table();
  whileAsleep = [&] {
    EXPECT_EQ(processes.program(8), (ProgramRun{100, "ended"}))
        << "asking does not wait for the second look";
    put(10, {"busy", 1000ms + 505ms});  // in a quarter of a second, by two threads and more
    put(11, {"came", 250ms, 900});
    put(12, {"was hidden", 3600s, 5});
    put(9, {"given anew", 20ms, 901});
    remove(8);
  };
  EXPECT_EQ(processes.lines(ProcessListKind::cpu, 30),
            cpuLine(10, "busy  ", "202.0") + cpuLine(11, "came  ", "100.0") +
                cpuLine(9, "given anew ", "8.0") + cpuLine(12, "was hidden ", "0.0"));
  EXPECT_EQ(processes.answer("cpu command"), processes.lines(ProcessListKind::cpu, 2));
  EXPECT_FALSE(processes.answer("cpu command "));
  EXPECT_EQ(processes.program(9), (ProgramRun{901, "given anew"}));
  EXPECT_FALSE(processes.program(8));
}

TEST_F(ProcessTableTest, LooksAsSeldomAsItMay) {
  put(1, {"a", 1000ms});
  auto processes = table();
  const auto load = [&] { return processes.lines(ProcessListKind::cpu, 1); };
  EXPECT_EQ(load(), cpuLine(1, "a  ", "0.0"));
  EXPECT_EQ(sleeps, 1) << "two looks at first";
  put(1, {"a", 1300ms});
  now += 499ms;
  EXPECT_EQ(load(), cpuLine(1, "a  ", "0.0")) << "the same look again";
  now += 2501ms;
  EXPECT_EQ(load(), cpuLine(1, "a  ", "10.0")) << "0.3 s in 3 s";
  now += 10s;
  put(1, {"a", 2300ms});
  EXPECT_EQ(load(), cpuLine(1, "a  ", "10.0")) << "1 s in 10 s";
  EXPECT_EQ(sleeps, 1);
  now += 10001ms;
  put(1, {"a", 9000ms});
  EXPECT_EQ(load(), cpuLine(1, "a  ", "0.0"));
  EXPECT_EQ(sleeps, 2) << "the look before is too old";
}

TEST_F(ProcessTableTest, ReadsOnlyWhatRan) {
  put(1, {"a", 1000ms, 100, 100});
  auto processes = table();
  processes.lines(ProcessListKind::cpu, 1);
  file(1, "stat", statOf(1, {"b"}));
  now += 1s;
  EXPECT_EQ(processes.lines(ProcessListKind::cpu, 1), cpuLine(1, "a  ", "0.0"));
  clocks[1] += 10ms;
  now += 1s;
  EXPECT_EQ(processes.lines(ProcessListKind::cpu, 1), cpuLine(1, "b  ", "1.0"));
}

TEST_F(ProcessTableTest, KeepsNoFileOpenWhenNobodyAsks) {
  const auto open = [&] {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      const auto file = std::filesystem::read_symlink(entry, gone);
      if (file.parent_path() == home.path() / "1") ++count;
    }
    return count;
  };
  auto processes = table();
  const auto run = [&](std::chrono::milliseconds used) {
    put(1, {"a", used, 100, 100});
    file(1, "statm", "100 100 0 0 0 0 0\n");
    file(1, "io", "read_bytes: 0\nwrite_bytes: 0\n");
    now += 1s;
    processes.lines(ProcessListKind::memory, 1);
    processes.lines(ProcessListKind::energy, 1);
    return processes.lines(ProcessListKind::cpu, 1);
  };
  for (int second = 1; second <= 4; ++second) run(second * 100ms);
  EXPECT_EQ(open(), 3) << "stat, statm and io";
  now += 10s;
  EXPECT_FALSE(processes.rest());
  EXPECT_EQ(open(), 3) << "the look serves as the first of two";
  now += 1ns;
  EXPECT_TRUE(processes.rest());
  EXPECT_FALSE(processes.rest()) << "told once";
  EXPECT_EQ(open(), 0);
  run(1000ms);
  EXPECT_EQ(run(1200ms), cpuLine(1, "a  ", "20.0"));
}

TEST_F(ProcessTableTest, WorksWithoutProcessorClocks) {
  hasClocks = false;
  put(1, {"a"});
  auto processes = table();
  whileAsleep = [&] { put(1, {"b", 1100ms}); };
  EXPECT_EQ(processes.lines(ProcessListKind::cpu, 1), cpuLine(1, "b  ", "40.0"));
}

TEST_F(ProcessTableTest, LeavesOutWhatCannotBeRead) {
  put(7, {"a"});
  put(3, {"b"});
  file(4, "stat", "");
  file(5, "other", "");
  file(6, "stat", "6 (cut) S 1");
  std::filesystem::create_directory(home.path() / "12x");
  std::filesystem::create_directory(home.path() / "99999999999999");
  EXPECT_EQ(table().lines(ProcessListKind::cpu, 30),
            cpuLine(3, "b  ", "0.0") + cpuLine(7, "a  ", "0.0"));
  std::filesystem::remove_all(home.path());
  EXPECT_EQ(table().lines(ProcessListKind::memory, 30), "");
}

TEST_F(ProcessTableTest, RanksMemoryByExactFigures) {
  const auto line = [](const std::string& pid, const std::string& memory, const std::string& swap) {
    return "<pid>" + pid + "</pid><name>sleep  </name><mem>" + memory + "</mem><cmprs>" + swap +
           "</cmprs></item>\n";
  };
  const std::int64_t pageKiB = ::sysconf(_SC_PAGESIZE) / 1024;
  const auto kilo = [&](std::int64_t pages) { return std::to_string(pages * pageKiB) + "K"; };
  put(1, {.pages = 100});
  put(2, {.pages = 90});
  put(3, {.pages = 80});
  put(4, {});
  file(2, "statm", "500 120 0 0 0 0 0");
  file(3, "statm", "500 99 0 0 0 0 0");
  file(3, "status", "Uid:\t0\t0\t0\t0\nVmSwap:\t11 kB\n");
  auto processes = table();
  EXPECT_EQ(processes.lines(ProcessListKind::memory, 3),
            line("2", kilo(120), "0K") + line("1", kilo(100), "0K") + line("3", kilo(99), "0K"));
  writeFile(home.path() / "swaps", "Filename Type Size Used Priority\n/dev/a partition 9 1 0\n");
  file(3, "statm", "500 130 0 0 0 0 0");
  clocks[3] += 1ms;
  now += 3s;
  EXPECT_EQ(processes.lines(ProcessListKind::memory, 3),
            line("3", kilo(130), "11K") + line("2", kilo(120), "0K") + line("1", kilo(100), "0K"));
  file(2, "statm", "500 20 0 0 0 0 0");
  for (int sweep = 0; sweep < 4; ++sweep) {
    now += 3s;
    processes.lines(ProcessListKind::memory, 2);
  }
  EXPECT_EQ(processes.lines(ProcessListKind::memory, 2),
            line("3", kilo(130), "11K") + line("1", kilo(100), "0K"))
      << "it was paged out, though it has not run";
}

TEST_F(ProcessTableTest, FindsWhatCameByTheIdsThatWereGiven) {
  std::filesystem::create_symlink(std::to_string(::getpid()), home.path() / "self");
  const auto given = [&](int last) {
    writeFile(home.path() / "loadavg", "0.09 0.12 0.05 1/88 " + std::to_string(last) + "\n");
  };
  for (const int pid : {5, 6, 7, 8, 9}) put(pid, {"old"});
  given(9);
  auto processes = table();
  const auto shown = [&](int pid) {
    now += 3s;
    processes.lines(ProcessListKind::cpu, 1);
    const auto run = processes.program(pid);
    return run ? run->name : "";
  };
  shown(9);
  put(10, {"new"});
  put(11, {"thread"});
  clocks.erase(11);
  put(3, {"unannounced"});
  given(11);
  EXPECT_EQ(shown(10), "new");
  EXPECT_FALSE(processes.program(11)) << "threads have no clock of a process";
  EXPECT_FALSE(processes.program(3));
  put(11, {"late"});
  remove(8);
  clocks.erase(8);
  EXPECT_EQ(shown(11), "late") << "its id was given before it could be found";
  EXPECT_FALSE(processes.program(8));
  put(4, {"wrapped"});
  given(4);
  EXPECT_EQ(shown(4), "wrapped") << "ids began anew";
  put(2000, {"many"});
  given(2000);
  EXPECT_EQ(shown(2000), "many") << "more than are known";
  put(1, {"restored"});
  for (int sweep = 0; sweep < 8 && !processes.program(1); ++sweep) shown(1);
  EXPECT_TRUE(processes.program(1)) << "listed every eighth time";
}

TEST_F(ProcessTableTest, WeighsTrafficIntoTheEnergyImpact) {
  const auto line = [](int pid, const std::string& power, const std::string& user) {
    return "<pid>" + std::to_string(pid) + "</pid><name>sleep  </name><power>" + power +
           "</power><user>" + user + "</user></item>\n";
  };
  std::map<int, std::chrono::milliseconds> used = {{1, 1000ms}, {2, 1000ms}};
  const auto run = [&](std::chrono::milliseconds time, std::uint64_t bytes) {
    for (const int pid : {1, 2}) put(pid, {.used = used[pid] += time});
    file(2, "io", "read_bytes: " + std::to_string(bytes) + "\nwrite_bytes: 1000000\n");
    now += 1s;
  };
  put(1, {});
  put(2, {});
  put(3, {});
  file(1, "status", "Uid:\t0\t0\t0\t0\n");
  file(2, "status", "Uid:\t0\t4000000001\t0\t0\n");
  auto processes = table();
  const auto list = [&] { return processes.lines(ProcessListKind::energy, 50); };
  EXPECT_EQ(list(), line(1, "0.0", "root") + line(2, "0.0", "4000000001") + line(3, "0.0", "?"));
  run(10ms, 5000000);
  EXPECT_EQ(list(), line(1, "1.0", "root") + line(2, "1.0", "4000000001") + line(3, "0.0", "?"));
  run(10ms, 55000000);  // 50 MB: 5.0
  EXPECT_EQ(list(), line(2, "6.0", "4000000001") + line(1, "1.0", "root") + line(3, "0.0", "?"));
  run(0ms, 99000000);  // nothing can have happened
  EXPECT_EQ(list(), line(1, "0.0", "root") + line(2, "0.0", "4000000001") + line(3, "0.0", "?"));
}

TEST(BoundedLooks, LeaveWhatHangsAndCountIt) {
  BoundedLooks looks("test", 20ms, 2);
  std::promise<void> answer;
  const auto hang = [end = answer.get_future().share()] { end.wait(); };
  const auto nothing = [] {};
  EXPECT_EQ(looks.run("a", nothing), BoundedOutcome::finished);
  EXPECT_EQ(looks.run("a", hang), BoundedOutcome::goesOn);
  EXPECT_EQ(looks.run("a", nothing), BoundedOutcome::goesOn) << "of the same key";
  EXPECT_EQ(looks.run("b", nothing), BoundedOutcome::finished);
  EXPECT_EQ(looks.run("b", hang), BoundedOutcome::goesOn);
  EXPECT_EQ(looks.run("c", nothing), BoundedOutcome::notStarted) << "too many";
  answer.set_value();
  auto outcome = BoundedOutcome::goesOn;
  for (int i = 0; i < 1000 && outcome != BoundedOutcome::finished; ++i) {
    std::this_thread::sleep_for(1ms);
    outcome = looks.run("a", nothing);
  }
  EXPECT_EQ(outcome, BoundedOutcome::finished) << "tried again";
}

TEST(ProcessTableOnThisMachine, TakesNoThreadForAProcess) {
  std::chrono::nanoseconds now = 1s;
  ProcessTable processes({}, "/proc", {[&] { return now += 1s; }, [](auto) {}, processorClocks()});
  for (int look = 0; look < 20; ++look) {
    std::thread([&] {
      processes.lines(ProcessListKind::cpu, 1);
      EXPECT_FALSE(processes.program(::gettid())) << look;
      EXPECT_TRUE(processes.program(::getpid()));
    }).join();
  }
}

TEST(ProcessTableOnThisMachine, ListsOneselfWhateverOneIsCalled) {
  const TemporaryHome home;
  WorkerProcess sleeper({"register", "org.tarvel.sleeper"});
  ASSERT_EQ(sleeper.line(), "1");
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  for (const rlim_t files : {rlim_t{40}, limit.rlim_cur}) {
    const rlimit few{files, limit.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    ProcessTable processes({}, "/proc", {monotonicTime, [](auto) {}, processorClocks()});
    ::prctl(PR_SET_NAME, "a )\n<b>");
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (const auto kind :
         {ProcessListKind::cpu, ProcessListKind::memory, ProcessListKind::energy}) {
      threads.emplace_back([&processes, kind] {
        const std::string text = processes.lines(kind, 100000);
        const std::string own =
            "<pid>" + std::to_string(::getpid()) + "</pid><name>a )??b? </name>";
        EXPECT_NE(text.find(own), std::string::npos) << text;
        EXPECT_NE(text.find("<name>host_worker  </name>"), std::string::npos);
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(processes.program(::getpid()));
  }
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace
}  // namespace tarvel
