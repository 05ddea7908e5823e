#include <string>

#include "fuzz/fuzz_input.h"
#include "programs/tarvel/metrics_server.h"

// What anybody who reaches the exporter's port may send.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tarvel::viewer::answerTo(std::string(tarvel::textOf(data, size)),
                           [] { return std::string("x 1\n"); });
  return 0;
}
