#include "platform/linux/bounded_work.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

#include "platform/linux/detached_thread.h"

namespace tarvel {
namespace {

struct Progress {
  std::mutex mutex;
  std::condition_variable changed;
  bool finished = false;
};

}  // namespace

BoundedOutcome runBounded(std::string_view name, std::chrono::milliseconds limit,
                          std::function<void()> work) {
  const auto progress = std::make_shared<Progress>();
  const bool started = startDetachedThread(name, [progress, work = std::move(work)] {
    work();
    const std::scoped_lock lock(progress->mutex);
    progress->finished = true;
    progress->changed.notify_one();
  });
  if (!started) return BoundedOutcome::notStarted;
  std::unique_lock lock(progress->mutex);
  const bool finished = progress->changed.wait_for(lock, limit, [&] { return progress->finished; });
  return finished ? BoundedOutcome::finished : BoundedOutcome::goesOn;
}

struct BoundedLooks::Going {
  std::mutex mutex;
  std::set<std::string> keys;
};

BoundedLooks::BoundedLooks(std::string_view name, std::chrono::milliseconds limit, std::size_t most)
    : name_(name), limit_(limit), most_(most), going_(std::make_shared<Going>()) {}

BoundedOutcome BoundedLooks::run(const std::string& key, std::function<void()> work) {
  const auto end = [going = going_, key] {
    const std::scoped_lock lock(going->mutex);
    going->keys.erase(key);
  };
  {
    const std::scoped_lock lock(going_->mutex);
    if (going_->keys.contains(key)) return BoundedOutcome::goesOn;
    if (going_->keys.size() >= most_) return BoundedOutcome::notStarted;
    going_->keys.insert(key);
  }
  const auto outcome = runBounded(name_, limit_, [work = std::move(work), end] {
    work();
    end();
  });
  if (outcome == BoundedOutcome::notStarted) end();
  return outcome;
}

}  // namespace tarvel
