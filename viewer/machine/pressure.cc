#include "viewer/machine/pressure.h"

#include "text/words.h"

namespace tarvel::viewer {

double somePressure(std::string_view text) {
  constexpr std::string_view kSome = "some avg10=";
  return text.starts_with(kSome) ? decimalNumber(text.substr(kSome.size())) : 0;
}

Load loadOf(std::string_view loadavg) {
  Load load;
  load.one = decimalNumber(takeWord(loadavg));
  load.five = decimalNumber(takeWord(loadavg));
  load.fifteen = decimalNumber(takeWord(loadavg));
  return load;
}

}  // namespace tarvel::viewer
