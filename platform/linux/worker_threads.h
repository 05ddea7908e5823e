#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace tarvel {

// Threads for what happens again and again in the background. Of those that are done, three wait
// for the next action, ten seconds each: to wake one costs a fraction of making a thread and its
// stack. No action waits for another: where no thread is free, one is made. Any thread may hand
// actions over; what still runs may outlive this.
class WorkerThreads {
 public:
  WorkerThreads();

  // False where no thread can be made: the action does not run. Its thread bears the name meanwhile
  // (detached_thread.h).
  bool run(std::string_view name, std::function<void()> action);

 private:
  struct Shared;

  std::shared_ptr<Shared> shared_;
};

}  // namespace tarvel
