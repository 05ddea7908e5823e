#include "programs/update/feed.h"

#include "fuzz/fuzz_input.h"
#include "programs/update/download.h"
#include "programs/update/signature.h"
#include "programs/update/update_error.h"

// The feed of updates, which nobody has signed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvel::update;
  try {
    if (const auto release = newestRelease(tarvel::textOf(data, size), "1.2.5", "12")) {
      isAllowedAddress(release->url);
      isSigned("archive", release->signature, release->signature);
    }
  } catch (const UpdateError&) {
  }
  return 0;
}
