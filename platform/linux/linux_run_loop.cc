#include "platform/linux/linux_run_loop.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/linux/worker_threads.h"

namespace tarvel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBetweenAsking{10};

sigset_t terminationSignals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) ::sigaddset(&signals, signal);
  return signals;
}

// Memory that cannot be had ends the work that needed it and nothing else.
void runOrDrop(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
  }
}

// How many runs of each operation have not ended. Threads may outlive the run loop.
class OutstandingRuns {
 public:
  bool begin(const std::string& operation) {
    constexpr int kMost = 2;
    const std::lock_guard lock(mutex_);
    int& count = counts_[operation];
    if (count >= kMost) return false;
    ++count;
    return true;
  }
  void end(const std::string& operation) {
    const std::lock_guard lock(mutex_);
    --counts_[operation];
  }

 private:
  std::mutex mutex_;
  std::map<std::string, int> counts_;
};

class RepeatingTimer : public Timer {
 public:
  RepeatingTimer(std::chrono::milliseconds interval, std::function<void()> work)
      : period_(interval), action_(std::move(work)) {}

  void fire() override { runOrDrop(action_); }
  Clock::time_point due() const { return next_; }

  // Runs the action once, however many firings were missed, and moves to the next one.
  void fireDue() {
    runOrDrop(action_);
    const auto passed = Clock::now() - next_;
    next_ += (passed / period_ + 1) * period_;
  }

 private:
  std::chrono::milliseconds period_;
  std::function<void()> action_;
  Clock::time_point next_ = Clock::now() + period_;
};

struct Delayed {
  Clock::time_point due;
  std::function<void()> work;
};

class PollRunLoop : public LinuxRunLoop {
 public:
  PollRunLoop() {
    const sigset_t signals = terminationSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
    signalDescriptor_ = FileDescriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    wakeDescriptor_ = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  }

  void run(ApplicationDelegate& application) override {
    delegate_ = &application;
    delegate_->applicationDidFinishLaunching();
    while (!terminated_) {
      waitForWork();
      if (!terminated_) runDelayed();
      if (!terminated_) runTimers();
    }
  }

  void afterTimers(std::function<void()> work) override { afterTimers_ = std::move(work); }

  Timer& scheduledTimer(std::chrono::milliseconds interval, std::function<void()> action) override {
    return *timers_.emplace_back(std::make_unique<RepeatingTimer>(interval, std::move(action)));
  }

  void performSelectorInBackground(std::string_view operation,
                                   std::function<void()> action) override {
    const std::string name(operation);
    if (!outstanding_->begin(name)) return;
    const bool started =
        workers_.runSoon(operation, [runs = outstanding_, name, work = std::move(action)] {
          runOrDrop(work);
          runs->end(name);
        });
    if (!started) outstanding_->end(name);
  }

  void performSelectorOnMainThread(const std::function<void()>& action) override {
    if (std::this_thread::get_id() == mainThread_) {
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
      const std::lock_guard lock(delayedMutex_);
      const auto place = std::find_if(delayed_.begin(), delayed_.end(),
                                      [&](const Delayed& other) { return other.due > due; });
      delayed_.insert(place, {due, std::move(work)});
    }
    if (std::this_thread::get_id() != mainThread_) wake();
  }

  // Asked between short steps, so that it does not ask the kernel each time.
  bool isEnding() override {
    const auto now = Clock::now();
    if (!hasSignal_ && now - askedAt_ >= kBetweenAsking) {
      pollfd signals = {signalDescriptor_.get(), POLLIN, 0};
      hasSignal_ = ::poll(&signals, 1, 0) > 0;
      askedAt_ = now;
    }
    return terminated_ || hasSignal_;
  }

  void terminate() override {
    if (std::exchange(terminated_, true)) return;
    delegate_->applicationWillTerminate();
  }

 private:
  void wake() const {
    const std::uint64_t one = 1;
    static_cast<void>(!::write(wakeDescriptor_.get(), &one, sizeof one));
  }

  std::optional<Clock::time_point> nextDue() {
    std::optional<Clock::time_point> next;
    const auto consider = [&](Clock::time_point due) {
      if (!next || due < *next) next = due;
    };
    for (const auto& timer : timers_) consider(timer->due());
    const std::lock_guard lock(delayedMutex_);
    if (!delayed_.empty()) consider(delayed_.front().due);
    return next;
  }

  // Sleeps until something is due, a signal arrives or another thread hands work over.
  void waitForWork() {
    std::array<pollfd, 3> sources = {{{signalDescriptor_.get(), POLLIN, 0},
                                      {wakeDescriptor_.get(), POLLIN, 0},
                                      {workers_.lateDescriptor(), POLLIN, 0}}};
    timespec timeout{};
    const auto due = nextDue();
    if (due) {
      const auto rest = std::max(*due - Clock::now(), Clock::duration::zero());
      const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
      timeout.tv_sec = seconds.count();
      timeout.tv_nsec = std::chrono::nanoseconds(rest - seconds).count();
    }
    if (::ppoll(sources.data(), sources.size(), due ? &timeout : nullptr, nullptr) <= 0) return;
    if (sources[1].revents != 0) {
      std::uint64_t count = 0;
      static_cast<void>(!::read(wakeDescriptor_.get(), &count, sizeof count));
    }
    if (sources[2].revents != 0) workers_.spreadLate();
    if (sources[0].revents != 0) terminate();
  }

  std::optional<std::function<void()>> takeDelayed() {
    const std::lock_guard lock(delayedMutex_);
    if (delayed_.empty() || delayed_.front().due > Clock::now()) return std::nullopt;
    auto work = std::move(delayed_.front().work);
    delayed_.pop_front();
    return work;
  }

  void runDelayed() {
    while (!terminated_) {
      const auto work = takeDelayed();
      if (!work) return;
      runOrDrop(*work);
    }
  }

  void runTimers() {
    for (std::size_t i = 0; i < timers_.size() && !terminated_; ++i) {
      if (timers_[i]->due() > Clock::now()) continue;
      timers_[i]->fireDue();
      if (afterTimers_ && !terminated_) runOrDrop(afterTimers_);
    }
  }

  const std::thread::id mainThread_ = std::this_thread::get_id();
  ApplicationDelegate* delegate_ = nullptr;
  bool terminated_ = false;
  bool hasSignal_ = false;  // one that ends the program, not yet acted on
  Clock::time_point askedAt_{};
  FileDescriptor signalDescriptor_;
  FileDescriptor wakeDescriptor_;
  WorkerThreads workers_;
  const std::shared_ptr<OutstandingRuns> outstanding_ = std::make_shared<OutstandingRuns>();
  std::vector<std::unique_ptr<RepeatingTimer>> timers_;
  std::function<void()> afterTimers_;
  std::mutex delayedMutex_;
  std::deque<Delayed> delayed_;  // by due time, then by order of dispatch
};

}  // namespace

std::unique_ptr<LinuxRunLoop> makeLinuxRunLoop() { return std::make_unique<PollRunLoop>(); }

}  // namespace tarvel
