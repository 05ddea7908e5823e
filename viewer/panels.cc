#include "viewer/panels.h"

#include <algorithm>
#include <array>
#include <utility>

#include "product/store_keys.h"

namespace tarvel::viewer {
namespace {

struct PanelLabel {
  std::string_view panel;
  std::string_view shortName;
  std::string_view title;
};

// One for each panel, in the order of the panel table.
constexpr std::array<PanelLabel, kPanelTable.size()> kLabels = {{
    {"ProcessesDash", "cpu", "Processor"},
    {"AllocationDash", "memory", "Memory"},
    {"EnergyDash", "energy", "Energy"},
    {"FansDash", "fans", "Fans"},
    {"TempsDash", "temperatures", "Temperatures"},
    {"VoltageSensorsDash", "voltages", "Voltages"},
    {"PowerSensorsDash", "powers", "Powers"},
    {"CurrentSensorsDash", "currents", "Currents"},
}};
static_assert(isOrderedAsPanels(kLabels));

const PanelLabel& labelOf(std::string_view panel) {
  const auto place = std::find_if(kPanelTable.begin(), kPanelTable.end(),
                                  [&](const Panel& row) { return row.name == panel; });
  return kLabels[static_cast<std::size_t>(place - kPanelTable.begin()) % kLabels.size()];
}

bool names(const Array& entry, std::string_view panel) {
  const auto* name = entry.empty() ? nullptr : entry[0].as<std::string>();
  return name != nullptr && name->find(panel) != std::string::npos;
}

bool isEnabled(const Array& entry) {
  const auto* flag = entry.size() > 1 ? entry[1].as<std::string>() : nullptr;
  return flag != nullptr && *flag == "1";
}

}  // namespace

std::optional<std::string_view> panelNamed(std::string_view name) {
  for (std::size_t i = 0; i < kPanelTable.size(); ++i) {
    if (name == kPanelTable[i].name || name == kLabels[i].shortName) return kPanelTable[i].name;
  }
  return std::nullopt;
}

std::string_view shortName(std::string_view panel) { return labelOf(panel).shortName; }

std::string_view panelTitle(std::string_view panel) { return labelOf(panel).title; }

bool isPanelEnabled(const std::optional<PropertyList>& panels, std::string_view panel) {
  const auto* entries = panels ? panels->as<Array>() : nullptr;
  return entries != nullptr &&
         std::any_of(entries->begin(), entries->end(), [&](const PropertyList& object) {
           const auto* entry = object.as<Array>();
           return entry != nullptr && isEnabled(*entry) && names(*entry, panel);
         });
}

PropertyList withPanel(std::optional<PropertyList> panels, std::string_view panel, bool enabled) {
  Array entries;
  if (auto* stored = panels ? panels->as<Array>() : nullptr) entries = std::move(*stored);
  const std::string flag = enabled ? "1" : "0";
  bool found = false;
  for (auto& object : entries) {
    auto* entry = object.as<Array>();
    if (entry == nullptr || !names(*entry, panel)) continue;
    found = true;
    if (entry->size() < 2) entry->resize(2);
    (*entry)[1] = flag;
  }
  if (!found && enabled) entries.emplace_back(Array{std::string(panel), flag});
  return entries;
}

PropertyList allPanelsEnabled() {
  Array entries;
  for (const auto& panel : kPanelTable) entries.emplace_back(Array{std::string(panel.name), "1"});
  return entries;
}

std::vector<std::string_view> enabledReadingKeys(const std::optional<PropertyList>& panels) {
  std::vector<std::string_view> keys;
  for (const auto& panel : kPanelTable) {
    if (isPanelEnabled(panels, panel.name)) keys.push_back(panel.readingKey);
  }
  return keys;
}

}  // namespace tarvel::viewer
