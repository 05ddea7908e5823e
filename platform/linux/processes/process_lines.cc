#include "platform/linux/processes/process_lines.h"

#include <algorithm>

#include "text/printable_text.h"

namespace tarvel {
namespace {

constexpr std::uint64_t kOneUnit = 1024;
constexpr std::uint64_t kUnitLimit = 10240;  // from here on the next unit

}  // namespace

std::string tenthsText(std::int64_t tenths) {
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

std::string memoryText(std::uint64_t kibibytes) {
  if (kibibytes < kUnitLimit) return std::to_string(kibibytes) + "K";
  if (kibibytes < kUnitLimit * kOneUnit) {
    return std::to_string((kibibytes + kOneUnit / 2) / kOneUnit) + "M";
  }
  constexpr std::uint64_t kGibibyte = kOneUnit * kOneUnit;
  const std::uint64_t tenths = (10 * kibibytes + kGibibyte / 2) / kGibibyte;
  return tenthsText(static_cast<std::int64_t>(tenths)) + "G";
}

std::string nameText(std::string_view name) {
  constexpr int kWords = 3;
  const std::string printable = printableText(name, "<>");
  std::string_view rest = printable;
  std::string text;
  for (int word = 0; word < kWords; ++word) {
    if (word > 0) text.push_back(' ');
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    const std::string_view next = rest.substr(0, rest.find(' '));
    text.append(next);
    rest.remove_prefix(next.size());
  }
  return text;
}

std::string tagged(std::string_view tag, std::string_view text) {
  std::string pair = "<";
  pair.append(tag).append(">").append(text).append("</").append(tag).append(">");
  return pair;
}

}  // namespace tarvel
