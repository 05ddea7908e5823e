#include "platform/linux/desktop/current_index.h"

#include <utility>

#include "platform/linux/bounded_work.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

constexpr auto kLookInterval = 10s;
constexpr auto kPatience = 1s;

}  // namespace

CurrentIndex::CurrentIndex(std::vector<std::string> dataFolders)
    : state_(std::make_shared<State>()) {
  state_->latest.index = std::make_shared<const DesktopIndex>(dataFolders);
  state_->dataFolders = std::move(dataFolders);
}

CurrentIndex::Snapshot CurrentIndex::snapshot() {
  std::unique_lock lock(state_->mutex);
  const auto now = Clock::now();
  if (!state_->looking && now >= state_->nextLook) {
    state_->looking = true;
    if (state_->nextLook == Clock::time_point()) state_->firstAwaitedUntil = now + kPatience;
    state_->nextLook = now + kLookInterval;
    lock.unlock();
    const auto outcome =
        runBounded("desktop entries", kPatience, [state = state_] { look(*state); });
    lock.lock();
    if (outcome == BoundedOutcome::notStarted) state_->looking = false;
  } else {  // better the first one late than none
    state_->looked.wait_until(lock, state_->firstAwaitedUntil,
                              [&] { return state_->latest.number != 0; });
  }
  return state_->latest;
}

void CurrentIndex::look(State& state) {
  std::unique_lock lock(state.mutex);
  const auto known = state.latest.index;
  lock.unlock();
  std::shared_ptr<DesktopIndex> fresh;
  if (!known->isCurrent()) {
    fresh = std::make_shared<DesktopIndex>(state.dataFolders);
    fresh->refresh();
  }
  lock.lock();
  state.looking = false;
  if (fresh) state.latest = {std::move(fresh), state.latest.number + 1};
  state.looked.notify_all();
}

}  // namespace tarvel
