#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/recorded/playback.h"
#include "platform/run_loop.h"

// The main loop on a virtual clock and a single thread: a step is the delayed work that is due, the
// timer's action, then the background work that it started, in the order of its start. Nothing
// waits for real time.

namespace tarvel::recorded {

class RecordedRunLoop : public RunLoop {
 public:
  explicit RecordedRunLoop(Playback& playback);
  ~RecordedRunLoop() override;
  RecordedRunLoop(const RecordedRunLoop&) = delete;
  RecordedRunLoop& operator=(const RecordedRunLoop&) = delete;

  // Launches the application and lets its timer fire until this many cycles have run, then
  // terminates it, or just leaves it where abandoned. Returns earlier when it terminates itself.
  void run(ApplicationDelegate& application, std::size_t cycles, bool abandon);

  Timer& scheduledTimer(std::chrono::milliseconds interval, std::function<void()> action) override;
  void performSelectorInBackground(std::string_view operation,
                                   std::function<void()> action) override;
  void performSelectorOnMainThread(const std::function<void()>& action) override { action(); }
  void dispatchAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
  bool isEnding() override { return terminated_; }
  void terminate() override;

 private:
  class CycleTimer;
  struct Delayed {
    std::chrono::milliseconds due;
    std::function<void()> work;
  };

  void fireCycle();
  void runBackground();
  void runDelayed(std::chrono::milliseconds until, bool including);

  Playback& playback_;
  ApplicationDelegate* delegate_ = nullptr;
  std::unique_ptr<CycleTimer> timer_;
  std::chrono::milliseconds period_{0};
  std::function<void()> cycleAction_;
  std::deque<std::function<void()>> background_;
  std::vector<Delayed> delayed_;  // by due time, then by order of dispatch
  std::chrono::milliseconds now_{0};
  std::size_t cyclesRun_ = 0;
  std::size_t threadsStarted_ = 0;
  bool terminated_ = false;
};

}  // namespace tarvel::recorded
