#pragma once

#include <chrono>
#include <functional>
#include <string_view>

// The application's main loop: timers and delayed work on the main thread, detached background
// threads, termination.

namespace tarvel {

class ApplicationDelegate {
 public:
  virtual ~ApplicationDelegate() = default;

  virtual void applicationDidFinishLaunching() = 0;
  virtual void applicationWillTerminate() = 0;
};

class Timer {
 public:
  virtual ~Timer() = default;

  virtual void fire() = 0;  // runs the action now; the schedule stays as it is
};

class RunLoop {
 public:
  virtual ~RunLoop() = default;

  // Runs the action on the main thread at start plus whole multiples of the interval. Firings
  // missed while something else ran, or while the machine slept, are dropped. The run loop owns the
  // timer.
  virtual Timer& scheduledTimer(std::chrono::milliseconds interval,
                                std::function<void()> action) = 0;

  // Runs the operation on a background thread that nobody waits for; the name is for diagnosis. It
  // may begin a moment later, but one that hangs holds up no other. Where no thread can be made,
  // the operation does not happen.
  virtual void performSelectorInBackground(std::string_view operation,
                                           std::function<void()> action) = 0;

  // Runs the action on the main thread and waits for it; from the main thread, at once.
  virtual void performSelectorOnMainThread(const std::function<void()>& action) = 0;

  // Runs the work on the main thread, once, when the delay has passed. Callable from any thread.
  virtual void dispatchAfter(std::chrono::milliseconds delay, std::function<void()> work) = 0;

  // Whether the application has been told to end, by terminate or from outside: long work on the
  // main thread looks between its steps and stops. Main thread only.
  virtual bool isEnding() = 0;

  // Ends the application through its delegate's applicationWillTerminate. May return: the caller
  // does nothing more. Main thread only.
  virtual void terminate() = 0;
};

}  // namespace tarvel
