#include "platform/linux/processes/user_names.h"

#include <cerrno>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <pwd.h>

#include "text/printable_text.h"

namespace tarvel {
namespace {

constexpr std::size_t kMostNames = 1000;  // more than any list shows
constexpr std::chrono::milliseconds kLongestWait{200};
constexpr std::size_t kMostLooks = 4;

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

UserNames::UserNames() : looks_("users", kLongestWait, kMostLooks) {}

std::string UserNames::name(std::uint32_t user) {
  {
    const std::scoped_lock lock(mutex_);
    const auto known = names_.find(user);
    if (known != names_.end()) return known->second;
  }
  std::string number = std::to_string(user);
  const auto found = std::make_shared<std::optional<std::string>>();
  const auto outcome =
      looks_.run(number, [found, user] { *found = nameInDatabase(static_cast<uid_t>(user)); });
  if (outcome != BoundedOutcome::finished) return number;
  const auto& name = *found;
  std::string shown = name ? printableText(*name, "<> ") : std::move(number);
  const std::scoped_lock lock(mutex_);
  if (names_.size() >= kMostNames) names_.clear();
  names_.insert_or_assign(user, shown);
  return shown;
}

}  // namespace tarvel
