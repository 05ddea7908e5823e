#include "programs/tools/personal_names.h"

#include <array>
#include <regex>

#include <pwd.h>
#include <unistd.h>

namespace tarvel::tools {
namespace {

constexpr uid_t kFirstPerson = 1000;  // lower ones are the system's own
constexpr uid_t kNobody = 65534;

bool isWordCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

// Whether the part from `start` of this length is no part of a longer word.
bool standsAlone(const std::string& text, std::size_t start, std::size_t length) {
  const bool before = start > 0 && isWordCharacter(text[start]) && isWordCharacter(text[start - 1]);
  const auto end = start + length;
  return !before && (end == text.size() || !isWordCharacter(text[end]));
}

void replaceAlone(std::string& text, const std::string& name, const std::string& other) {
  for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
    if (standsAlone(text, at, name.size())) {
      text.replace(at, name.size(), other);
      at += other.size();
    } else {
      ++at;
    }
  }
}

}  // namespace

PersonalNames PersonalNames::ofThisMachine() {
  Replacements homes;
  Replacements names;
  ::setpwent();
  while (const passwd* const person = ::getpwent()) {
    const bool isPerson = person->pw_uid >= kFirstPerson && person->pw_uid != kNobody;
    if (!isPerson && (person->pw_uid != ::getuid() || person->pw_uid == 0)) continue;
    const std::string home = person->pw_dir;
    if (home.size() > 1) homes.emplace_back(home, "/home/user");
    if (*person->pw_name != '\0') names.emplace_back(person->pw_name, "user");
  }
  ::endpwent();
  std::array<char, 256> host{};
  if (::gethostname(host.data(), host.size() - 1) == 0 && host[0] != '\0') {
    names.emplace_back(host.data(), "host");
  }
  homes.insert(homes.end(), names.begin(), names.end());
  return PersonalNames(std::move(homes));
}

std::string PersonalNames::removedFrom(std::string text) const {
  static const std::regex addresses(
      R"((\b[0-9]{1,3}(\.[0-9]{1,3}){3}\b)|(\b[0-9A-Fa-f]{2}([:-][0-9A-Fa-f]{2}){5}\b))"
      R"(|(\b[0-9A-Fa-f]{1,4}(:[0-9A-Fa-f]{0,4}){2,7}))");
  for (const auto& [name, other] : replacements_) replaceAlone(text, name, other);
  return std::regex_replace(text, addresses, "address");
}

}  // namespace tarvel::tools
