#pragma once

#include <optional>
#include <string>
#include <string_view>

// The folder that the applications of one group share.

namespace tarvel {

// $XDG_DATA_HOME/<group>, where an unset, empty or relative XDG_DATA_HOME means ~/.local/share, the
// home taken from HOME, else from the password file. It is made when first asked for, mode 0700,
// with Library/Preferences and Library/Caches in it. None when there is no home or a folder cannot
// be made. Callable from any thread.
std::optional<std::string> groupContainer(std::string_view group);

}  // namespace tarvel
