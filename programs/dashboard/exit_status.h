#pragma once

namespace tarvel::viewer {

// What the dashboard exits with on a terminal that cannot place its cursor, so that `tarvel` prints
// a snapshot instead.
inline constexpr int kUnfitTerminal = 3;

}  // namespace tarvel::viewer
