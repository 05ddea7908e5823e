#pragma once

#include <string>

namespace tarvel::update {

// Ends the running helper and starts that of the bundle: by the service manager where that started
// this program, else directly.
void restartHelper(const std::string& bundlePath);

}  // namespace tarvel::update
