#include "programs/update/version.h"

#include <charconv>

namespace tarvel::update {
namespace {

unsigned long takePart(std::string_view& version) {
  const auto part = version.substr(0, version.find('.'));
  version.remove_prefix(part.size() < version.size() ? part.size() + 1 : part.size());
  unsigned long number = 0;
  std::from_chars(part.data(), part.data() + part.size(), number);
  return number;
}

}  // namespace

int compareVersions(std::string_view a, std::string_view b) {
  while (!a.empty() || !b.empty()) {
    const auto left = takePart(a);
    const auto right = takePart(b);
    if (left != right) return left < right ? -1 : 1;
  }
  return 0;
}

}  // namespace tarvel::update
