#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/workspace.h"

namespace tarvel {

struct LinuxWorkspaceOptions {
  std::string procFolder = "/proc";
  std::string iconProgram;  // what draws icons, tarvel-icon of the bundle

  // When the process started, in any unit that tells two processes of one id apart; none for one
  // that is gone.
  std::function<std::optional<std::uint64_t>(std::int32_t pid)> startTime;

  std::string iconFolder = {};  // where drawn icons are kept
};

// The desktop's applications by their desktop entries. The "bundle" of an application is its entry:
// the path of the entry's file, the entry's identifier; its icon comes from the icon themes. What a
// process belongs to is remembered for as long as it lives; that it belongs to nothing, for half a
// minute, and not at all of one that is younger than ten seconds, since launchers move a process to
// its unit after it has started. A drawing that cannot be had gives way to the icon's others, then
// to the generic application icon. There is none where two others are being drawn, or this one
// elsewhere or not long ago (drawing_turns.h): the icon is then asked for again in a later cycle.
//
// Files and folders may hang: those of desktop entries hold nobody up for more than a second, those
// of icons for more than six, and no lock is held meanwhile.
std::unique_ptr<Workspace> makeLinuxWorkspace(LinuxWorkspaceOptions options);

}  // namespace tarvel
