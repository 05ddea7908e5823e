#include "fuzz/fuzz_input.h"
#include "platform/linux/processes/process_text.h"
#include "platform/linux/sysfs.h"
#include "text/conversions.h"
#include "text/printable_text.h"

// Texts of /proc and sysfs; a process chooses its name, a device its label.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvel;
  const auto text = textOf(data, size);
  parseStat(text);
  parseResidentPages(text);
  parseStatus(text);
  parseDiskBytes(text);
  isSwapInUse(text);
  parsePid(text);
  leadingInteger(text);
  intValue(text);
  floatValue(text);
  numberFromText(text);
  printableText(text, "<>");
  return 0;
}
