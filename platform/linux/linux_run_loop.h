#pragma once

#include <functional>
#include <memory>

#include "platform/run_loop.h"

// The main loop on poll(2): between firings the process sleeps in one system call. SIGTERM, SIGINT,
// SIGHUP and SIGQUIT terminate the application; SIGPIPE and SIGXFSZ are ignored, so that a closed
// log and a file that may not grow are failures of a call and not the end of the process. Time is
// CLOCK_MONOTONIC, which stands still while the machine is suspended.
//
// Two runs of one background operation may be outstanding: where both hang or take long, a third
// does not happen. Work that runs out of memory is dropped, the application goes on.

namespace tarvel {

class LinuxRunLoop : public RunLoop {
 public:
  // Launches the application and runs it on the calling thread until it terminates. Background
  // threads may still run on return: whoever called leaves by _exit, touching nothing they use.
  virtual void run(ApplicationDelegate& application) = 0;

  // Work of the platform that takes place after each timer that has fired, so that it needs no
  // wake-up of its own. Set before run.
  virtual void afterTimers(std::function<void()> work) = 0;
};

// Blocks or ignores the signals in the calling thread and so in all that it starts: to be made
// before any other thread.
std::unique_ptr<LinuxRunLoop> makeLinuxRunLoop();

}  // namespace tarvel
