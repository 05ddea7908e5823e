#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/processes/program_run.h"
#include "platform/workspace.h"

namespace tarvel {

struct LinuxWorkspaceOptions {
  std::string procFolder = "/proc";
  std::string iconProgram;  // what draws icons, tarvel-icon of the bundle

  // What the process runs; none for one that is gone or runs no program.
  std::function<std::optional<ProgramRun>(std::int32_t pid)> program;

  std::string iconFolder = {};  // where drawn icons are kept
};

// The desktop's applications by their desktop entries. The "bundle" of an application is its entry:
// the path of the entry's file, the entry's identifier; its icon comes from the icon themes. What a
// process belongs to, if anything, is remembered for as long as it runs the same program; that it
// belongs to none is not remembered in its first ten seconds, since launchers move a process to its
// unit after it has started. A drawing that cannot be had gives way to the icon's others, then to
// the generic application icon. There is none where two others are being drawn, or this one
// elsewhere or not long ago (drawing_turns.h): the icon is then asked for again in a later cycle.
//
// Files and folders may hang: those of desktop entries hold nobody up for more than a second, those
// of icons for more than six, and no lock is held meanwhile.
std::unique_ptr<Workspace> makeLinuxWorkspace(LinuxWorkspaceOptions options);

}  // namespace tarvel
