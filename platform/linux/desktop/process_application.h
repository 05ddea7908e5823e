#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/desktop/desktop_index.h"

namespace tarvel {

// The application that a process belongs to, by what its files in /proc tell, best first: its
// systemd unit, the sandbox it is in, its program, how it was launched. Null for a process of
// somebody else and for one that is no application. The folder is "/proc".
const DesktopIndex::Application* processApplication(const std::string& procFolder, std::int32_t pid,
                                                    const DesktopIndex& index);

}  // namespace tarvel
