#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace tarvel {

// Threads for what happens again and again in the background. Of those that are done, one waits for
// the next action, for ten seconds: to wake it costs a fraction of making a thread and its stack.
// Any thread may hand actions over; what still runs may outlive this. A copy is the same threads.
class WorkerThreads {
 public:
  WorkerThreads();

  // At once, on a thread that is free or a new one. False where no thread can be made: the action
  // does not run. Its thread bears the name meanwhile (detached_thread.h).
  bool run(std::string_view name, std::function<void()> action) const;

  // The same where no thread works, else next on one that does: to wake another costs more than
  // most actions take, and both would wait for the same locks. Where its turn has not come within
  // some milliseconds, a thread of its own takes it: an action that hangs holds up no other.
  bool runSoon(std::string_view name, std::function<void()> action) const;

  // A descriptor that poll(2) finds readable once an action has waited too long, and what whoever
  // uses runSoon then calls. -1 where there is none: no action waits for another.
  int lateDescriptor() const;
  void spreadLate() const;

 private:
  struct Shared;

  std::shared_ptr<Shared> shared_;
};

}  // namespace tarvel
