#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvel::tools {

// What must not leave a machine in a record, with what stands in its place.
class PersonalNames {
 public:
  using Replacements = std::vector<std::pair<std::string, std::string>>;

  // Each is replaced where it stands as a word or path of its own, in any case, and where it is cut
  // short by the length that the kernel gives to a process's name.
  explicit PersonalNames(Replacements replacements) : replacements_(std::move(replacements)) {}

  // The host name, whole and without its domain, becomes "host", people's names, those of the login
  // and in full, "user", their homes "/home/user". People are those of the password file, and of a
  // directory that lists nobody those who own a process here.
  static PersonalNames ofThisMachine();

  // The text without these, and without IP addresses, hardware addresses, also those that network
  // interfaces are named after, and UUIDs.
  std::string removedFrom(std::string text) const;

 private:
  Replacements replacements_;
};

}  // namespace tarvel::tools
