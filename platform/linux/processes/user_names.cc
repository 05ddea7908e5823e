#include "platform/linux/processes/user_names.h"

#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

#include <pwd.h>

#include "text/printable_text.h"

namespace tarvel {
namespace {

constexpr std::size_t kMostNames = 1000;  // more than any list shows

std::optional<std::string> nameInDatabase(uid_t user) {
  constexpr std::size_t kLargestEntry = 1 << 20;
  for (std::vector<char> buffer(1024); buffer.size() <= kLargestEntry;
       buffer.resize(2 * buffer.size())) {
    passwd entry{};
    passwd* found = nullptr;
    const int error = ::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (found == nullptr || found->pw_name == nullptr || *found->pw_name == '\0') break;
    return found->pw_name;
  }
  return std::nullopt;
}

}  // namespace

const std::string& UserNames::name(std::uint32_t user) {
  const auto known = names_.find(user);
  if (known != names_.end()) return known->second;
  if (names_.size() >= kMostNames) names_.clear();
  const auto found = nameInDatabase(user);
  std::string shown = found ? printableText(*found, "<> ") : std::to_string(user);
  return names_.emplace(user, std::move(shown)).first->second;
}

}  // namespace tarvel
