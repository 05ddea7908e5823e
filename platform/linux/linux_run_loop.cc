#include "platform/linux/linux_run_loop.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/linux/detached_thread.h"

namespace tarvel {
namespace {

using Clock = std::chrono::steady_clock;

sigset_t terminationSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, signal);
  return signals;
}

class BeatTimer : public Timer {
 public:
  BeatTimer(std::chrono::milliseconds interval, std::function<void()> work)
      : period(interval), action(std::move(work)) {}

  void fire() override { action(); }
  Clock::time_point due() const { return next; }

  // Runs the action once, however many beats have passed, and moves to the first beat to come.
  void beat() {
    action();
    const auto passed = Clock::now() - next;
    next += (passed / period + 1) * period;
  }

 private:
  std::chrono::milliseconds period;
  std::function<void()> action;
  Clock::time_point next = Clock::now() + period;
};

struct Delayed {
  Clock::time_point due;
  std::function<void()> work;
};

class PollRunLoop : public LinuxRunLoop {
 public:
  PollRunLoop() {
    const sigset_t signals = terminationSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signalDescriptor = FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    wakeDescriptor = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  }

  void run(ApplicationDelegate& application) override {
    delegate = &application;
    delegate->applicationDidFinishLaunching();
    while (!terminated) {
      waitForWork();
      if (!terminated) runDelayed();
      if (!terminated) runBeats();
    }
  }

  Timer& scheduledTimer(std::chrono::milliseconds interval, std::function<void()> action) override {
    return *timers.emplace_back(std::make_unique<BeatTimer>(interval, std::move(action)));
  }

  void performSelectorInBackground(std::string_view operation,
                                   std::function<void()> action) override {
    startDetachedThread(operation, std::move(action));
  }

  void performSelectorOnMainThread(const std::function<void()>& action) override {
    if (std::this_thread::get_id() == mainThread) {
      action();
      return;
    }
    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;
    dispatchAfter(std::chrono::milliseconds(0), [&] {
      action();
      const std::lock_guard lock(mutex);
      done = true;
      finished.notify_one();
    });
    std::unique_lock lock(mutex);
    finished.wait(lock, [&] { return done; });
  }

  void dispatchAfter(std::chrono::milliseconds delay, std::function<void()> work) override {
    const auto due = Clock::now() + delay;
    {
      const std::lock_guard lock(delayedMutex);
      const auto place = std::find_if(delayed.begin(), delayed.end(),
                                      [&](const Delayed& other) { return other.due > due; });
      delayed.insert(place, {due, std::move(work)});
    }
    if (std::this_thread::get_id() != mainThread) wake();
  }

  void terminate() override {
    if (std::exchange(terminated, true)) return;
    delegate->applicationWillTerminate();
  }

 private:
  void wake() const {
    const std::uint64_t one = 1;
    static_cast<void>(!write(wakeDescriptor.get(), &one, sizeof one));
  }

  std::optional<Clock::time_point> nextDue() {
    std::optional<Clock::time_point> next;
    const auto consider = [&](Clock::time_point due) {
      if (!next || due < *next) next = due;
    };
    for (const auto& timer : timers) consider(timer->due());
    const std::lock_guard lock(delayedMutex);
    if (!delayed.empty()) consider(delayed.front().due);
    return next;
  }

  // Sleeps until something is due, a signal arrives or another thread hands work over.
  void waitForWork() {
    std::array<pollfd, 2> sources = {
        {{signalDescriptor.get(), POLLIN, 0}, {wakeDescriptor.get(), POLLIN, 0}}};
    timespec timeout{};
    const auto due = nextDue();
    if (due) {
      const auto rest = std::max(*due - Clock::now(), Clock::duration::zero());
      const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
      timeout.tv_sec = seconds.count();
      timeout.tv_nsec = std::chrono::nanoseconds(rest - seconds).count();
    }
    if (ppoll(sources.data(), sources.size(), due ? &timeout : nullptr, nullptr) <= 0) return;
    if (sources[1].revents != 0) {
      std::uint64_t count = 0;
      static_cast<void>(!read(wakeDescriptor.get(), &count, sizeof count));
    }
    if (sources[0].revents != 0) terminate();
  }

  std::optional<std::function<void()>> takeDelayed() {
    const std::lock_guard lock(delayedMutex);
    if (delayed.empty() || delayed.front().due > Clock::now()) return std::nullopt;
    auto work = std::move(delayed.front().work);
    delayed.pop_front();
    return work;
  }

  void runDelayed() {
    while (!terminated) {
      const auto work = takeDelayed();
      if (!work) return;
      (*work)();
    }
  }

  void runBeats() {
    for (std::size_t i = 0; i < timers.size() && !terminated; ++i) {
      if (timers[i]->due() <= Clock::now()) timers[i]->beat();
    }
  }

  const std::thread::id mainThread = std::this_thread::get_id();
  ApplicationDelegate* delegate = nullptr;
  bool terminated = false;
  FileDescriptor signalDescriptor;
  FileDescriptor wakeDescriptor;
  std::vector<std::unique_ptr<BeatTimer>> timers;
  std::mutex delayedMutex;
  std::deque<Delayed> delayed;  // by due time, then by order of dispatch
};

}  // namespace

std::unique_ptr<LinuxRunLoop> makeLinuxRunLoop() { return std::make_unique<PollRunLoop>(); }

}  // namespace tarvel
