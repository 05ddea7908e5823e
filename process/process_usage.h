#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// The busiest processes, as tagged records for the viewers.
//
// A sampler runs one command through the shell and turns each tagged line that it prints,
// "<pid>…</pid><name>…</name>…</item>", into one record: the line without "</item>", then the icon
// value between "<icon>" and "</icon>". The columns pass through as text, unconverted. Nothing is
// kept between runs; any thread may run any sampler.

namespace tarvel {

class Tasks;

struct ProcessSampler {
  std::string_view command;  // the whole text handed to "/bin/sh" "-c"
  std::size_t rows;          // how many processes the command asks for
  bool applicationsOnly;     // leave out processes whose icon value is "unknown"
};

extern const ProcessSampler kCPUSampler;
extern const ProcessSampler kMemorySampler;
extern const ProcessSampler kEnergySampler;

inline constexpr std::string_view kUnknownIcon = "unknown";

// The icon value of a process: an icon's file name, "unknown" for a process that is no application,
// or "" for one that is to be in no list.
using IconLookup = std::function<std::string(std::int32_t pid, const std::string& name)>;

// Everything that the sampler's command prints; waits for it without a time limit.
std::string runSampler(const ProcessSampler& sampler, Tasks& tasks);

// The records of a command's output, in its order. Output that is not UTF-8 counts as none.
std::vector<std::string> processRecords(std::string_view output, const ProcessSampler& sampler,
                                        const IconLookup& icon);

}  // namespace tarvel
