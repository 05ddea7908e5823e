#pragma once

#include <optional>

#include <sys/types.h>

namespace tarvel {
class ApplicationRegistry;
}

namespace tarvel::viewer {

// The helper that viewers share, as one viewer sees it: started where none runs, and ended with the
// last viewer where a viewer, this one or another, has started it. A helper that a viewer left
// behind, killed before it could put things in order, so goes with the next viewer that ends; one
// that the session or its administrator started stays. One thread.
class HelperProcess {
 public:
  // The viewer's own registration, which must outlive the object.
  explicit HelperProcess(ApplicationRegistry& own) : registry_(own) {}

  // Withdraws the registration, so that of viewers that end at once one sees that it is the last.
  // Ends a helper that is to end and waits a second at most for it.
  ~HelperProcess();
  HelperProcess(const HelperProcess&) = delete;
  HelperProcess& operator=(const HelperProcess&) = delete;

  // Starts the helper of this installation where none runs; false where none runs and none can be
  // started. It keeps out of the terminal's reach; what it prints goes to
  // Library/Caches/TarvelHelper.log in the group container. Until it has registered itself, some
  // milliseconds later, another call starts no second one. To be called again when it has gone.
  bool start();

  bool isRunning() const;

  // Whether the one that runs was started by a viewer.
  bool isStartedByViewer() const;

 private:
  bool isLastViewer() const;
  bool childRuns() const;

  ApplicationRegistry& registry_;
  mutable std::optional<pid_t> child_;  // the helper that was started here, while it is not reaped
};

}  // namespace tarvel::viewer
