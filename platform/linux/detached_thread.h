#pragma once

#include <functional>
#include <string_view>

namespace tarvel {

// Runs the action on a thread of its own that nobody waits for, with a small stack. False where no
// thread can be made: the action does not run. The first 15 characters of the name are shown by
// debuggers.
bool startDetachedThread(std::string_view name, std::function<void()> action);

// Gives the calling thread that name.
void nameThread(std::string_view name);

}  // namespace tarvel
