#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Desktop entries in the form that freedesktop.org publishes (Desktop Entry, version 1.5). Pure
// functions.

namespace tarvel {

struct DesktopEntry {
  bool isApplication = false;      // Type=Application, and not Hidden (deleted)
  std::string icon;                // a name in the icon themes, or an absolute path; may be empty
  std::vector<std::string> words;  // Exec without quoting; field codes such as %U stay
};

// The entry that the text holds; none without a [Desktop Entry] group.
std::optional<DesktopEntry> parseDesktopEntry(std::string_view text);

// The identifier of the entry at this path below its applications folder, "vendor/app.desktop"
// being "vendor-app"; none for a file that is no entry.
std::optional<std::string> desktopFileIdentifier(std::string_view pathBelow);

// The program that the words start, environment settings before it skipped: its index; none when
// there is no program, or only an interpreter or launcher that could be running anything.
std::optional<std::size_t> programWord(const std::vector<std::string>& words);

// Whether a program of this name runs other programs, and so tells nothing of itself.
bool isLauncher(std::string_view programName);

}  // namespace tarvel
