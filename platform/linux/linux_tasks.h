#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/task.h"

namespace tarvel {

// What a shell command prints, answered without running it; none for a command that only the shell
// can answer. Called from any thread.
using ShellCommandAnswer = std::function<std::optional<std::string>(const std::string& command)>;

// Child processes. A command handed to "/bin/sh" "-c" is offered to the answer first.
std::unique_ptr<Tasks> makeLinuxTasks(ShellCommandAnswer answer);

}  // namespace tarvel
