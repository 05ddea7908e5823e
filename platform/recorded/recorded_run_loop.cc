#include "platform/recorded/recorded_run_loop.h"

#include <algorithm>
#include <utility>

namespace tarvel::recorded {

class RecordedRunLoop::CycleTimer : public Timer {
 public:
  explicit CycleTimer(RecordedRunLoop& owner) : owner_(owner) {}
  void fire() override { owner_.fireCycle(); }

 private:
  RecordedRunLoop& owner_;
};

RecordedRunLoop::RecordedRunLoop(Playback& playback) : playback_(playback) {}
RecordedRunLoop::~RecordedRunLoop() = default;

void RecordedRunLoop::run(ApplicationDelegate& application, std::size_t cycles, bool abandon) {
  delegate_ = &application;
  delegate_->applicationDidFinishLaunching();
  runBackground();
  while (!terminated_ && timer_ != nullptr) {
    const auto nextBeat = now_ + period_;
    runDelayed(nextBeat, false);
    if (terminated_ || cyclesRun_ >= cycles) break;
    now_ = nextBeat;
    playback_.beginCycle(cyclesRun_ + 1);
    runDelayed(now_, true);
    if (terminated_) break;
    fireCycle();
    runBackground();
  }
  if (!terminated_ && !abandon) delegate_->applicationWillTerminate();
}

Timer& RecordedRunLoop::scheduledTimer(std::chrono::milliseconds interval,
                                       std::function<void()> action) {
  playback_.trace("scheduledTimer", {{"interval", static_cast<double>(interval.count()) / 1000}});
  period_ = interval;
  cycleAction_ = std::move(action);
  timer_ = std::make_unique<CycleTimer>(*this);
  return *timer_;
}

void RecordedRunLoop::performSelectorInBackground(std::string_view operation,
                                                  std::function<void()> action) {
  playback_.trace("performSelectorInBackground", {{"operation", operation}});
  background_.push_back(std::move(action));
}

void RecordedRunLoop::dispatchAfter(std::chrono::milliseconds delay, std::function<void()> work) {
  playback_.trace("dispatchAfter", {{"seconds", static_cast<double>(delay.count()) / 1000}});
  const auto due = now_ + delay;
  const auto place = std::find_if(delayed_.begin(), delayed_.end(),
                                  [&](const Delayed& other) { return other.due > due; });
  delayed_.insert(place, {due, std::move(work)});
}

void RecordedRunLoop::terminate() {
  playback_.trace("terminate");
  terminated_ = true;
  delegate_->applicationWillTerminate();
}

void RecordedRunLoop::fireCycle() {
  playback_.beginCycle(++cyclesRun_);
  cycleAction_();
}

// Work that background work starts in turn comes after all that stands there already.
void RecordedRunLoop::runBackground() {
  while (!background_.empty()) {
    const auto action = std::move(background_.front());
    background_.pop_front();
    playback_.enterThread("background-" + std::to_string(++threadsStarted_));
    action();
    playback_.enterThread("main");
  }
}

void RecordedRunLoop::runDelayed(std::chrono::milliseconds until, bool including) {
  while (!terminated_ && !delayed_.empty() &&
         (delayed_.front().due < until || (including && delayed_.front().due == until))) {
    now_ = delayed_.front().due;
    const auto work = std::move(delayed_.front().work);
    delayed_.erase(delayed_.begin());
    work();
  }
}

}  // namespace tarvel::recorded
