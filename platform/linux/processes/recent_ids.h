#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/processes/process_files.h"

// Which processes may have come since a sweep, without a list of all: listing /proc costs as much
// as reading every process's clock.
//
// The kernel gives ids in ascending order and tells the last one it gave (the end of "loadavg",
// proc_loadavg(5)), so whatever came since then has one of the ids after it. Threads have ids too.
// An id is given shortly before its process can be found, so each is named in two looks.
//
// Not seen this way: a process that was given an id of somebody's choice (clone3(2) with set_tid,
// as checkpoints are restored) or that was hidden when it came. A list of all is due every eighth
// look for those. For one thread at a time.

namespace tarvel {

class RecentIds {
 public:
  struct Range {
    std::int32_t after = 0;
    std::int32_t last = 0;
  };

  // "/proc", or a folder like it. Ids can be foretold only where it shows the processes of our own
  // namespace.
  explicit RecentIds(const std::string& root);

  // The ids that were given since the look before the last; none where all processes are to be
  // listed. `known` is how many processes are known: where more ids were given, a list is cheaper.
  std::optional<Range> look(ProcessFiles& files, std::size_t known);

 private:
  bool isOwnNamespace_;
  std::size_t looks_ = 0;
  std::optional<std::int32_t> last_;   // as of the look before
  std::optional<std::int32_t> after_;  // as of the one before that
};

}  // namespace tarvel
