#include "platform/linux/worker_threads.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <sys/timerfd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/linux/detached_thread.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 10s;                   // some cycles
constexpr std::size_t kMostFree = 1;              // what a cycle that is not slow needs
constexpr std::chrono::nanoseconds kLate = 50ms;  // ten times what a list takes

struct Turn {
  std::string name;
  std::function<void()> action;
};

}  // namespace

struct WorkerThreads::Shared : std::enable_shared_from_this<Shared> {
  bool add(Turn turn, bool mayWait) {
    std::unique_lock lock(mutex_);
    const bool isNext = mayWait && working_ > 0 && setTimer(kLate);
    if (!isNext && free_ == 0) return startThread(turn);
    waiting_.push_back(std::move(turn));
    if (isNext) return true;
    call();
    lock.unlock();  // who wakes finds it free
    came_.notify_one();
    return true;
  }

  // What no thread can be made for keeps waiting.
  void spread() {
    const std::scoped_lock lock(mutex_);
    setTimer(0ns);
    for (std::size_t rest = waiting_.size(); rest > 0; --rest) {
      if (free_ > 0) {
        call();
        came_.notify_one();
      } else if (startThread(waiting_.back())) {
        waiting_.pop_back();
      }
    }
  }

  // Readable once what waits has waited for too long.
  const FileDescriptor timer{::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)};

 private:
  // Leaves one that runs as it is; zero stops it.
  bool setTimer(std::chrono::nanoseconds delay) {
    const bool isWanted = delay > 0ns;
    if (isWanted == isTimerSet_) return true;
    const itimerspec setting{{}, {0, delay.count()}};
    if (::timerfd_settime(timer.get(), 0, &setting, nullptr) != 0) return false;
    isTimerSet_ = isWanted;
    return true;
  }

  // From here on, one of the free threads works. It is to be notified.
  void call() {
    --free_;
    ++called_;
    ++working_;
  }

  bool startThread(const Turn& turn) {
    const bool started = startDetachedThread(
        turn.name,
        [self = shared_from_this(), first = turn]() mutable { self->work(std::move(first)); });
    if (started) ++working_;
    return started;
  }

  void work(Turn first) {
    for (std::optional turn(std::move(first)); turn; turn = next()) {
      nameThread(turn->name);
      std::exchange(turn->action, nullptr)();  // with what it holds
    }
  }

  // None when nothing has come for a while, or enough others wait.
  std::optional<Turn> next() {
    std::unique_lock lock(mutex_);
    while (waiting_.empty()) {
      --working_;
      if (free_ == kMostFree) return std::nullopt;
      ++free_;
      if (!came_.wait_for(lock, kPatience, [&] { return called_ > 0; })) {
        --free_;
        return std::nullopt;
      }
      --called_;
    }
    Turn turn = std::move(waiting_.front());
    waiting_.pop_front();
    if (waiting_.empty()) setTimer(0ns);
    return turn;
  }

  std::mutex mutex_;  // guards what follows
  std::condition_variable came_;
  std::deque<Turn> waiting_;
  std::size_t working_ = 0;
  std::size_t free_ = 0;
  std::size_t called_ = 0;  // of those that work: they were free and have not woken yet
  bool isTimerSet_ = false;
};

WorkerThreads::WorkerThreads() : shared_(std::make_shared<Shared>()) {}

bool WorkerThreads::run(std::string_view name, std::function<void()> action) const {
  return shared_->add({std::string(name), std::move(action)}, false);
}

bool WorkerThreads::runSoon(std::string_view name, std::function<void()> action) const {
  return shared_->add({std::string(name), std::move(action)}, true);
}

int WorkerThreads::lateDescriptor() const { return shared_->timer.get(); }

void WorkerThreads::spreadLate() const { shared_->spread(); }

}  // namespace tarvel
