#pragma once

#include <memory>

#include "platform/run_loop.h"

// The main loop on poll(2): between firings the process sleeps in one system call. SIGTERM, SIGINT
// and SIGHUP terminate the application. Time is CLOCK_MONOTONIC, which stands still while the
// machine is suspended.

namespace tarvel {

class LinuxRunLoop : public RunLoop {
 public:
  // Launches the application and runs it on the calling thread until it terminates. Background
  // threads may still run on return: whoever called leaves by _exit, touching nothing they use.
  virtual void run(ApplicationDelegate& application) = 0;
};

// Blocks the signals in the calling thread and so in all that it starts: to be made before any
// other thread.
std::unique_ptr<LinuxRunLoop> makeLinuxRunLoop();

}  // namespace tarvel
