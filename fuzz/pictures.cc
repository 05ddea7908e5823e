#include "fuzz/fuzz_input.h"
#include "platform/image/png_reader.h"
#include "platform/image/xpm_reader.h"

// Pictures of icons as the drawing program and the recorded machines read them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tarvel::readPNG({data, size});
  tarvel::readXPM(tarvel::textOf(data, size));
  return 0;
}
