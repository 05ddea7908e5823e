#include "programs/tools/finding.h"

#include <algorithm>
#include <string_view>

#include "text/printable_text.h"

namespace tarvel::tools {
namespace {

constexpr std::size_t kStateWidth = 9;

std::string_view nameOf(State state) {
  switch (state) {
    case State::ok:
      return "ok";
    case State::missing:
      return "missing";
    case State::note:
      break;
  }
  return "note";
}

std::string column(std::string_view text, std::size_t width) {
  return std::string(text) + std::string(std::max(width, text.size() + 1) - text.size(), ' ');
}

}  // namespace

std::string textOf(const Findings& findings) {
  std::size_t width = 0;
  for (const auto& finding : findings) width = std::max(width, finding.subject.size() + 2);
  std::string text;
  for (const auto& finding : findings) {
    text += column(nameOf(finding.state), kStateWidth) + column(finding.subject, width) +
            printableText(finding.found) + "\n";
    if (finding.step.empty()) continue;
    text += std::string(kStateWidth + width, ' ') + "-> " + printableText(finding.step) + "\n";
  }
  return text;
}

Json jsonOf(const Findings& findings) {
  Json list = Json::array();
  for (const auto& finding : findings) {
    list.push_back({{"subject", finding.subject},
                    {"state", nameOf(finding.state)},
                    {"found", finding.found},
                    {"step", finding.step.empty() ? Json() : Json(finding.step)},
                    {"details", finding.details}});
  }
  return {{"findings", std::move(list)}};
}

}  // namespace tarvel::tools
