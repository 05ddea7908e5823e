#pragma once

#include <chrono>
#include <functional>

namespace tarvel {

using MonotonicTime = std::chrono::nanoseconds;  // since some start, not counting suspend
using MonotonicClock = std::function<MonotonicTime()>;

MonotonicTime monotonicTime();

}  // namespace tarvel
