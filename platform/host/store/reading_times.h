#pragma once

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "product/store_keys.h"

// When the helper last published each reading. The store cannot tell: a reading that has not
// changed leaves the file as it was, and a viewer that hides a sensor writes the same key.
//
// The times are one small file, Library/Caches/ReadingTimes in the group container: eight numbers
// of 64 bits in the machine's byte order, in the order of the panel table, nanoseconds of the
// system clock. A step of that clock makes readings look older or of unknown age until the next
// cycle, three seconds later.

namespace tarvel {

class ReadingTimes {
 public:
  // The file of the group of this suite.
  explicit ReadingTimes(std::string_view suite);

  // Notes that the reading under this key was published now; other keys are ignored. One write,
  // never more than the file's 64 bytes. Callable from any thread.
  void note(std::string_view readingKey) const;

  // How long ago each reading was published, in the order of the panel table; none where that was
  // never noted, or lies in the future. Three system calls.
  using Ages = std::array<std::optional<std::chrono::milliseconds>, kPanelTable.size()>;
  Ages ages() const;

 private:
  std::string path_;  // empty: no container
};

}  // namespace tarvel
