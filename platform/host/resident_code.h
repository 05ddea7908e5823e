#pragma once

namespace tarvel {

// Gives up the pages of code and constants that this process has used so far, those of its
// libraries too. What it uses again comes back from the page cache, by a fault of a microsecond for
// sixteen pages, and from the disk only where memory is short. For programs that stay, when they
// have started or go idle: most of what a start needs is not needed again. A debugger's breakpoints
// go with the pages. Callable from any thread.
void releaseResidentCode();

}  // namespace tarvel
