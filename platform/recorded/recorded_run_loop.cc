#include "platform/recorded/recorded_run_loop.h"

#include <algorithm>
#include <utility>

namespace tarvel::recorded {

class RecordedRunLoop::CycleTimer : public Timer {
 public:
  explicit CycleTimer(RecordedRunLoop& loop) : owner(loop) {}
  void fire() override { owner.fireCycle(); }

 private:
  RecordedRunLoop& owner;
};

RecordedRunLoop::RecordedRunLoop(Playback& where) : playback(where) {}
RecordedRunLoop::~RecordedRunLoop() = default;

void RecordedRunLoop::run(ApplicationDelegate& application, std::size_t cycles, bool abandon) {
  delegate = &application;
  delegate->applicationDidFinishLaunching();
  runBackground();
  while (!terminated && timer != nullptr) {
    const auto nextBeat = now + period;
    runDelayed(nextBeat, false);
    if (terminated || cyclesRun >= cycles) break;
    now = nextBeat;
    playback.beginCycle(cyclesRun + 1);
    runDelayed(now, true);
    if (terminated) break;
    fireCycle();
    runBackground();
  }
  if (!terminated && !abandon) delegate->applicationWillTerminate();
}

Timer& RecordedRunLoop::scheduledTimer(std::chrono::milliseconds interval,
                                       std::function<void()> action) {
  playback.trace("scheduledTimer", {{"interval", static_cast<double>(interval.count()) / 1000}});
  period = interval;
  cycleAction = std::move(action);
  timer = std::make_unique<CycleTimer>(*this);
  return *timer;
}

void RecordedRunLoop::performSelectorInBackground(std::string_view operation,
                                                  std::function<void()> action) {
  playback.trace("performSelectorInBackground", {{"operation", operation}});
  background.push_back(std::move(action));
}

void RecordedRunLoop::dispatchAfter(std::chrono::milliseconds delay, std::function<void()> work) {
  playback.trace("dispatchAfter", {{"seconds", static_cast<double>(delay.count()) / 1000}});
  const auto due = now + delay;
  const auto place = std::find_if(delayed.begin(), delayed.end(),
                                  [&](const Delayed& other) { return other.due > due; });
  delayed.insert(place, {due, std::move(work)});
}

void RecordedRunLoop::terminate() {
  playback.trace("terminate");
  terminated = true;
  delegate->applicationWillTerminate();
}

void RecordedRunLoop::fireCycle() {
  playback.beginCycle(++cyclesRun);
  cycleAction();
}

// Work that background work starts in turn comes after all that stands there already.
void RecordedRunLoop::runBackground() {
  while (!background.empty()) {
    const auto action = std::move(background.front());
    background.pop_front();
    playback.enterThread("background-" + std::to_string(++threadsStarted));
    action();
    playback.enterThread("main");
  }
}

void RecordedRunLoop::runDelayed(std::chrono::milliseconds until, bool including) {
  while (!terminated && !delayed.empty() &&
         (delayed.front().due < until || (including && delayed.front().due == until))) {
    now = delayed.front().due;
    const auto work = std::move(delayed.front().work);
    delayed.erase(delayed.begin());
    work();
  }
}

}  // namespace tarvel::recorded
