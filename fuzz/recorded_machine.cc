#include "fuzz/fuzz_input.h"
#include "platform/recorded/machine.h"
#include "tests/temporary_tree.h"

// A recorded machine, which a user may have been handed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const tarvel::TemporaryTree tree;
  tree.write("machine.json", tarvel::textOf(data, size));
  tarvel::recorded::readRecording(tree.path("machine.json"));
  return 0;
}
