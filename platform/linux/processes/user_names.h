#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "platform/linux/bounded_work.h"

// The names of users as the machine's user database has them. Callable from any thread.

namespace tarvel {

class UserNames {
 public:
  UserNames();

  // The name, fit to stand in a column; the number where there is none. The database may lie in a
  // network: an answer that takes long is not waited for, and asked for again at the next call.
  std::string name(std::uint32_t user);

 private:
  BoundedLooks looks_;
  std::mutex mutex_;
  std::map<std::uint32_t, std::string> names_;
};

}  // namespace tarvel
