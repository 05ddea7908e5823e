#include <utility>

#include <unistd.h>

#include "platform/host/store/defaults_store.h"
#include "product/store_keys.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/property_list_json.h"
#include "viewer/panels.h"

namespace tarvel::viewer {

int printPanels(DefaultsStore& store, bool json) {
  const auto panels = store.get(kPanelsKey);
  Json object = Json::object();
  std::string lines;
  for (const auto& panel : kPanelTable) {
    const bool enabled = isPanelEnabled(panels, panel.name);
    object[std::string(panel.name)] = enabled;
    lines += std::string(panel.name) + (enabled ? " on" : " off");
    // Programs read the two words; a person at a terminal is told what to type.
    if (::isatty(STDOUT_FILENO) == 1) lines += "\t" + std::string(shortName(panel.name));
    lines += "\n";
  }
  return printOut(json ? oneLine(object) : lines);
}

int switchPanels(DefaultsStore& store, const std::vector<std::string>& names, bool enabled) {
  std::vector<std::string_view> panels;
  for (const auto& name : names) {
    const auto panel = panelNamed(name);
    if (!panel) throw CommandError(kUsage, name, "no such panel");
    panels.push_back(*panel);
  }
  const bool stored = store.change(kPanelsKey, [&](const std::optional<PropertyList>& before) {
    auto after = before;
    for (const auto panel : panels) after = withPanel(std::move(after), panel, enabled);
    return after;
  });
  if (!stored) throw CommandError(kNothing, "Panels", "the store takes no writes");
  return kDone;
}

}  // namespace tarvel::viewer
