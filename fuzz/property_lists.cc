#include <cstdlib>

#include "fuzz/fuzz_input.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/property_lists/property_list_format.h"

// A binary property list and a keyed archive: what is read and can be written is read back the
// same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvel;
  if (const auto value = decode({data, size})) {
    const Data written = encode(*value);
    // Not a number differs from itself.
    if (!written.empty() && !(decode(written) == value) && *value == *value) std::abort();
  }
  static_cast<void>(unarchivedObject(Data(data, data + size)));
  return 0;
}
