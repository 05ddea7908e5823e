#include "platform/linux/bounded_work.h"

#include <condition_variable>
#include <memory>
#include <mutex>
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

}  // namespace tarvel
