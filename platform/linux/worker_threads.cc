#include "platform/linux/worker_threads.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

#include "platform/linux/detached_thread.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 10s;       // some cycles
constexpr std::size_t kMostFree = 3;  // what a cycle hands over at once

}  // namespace

struct WorkerThreads::Shared {
  struct Turn {
    std::string name;
    std::function<void()> action;
  };

  // Whether a thread that is free takes it.
  bool hand(std::string_view name, std::function<void()>& action) {
    {
      const std::scoped_lock lock(mutex);
      if (free <= waiting.size()) return false;
      waiting.push_back({std::string(name), std::move(action)});
    }
    came.notify_one();  // who wakes finds the lock free
    return true;
  }

  // Until nothing has come for a while, or others wait that are enough.
  void work() {
    std::unique_lock lock(mutex);
    while (free < kMostFree) {
      ++free;
      const bool hasCome = came.wait_for(lock, kPatience, [&] { return !waiting.empty(); });
      --free;
      if (!hasCome) return;
      Turn turn = std::move(waiting.front());
      waiting.pop_front();
      lock.unlock();
      nameThread(turn.name);
      std::exchange(turn.action, nullptr)();
      lock.lock();
    }
  }

  std::mutex mutex;  // guards what follows
  std::condition_variable came;
  std::deque<Turn> waiting;
  std::size_t free = 0;
};

WorkerThreads::WorkerThreads() : shared_(std::make_shared<Shared>()) {}

bool WorkerThreads::run(std::string_view name, std::function<void()> action) {
  if (shared_->hand(name, action)) return true;
  return startDetachedThread(name, [shared = shared_, first = std::move(action)]() mutable {
    std::exchange(first, nullptr)();
    shared->work();
  });
}

}  // namespace tarvel
