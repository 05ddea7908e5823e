#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/property_list.h"

// The viewers' panel configuration: an array of entries [panel name, enabled flag, …] under
// "Panels". Entries and elements of another form are kept as they are and count as disabled.

namespace tarvel::viewer {

// The panel's name in the store, for that name itself or its short one ("cpu", "memory", "energy",
// "fans", "temperatures", "voltages", "powers", "currents"); none for any other name.
std::optional<std::string_view> panelNamed(std::string_view name);

// The short name of a panel of the store.
std::string_view shortName(std::string_view panel);

// A panel of the store, titled for people.
std::string_view panelTitle(std::string_view panel);

// Whether an enabled entry names the panel.
bool isPanelEnabled(const std::optional<PropertyList>& panels, std::string_view panel);

// The configuration with the panel switched: every entry that names it gets the flag, and where
// none does, switching on appends one.
PropertyList withPanel(std::optional<PropertyList> panels, std::string_view panel, bool enabled);

// All eight panels enabled.
PropertyList allPanelsEnabled();

// The keys of the readings that the enabled panels ask for, in the order of the panel table.
std::vector<std::string_view> enabledReadingKeys(const std::optional<PropertyList>& panels);

}  // namespace tarvel::viewer
