#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "viewer/display_rows.h"

// What the user has chosen in the viewers, kept in $XDG_CONFIG_HOME/tarvel/dashboard.json
// (~/.config without that variable): order, grouping, filter, columns, theme, unit, interval and
// the names given to sensors. Members that are absent or of another type have their usual value;
// members that we do not know are lost when the file is written next.

namespace tarvel::viewer {

struct ViewerSettings {
  Choices choices;  // what is frozen is not kept
  std::string theme = "dark";
  bool showsColumns =
      true;  // user, state, threads and command line of processes, where there is room
  std::chrono::milliseconds interval{3000};
};

// The file's path; empty without a home.
std::string settingsPath();

struct LoadedSettings {
  ViewerSettings settings;
  std::optional<std::string> fault;  // why the file was ignored; none also where there is none
};
LoadedSettings loadSettings(const std::string& path);

// Replaces the file as a whole, with mode 0600, and makes its folder. False where that fails.
bool saveSettings(const ViewerSettings& settings, const std::string& path);

}  // namespace tarvel::viewer
