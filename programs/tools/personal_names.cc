#include "programs/tools/personal_names.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <system_error>

#include <pwd.h>
#include <sys/stat.h>
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

// Of ASCII letters only: names of users and hosts have no others.
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isSame(char a, char b) { return lower(a) == lower(b); }

void replaceAlone(std::string& text, const std::string& name, const std::string& other) {
  for (std::size_t at = 0;;) {
    const auto begin = text.begin() + static_cast<std::ptrdiff_t>(at);
    const auto found = std::search(begin, text.end(), name.begin(), name.end(), isSame);
    if (found == text.end()) return;
    at = static_cast<std::size_t>(found - text.begin());
    if (standsAlone(text, at, name.size())) {
      text.replace(at, name.size(), other);
      at += other.size();
    } else {
      ++at;
    }
  }
}

// Replaces what stands at the end of a process's name as far as that goes.
void replaceCut(std::string& text, const std::string& name, const std::string& other) {
  constexpr std::size_t kCut = 15;     // bytes of a name (TASK_COMM_LEN)
  constexpr std::size_t kTelling = 3;  // what is shorter tells nothing
  const auto end = text.find_last_not_of(' ') + 1;
  if (end != kCut) return;
  for (std::size_t size = std::min(name.size() - 1, end); size >= kTelling; --size) {
    const auto start = end - size;
    const auto begin = text.begin() + static_cast<std::ptrdiff_t>(start);
    if (!std::equal(begin, begin + static_cast<std::ptrdiff_t>(size), name.begin(), isSame))
      continue;
    if (!standsAlone(text, start, size)) continue;
    text.replace(start, size, other);
    return;
  }
}

class People {
 public:
  void add(const passwd* person) {
    if (person == nullptr) return;
    const bool isPerson = person->pw_uid >= kFirstPerson && person->pw_uid != kNobody;
    if (!isPerson && (person->pw_uid != ::getuid() || person->pw_uid == 0)) return;
    const std::string home = person->pw_dir;
    if (home.size() > 1) homes_.emplace(home, "/home/user");
    if (*person->pw_name != '\0') names_.emplace(person->pw_name, "user");
    const std::string about = person->pw_gecos != nullptr ? person->pw_gecos : "";
    const std::string fullName = about.substr(0, about.find(','));
    if (fullName.find(' ') != std::string::npos) names_.emplace(fullName, "user");
  }

  // Homes first: a home holds its owner's name.
  PersonalNames::Replacements replacements() const {
    PersonalNames::Replacements all(homes_.begin(), homes_.end());
    all.insert(all.end(), names_.begin(), names_.end());
    return all;
  }

 private:
  std::map<std::string, std::string> homes_;
  std::map<std::string, std::string> names_;
};

// Those who own a process here.
std::set<uid_t> ownersOfProcesses() {
  std::set<uid_t> owners;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
    struct stat status {};
    const bool isProcess =
        entry.path().filename().string().find_first_not_of("0123456789") == std::string::npos;
    if (isProcess && ::stat(entry.path().c_str(), &status) == 0) owners.insert(status.st_uid);
  }
  return owners;
}

void addHost(PersonalNames::Replacements& replacements) {
  std::array<char, 256> host{};
  if (::gethostname(host.data(), host.size() - 1) != 0 || host[0] == '\0') return;
  const std::string whole = host.data();
  const std::string shortName = whole.substr(0, whole.find('.'));
  replacements.emplace_back(whole, "host");
  if (!shortName.empty() && shortName != whole) replacements.emplace_back(shortName, "host");
}

}  // namespace

PersonalNames PersonalNames::ofThisMachine() {
  People people;
  ::setpwent();
  while (const passwd* const person = ::getpwent()) people.add(person);
  ::endpwent();
  for (const uid_t owner : ownersOfProcesses()) people.add(::getpwuid(owner));
  auto replacements = people.replacements();
  addHost(replacements);
  return PersonalNames(std::move(replacements));
}

std::string PersonalNames::removedFrom(std::string text) const {
  static const std::regex addresses(
      R"((\b[0-9]{1,3}(\.[0-9]{1,3}){3}\b)|(\b[0-9A-Fa-f]{2}([:-][0-9A-Fa-f]{2}){5}\b))"
      R"(|(\b[0-9A-Fa-f]{1,4}(:[0-9A-Fa-f]{0,4}){2,7}))"
      R"(|(\b(wlx|enx|wwx)[0-9a-f]{4,12}\b))");
  static const std::regex identifiers(
      R"(\b[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}\b)");
  for (const auto& [name, other] : replacements_) {
    replaceAlone(text, name, other);
    replaceCut(text, name, other);
  }
  return std::regex_replace(std::regex_replace(text, identifiers, "identifier"), addresses,
                            "address");
}

}  // namespace tarvel::tools
