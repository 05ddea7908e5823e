#pragma once

#include <functional>

namespace tarvel::viewer {

// Runs the dashboard, ../lib/tarvel/tarvel-dashboard seen from the folder of this program, on the
// terminal and waits for its end; `ended` says whether a signal asks for it, and waits a little.
// However it ends, the terminal is left as it was. Its exit status, or -1 where it cannot be
// started.
int runDashboard(const std::function<bool()>& ended);

}  // namespace tarvel::viewer
