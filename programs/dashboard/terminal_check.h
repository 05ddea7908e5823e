#pragma once

namespace tarvel::viewer {

// Whether the terminal on standard output can place its cursor, as its description says.
bool canPlaceCursor();

}  // namespace tarvel::viewer
