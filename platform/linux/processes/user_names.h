#pragma once

#include <cstdint>
#include <map>
#include <string>

// The names of users as the machine's user database has them, each asked for once. For one thread
// at a time.

namespace tarvel {

class UserNames {
 public:
  // The name, fit to stand in a column; the number where there is none.
  const std::string& name(std::uint32_t user);

 private:
  std::map<std::uint32_t, std::string> names_;
};

}  // namespace tarvel
