#pragma once

#include <optional>
#include <string>
#include <string_view>

// The folder that the applications of one group share.

namespace tarvel {

// $XDG_DATA_HOME/<group>, where an unset, empty or relative XDG_DATA_HOME means ~/.local/share, the
// home taken from HOME, else from the password file. It is made when first asked for, mode 0700,
// with Library/Preferences and Library/Caches in it. None when there is no home, a folder cannot be
// made, or what is there cannot be trusted: these folders belong to the effective user and nobody
// else may write to them, and they are not made below a folder of somebody else but root, so that
// root in the environment of a user neither uses nor obeys what is that user's. A container that
// others may read is closed to them. `refusal`, where given, is told why there is none. Callable
// from any thread; three system calls.
std::optional<std::string> groupContainer(std::string_view group, std::string* refusal = nullptr);

}  // namespace tarvel
