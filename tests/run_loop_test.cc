#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <variant>

#include <gtest/gtest.h>
#include <pthread.h>

#include "app/app_delegate.h"
#include "platform/host/container/group_container.h"
#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"
#include "platform/linux/linux_run_loop.h"
#include "platform/recorded/machine.h"
#include "platform/recorded/recorded_platform.h"
#include "product/identifiers.h"
#include "product/store_keys.h"
#include "tests/temporary_home.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

bool within(std::chrono::seconds limit, const std::function<bool()>& condition) {
  const auto until = Clock::now() + limit;
  while (!condition() && Clock::now() < until) std::this_thread::sleep_for(5ms);
  return condition();
}

// Runs the work as an application's launching and ends when it says so.
class Application : public ApplicationDelegate {
 public:
  explicit Application(std::function<void()> work) : work_(std::move(work)) {}
  void applicationDidFinishLaunching() override { work_(); }
  void applicationWillTerminate() override {}

 private:
  std::function<void()> work_;
};

// A main thread of its own, whose signals are not the test program's.
template <typename Work>
void asMainThread(Work work) {
  std::thread([&] { work(*makeLinuxRunLoop()); }).join();
}

// The loop runs meanwhile, and ends after the work.
template <typename Work>
void besideTheLoop(Work work) {
  asMainThread([&](LinuxRunLoop& loop) {
    Application application([] {});
    std::thread other([&] {
      work(loop);
      loop.performSelectorOnMainThread([&] { loop.terminate(); });
    });
    loop.run(application);
    other.join();
  });
}

TEST(LinuxRunLoop, LetsTwoRunsOfAnOperationBeOutstanding) {
  std::atomic<int> hanging = 0;
  std::atomic<int> ended = 0;
  std::atomic<bool> release = false;
  const auto hang = [&] {
    ++hanging;
    while (!release) std::this_thread::sleep_for(1ms);
    ++ended;
  };
  besideTheLoop([&](LinuxRunLoop& loop) {
    for (int i = 0; i < 5; ++i) loop.performSelectorInBackground("list", hang);
    loop.performSelectorInBackground("other", hang);
    EXPECT_TRUE(within(5s, [&] { return hanging == 3; }));
    release = true;
    EXPECT_TRUE(within(5s, [&] { return ended == 3; }));
    std::this_thread::sleep_for(20ms);  // their ends are noted after the work
    loop.performSelectorInBackground("list", hang);
    EXPECT_TRUE(within(5s, [&] { return ended == 4; })) << "the ended ones make place";
  });
  EXPECT_EQ(hanging, 4);
}

// Each round's operations end only when all of them run, beside one that hangs all the time; what
// comes after them finds threads that are free.
TEST(LinuxRunLoop, LetsNoOperationWaitForOneThatHangs) {
  std::atomic<bool> release = false;
  std::atomic<bool> hasHung = false;
  besideTheLoop([&](LinuxRunLoop& loop) {
    loop.performSelectorInBackground("hangs", [&] {
      while (!release) std::this_thread::sleep_for(1ms);
      hasHung = true;
    });
    for (int round = 1; round <= 10; ++round) {
      std::atomic<int> begun = 0;
      std::atomic<int> met = 0;
      const auto meet = [&] {
        ++begun;
        if (within(5s, [&] { return begun == 3; })) ++met;
      };
      for (const auto* const name : {"a", "b", "c"}) loop.performSelectorInBackground(name, meet);
      EXPECT_TRUE(within(6s, [&] { return met == 3; })) << round;
    }
    release = true;
    EXPECT_TRUE(within(5s, [&] { return hasHung.load(); }));
  });
}

TEST(LinuxRunLoop, RunsWhatIsDueBeforeTheCycle) {
  asMainThread([](LinuxRunLoop& loop) {
    std::string order;
    Application application([&] {
      loop.scheduledTimer(2ms, [&] {
        order += "cycle";
        loop.terminate();
      });
      loop.dispatchAfter(4ms, [&] { order += "due "; });
      std::this_thread::sleep_for(10ms);  // both are due when the loop looks
    });
    loop.run(application);
    EXPECT_EQ(order, "due cycle");
  });
}

TEST(LinuxRunLoop, SurvivesWantOfMemoryAndAClosedLog) {
  asMainThread([](LinuxRunLoop& loop) {
    std::atomic<int> steps = 0;
    const auto fail = [&] {
      ++steps;
      throw std::bad_alloc();
    };
    Application application([&] {
      std::raise(SIGPIPE);
      std::raise(SIGXFSZ);
      loop.scheduledTimer(1h, fail).fire();
      loop.dispatchAfter(0ms, fail);
      loop.performSelectorInBackground("fail", fail);
      loop.performSelectorInBackground("end", [&] {
        within(5s, [&] { return steps == 3; });
        loop.performSelectorOnMainThread([&] { loop.terminate(); });
      });
    });
    loop.run(application);
    EXPECT_EQ(steps, 3);
  });
}

// The helper's logic with real threads, over a recorded machine whose panels are too many for a
// cycle to come to its end.
TEST(LinuxRunLoop, RunsTheHelperAndEndsItWithinACycle) {
  const TemporaryHome home;
  const auto log = makeSystemLog();
  std::ofstream(home.path() / "machine.json") << R"({"running": ["com.Tarvel"],
      "commands": {"cpu": "a</item>", "mem": "b</item>", "power": "c</item>"},
      "smc": {"keys": {"TC0P": {"type": "sp78", "bytes": "2e80"}}}})";
  auto recording = recorded::readRecording(home.path() / "machine.json");
  recorded::RecordedPlatform machine(std::get<recorded::Recording>(std::move(recording)));
  DefaultsStore store(kSuiteName, *log);
  ASSERT_TRUE(store.set(kPanelsKey, Array(20000, Array{"TempsDash", "1"})));
  asMainThread([&](LinuxRunLoop& loop) {
    const auto p = machine.platform();
    AppDelegate delegate({p.appleSMC, p.ataSmart, p.authorization, p.mainBundle, p.fileManager,
                          p.archiver, loop, p.runningApplications, p.systemLog, p.tasks, p.updaters,
                          p.userDefaults, p.workspace});
    Clock::time_point told;
    std::thread user([&, main = ::pthread_self()] {
      const auto isStored = [&](std::string_view key) { return store.get(key).has_value(); };
      for (const auto key :
           {kCPUAppUsageKey, kMEMAppUsageKey, kEnergyAppUsageKey, kTempValuesKey}) {
        EXPECT_TRUE(within(20s, [&] { return isStored(key); })) << key;
      }
      told = Clock::now();
      ::pthread_kill(main, SIGQUIT);
    });
    loop.run(delegate);
    user.join();
    EXPECT_LT(Clock::now() - told, 3s);
    std::atomic<bool> last = false;  // it comes after a list that was just begun
    std::this_thread::sleep_for(100ms);
    loop.performSelectorInBackground("last", [&] { last = true; });
    EXPECT_TRUE(within(5s, [&] { return last.load(); }));
  });
  EXPECT_FALSE(std::filesystem::exists(*groupContainer(kSuiteName) + std::string(kIconDirectory)));
}

}  // namespace
}  // namespace tarvel
