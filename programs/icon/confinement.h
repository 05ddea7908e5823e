#pragma once

namespace tarvel {

// Takes from the calling process, for good, what drawing a picture does not take: more memory,
// processor time and output than a picture is worth, new privileges, and every system call but
// those that compute, map memory and use the descriptors that are open already; files (fonts
// too: text in a picture is not drawn), the network and other programs are refused (EPERM). To be
// called before the first byte that may be hostile is read. False, and the process is to end, where
// one of these cannot be had. Under a sanitizer, which needs terabytes and calls of its own,
// neither memory nor calls are limited.
bool confine();

}  // namespace tarvel
