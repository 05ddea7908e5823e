#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace tarvel {

// Threads for what happens again and again in the background. An action that comes while another
// one runs is next on its thread: waking another thread costs more than most actions take, and both
// would wait for the same locks. Where its turn has not come within some milliseconds, a thread of
// its own takes it, so that an action that hangs holds up no other. Of the threads that are done,
// three wait for the next action, ten seconds each.
//
// Any thread may hand actions over; what still runs may outlive this.
class WorkerThreads {
 public:
  WorkerThreads();

  // False where no thread can be made: the action does not run. Its thread bears the name meanwhile
  // (detached_thread.h).
  bool run(std::string_view name, std::function<void()> action);

  // A descriptor that poll(2) finds readable once an action has waited too long, and what whoever
  // polls it then does. -1 where there is none: no action waits for another.
  int lateDescriptor() const;
  void spreadLate();

 private:
  struct Shared;

  std::shared_ptr<Shared> shared_;
};

}  // namespace tarvel
