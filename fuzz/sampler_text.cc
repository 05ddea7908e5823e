#include "fuzz/fuzz_input.h"
#include "process/process_usage.h"

// What a sampler's command prints; a process may name itself anything.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvel;
  for (const auto* sampler : {&kCPUSampler, &kEnergySampler}) {
    processRecords(textOf(data, size), *sampler, [](std::int32_t pid, const std::string& name) {
      return pid % 2 == 0 ? name : std::string(kUnknownIcon);
    });
  }
  return 0;
}
