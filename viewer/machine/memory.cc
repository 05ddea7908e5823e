#include "viewer/machine/memory.h"

#include <algorithm>

#include "text/words.h"

namespace tarvel::viewer {

std::optional<Memory> memoryOf(std::string_view meminfo) {
  constexpr std::uint64_t kKilobyte = 1024;
  std::uint64_t available = 0;
  std::uint64_t swapFree = 0;
  Memory memory;
  while (!meminfo.empty()) {
    auto line = takeLine(meminfo);
    const auto name = takeWord(line);
    const auto bytes = wholeNumber(takeWord(line)) * kKilobyte;
    if (name == "MemTotal:") memory.total = bytes;
    if (name == "MemAvailable:") available = bytes;
    if (name == "Buffers:" || name == "Cached:") memory.cache += bytes;
    if (name == "SwapTotal:") memory.swapTotal = bytes;
    if (name == "SwapFree:") swapFree = bytes;
  }
  if (memory.total == 0) return std::nullopt;
  memory.used = memory.total - std::min(available, memory.total);
  memory.swapUsed = memory.swapTotal - std::min(swapFree, memory.swapTotal);
  return memory;
}

}  // namespace tarvel::viewer
