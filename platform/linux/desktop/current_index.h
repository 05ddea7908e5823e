#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/desktop/desktop_index.h"

namespace tarvel {

// The index of the desktop entries as the folders are now, shared by all threads. Folders may hang
// (a network that is gone): one thread at a time reads them, whoever has it begin waits a second at
// most, all others only for the first index and only in its first second, and everybody goes on
// with the index that was read last.
class CurrentIndex {
 public:
  explicit CurrentIndex(std::vector<std::string> dataFolders);

  struct Snapshot {
    std::shared_ptr<const DesktopIndex> index;  // never null; empty before the first was read
    unsigned number = 0;                        // another one for another index
  };

  // Looks at the folders when the last look is ten seconds ago. Any thread.
  Snapshot snapshot();

 private:
  using Clock = std::chrono::steady_clock;

  // Outlives the object where a folder hangs.
  struct State {
    std::vector<std::string> dataFolders;
    std::mutex mutex;  // guards what follows
    std::condition_variable looked;
    Snapshot latest;
    bool looking = false;
    Clock::time_point nextLook;
    Clock::time_point firstAwaitedUntil;
  };

  static void look(State& state);

  const std::shared_ptr<State> state_;
};

}  // namespace tarvel
