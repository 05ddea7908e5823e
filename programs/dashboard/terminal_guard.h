#pragma once

namespace tarvel::viewer {

// Goes on in a child process and stays behind as its guard: however the child ends, killed too, the
// terminal is left as it was. The guard shares its memory with the child and passes on the signals
// that end a program. Returns in the child; the guard exits with the child's status. Where no child
// can be made, it returns in the one process there is.
void goOnGuarded();

}  // namespace tarvel::viewer
