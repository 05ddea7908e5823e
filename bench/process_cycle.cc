// process_cycle [PROCESSES…]
// process_cycle --cycles COUNT PROCESSES
//
// For each number (2000) of sleeping processes that it starts, beside ten that burn about one
// percent of a core: the processor time of a whole cycle with all three process panels on (one look
// at all processes, lines, records, archives, writing to the store), against the second sample of
// `top -b -n 2 -d 1`, which is what two samples cost more than one. Medians of eleven cycles and of
// five runs of each `top`. Then the same cycles by step, and what no look can do without: the
// processor clock of every process, read once more after each cycle.
//
// --cycles leaves `top` out and takes so many cycles one after another, for counting system calls.

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"
#include "platform/linux/processes/process_table.h"
#include "process/process_usage.h"
#include "programs/helper/process_lists.h"

namespace tarvel {
namespace {

constexpr int kBurners = 10;

double milliseconds(const rusage& usage) {
  const auto of = [](const timeval& time) {
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
  };
  return of(usage.ru_utime) + of(usage.ru_stime);
}

double ownTime() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return milliseconds(usage);
}

// The time that the action takes.
template <typename Action>
double timeOf(Action action) {
  const double start = ownTime();
  action();
  return ownTime() - start;
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

long residentKiB() {
  long pages = 0;
  if (std::FILE* const file = std::fopen("/proc/self/statm", "re")) {
    if (std::fscanf(file, "%*d %ld", &pages) != 1) pages = 0;  // NOLINT(cert-err34-c)
    std::fclose(file);
  }
  return pages * ::sysconf(_SC_PAGESIZE) / 1024;
}

// Processes that sleep or burn until the object ends.
class Crowd {
 public:
  explicit Crowd(int sleepers) {
    for (int i = 0; i < sleepers + kBurners; ++i) {
      const pid_t pid = ::fork();
      if (pid == 0) live(i >= sleepers);
      if (pid < 0) {
        std::perror("fork");
        break;
      }
      pids_.push_back(pid);
    }
  }
  ~Crowd() {
    for (const pid_t pid : pids_) ::kill(pid, SIGKILL);
    for (const pid_t pid : pids_) ::waitpid(pid, nullptr, 0);
  }
  const std::vector<pid_t>& pids() const { return pids_; }

  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

 private:
  [[noreturn]] static void live(bool burns) {
    using namespace std::chrono_literals;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
      if (!burns) {
        ::pause();
        continue;
      }
      const auto end = std::chrono::steady_clock::now() + 500us;
      while (std::chrono::steady_clock::now() < end) continue;
      std::this_thread::sleep_for(50ms);
    }
  }

  std::vector<pid_t> pids_;
};

// The helper's road of the three process panels.
class Cycle {
 public:
  Cycle()
      : log_(makeSystemLog()),
        store_("org.tarvel.bench", *log_),
        archiver_(makeKeyedArchiver()),
        table_(processListCommands()) {}

  enum Step { kLook, kLines, kRecords, kStore, kSteps };
  using Times = std::array<double, kSteps>;

  // Milliseconds of each step.
  Times run() {
    Times times{};
    publish(kCPUSampler, "CPUAppUsage", times, kLook);
    publish(kMemorySampler, "MEMAppUsage", times, kLines);
    publish(kEnergySampler, "EnergyAppUsage", times, kLines);
    return times;
  }

 private:
  // The first list of a cycle looks at all processes.
  void publish(const ProcessSampler& sampler, std::string_view key, Times& times, Step first) {
    std::string output;
    times[first] +=
        timeOf([&] { output = table_.answer(std::string(sampler.command)).value_or(""); });
    const auto icon = [](std::int32_t, const std::string&) { return std::string("icon.tiff"); };
    Array records;
    times[kRecords] += timeOf([&] {
      for (std::string& record : processRecords(output, sampler, icon)) {
        records.emplace_back(std::move(record));
      }
    });
    times[kStore] +=
        timeOf([&] { store_.set(key, archiver_->archivedDataWithRootObject(records)); });
  }

  std::unique_ptr<SystemLog> log_;
  DefaultsStore store_;
  std::unique_ptr<KeyedArchiver> archiver_;
  ProcessTable table_;
};

double topTime(const char* samples) {
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  std::string words[] = {"top", "-b", "-n", samples, "-d", "1"};
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t pid = 0;
  const int error = ::posix_spawnp(&pid, "top", &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  rusage usage{};
  int status = 0;
  if (error != 0 || ::wait4(pid, &status, 0, &usage) != pid || status != 0) return -1;
  return milliseconds(usage);
}

void measure(int sleepers) {
  using namespace std::chrono_literals;
  const Crowd crowd(sleepers);
  std::this_thread::sleep_for(1s);
  const long before = residentKiB();
  Cycle cycle;
  cycle.run();
  std::vector<double> own;
  std::array<std::vector<double>, Cycle::kSteps> steps;
  std::vector<double> clocks;
  const auto pids = crowd.pids();
  for (int i = 0; i < 11; ++i) {
    std::this_thread::sleep_for(1s);
    Cycle::Times times{};
    own.push_back(timeOf([&] { times = cycle.run(); }));
    for (std::size_t step = 0; step < times.size(); ++step) steps[step].push_back(times[step]);
    clocks.push_back(timeOf([&, clock = processorClocks()] {
      for (const pid_t pid : pids) static_cast<void>(clock(pid));
    }));
  }
  std::vector<double> one;
  std::vector<double> two;
  for (int i = 0; i < 5; ++i) {
    one.push_back(topTime("1"));
    two.push_back(topTime("2"));
  }
  const double second = median(two) - median(one);
  std::printf("%9d  %6.2f %6.2f %6.2f  %11.2f  %5.3f  %8ld %8ld\n", sleepers,
              *std::ranges::min_element(own), median(own), *std::ranges::max_element(own), second,
              median(own) / second, before, residentKiB());
  std::printf(
      "           look and processor list %.2f (clocks alone %.2f), other lists %.2f, "
      "records %.2f, archives and store %.2f\n",
      median(steps[Cycle::kLook]), median(clocks), median(steps[Cycle::kLines]),
      median(steps[Cycle::kRecords]), median(steps[Cycle::kStore]));
  std::fflush(stdout);
}

void takeCycles(int count, int sleepers) {
  using namespace std::chrono_literals;
  const Crowd crowd(sleepers);
  Cycle cycle;
  cycle.run();
  for (; count > 0; --count) {
    std::this_thread::sleep_for(600ms);
    cycle.run();
  }
}

int run(std::vector<std::string> arguments) {
  if (arguments.empty()) arguments.emplace_back("2000");
  const bool onlyCycles = arguments.size() == 3 && arguments[0] == "--cycles";
  std::string home = (std::filesystem::temp_directory_path() / "tarvel-bench-XXXXXX").string();
  if (::mkdtemp(home.data()) == nullptr) return 1;
  ::setenv("XDG_DATA_HOME", home.c_str(), 1);
  if (onlyCycles) {
    takeCycles(std::atoi(arguments[1].c_str()), std::atoi(arguments[2].c_str()));
  } else {
    std::puts("processor time in ms of a cycle (min, median, max) and of top's second sample;");
    std::puts("resident KiB before and after\n");
    std::puts(" sleeping     min median    max  top, second  ratio    before    after");
    for (const std::string& number : arguments) measure(std::atoi(number.c_str()));
  }
  std::filesystem::remove_all(home);
  return 0;
}

}  // namespace
}  // namespace tarvel

int main(int count, char** arguments) { return tarvel::run({arguments + 1, arguments + count}); }
