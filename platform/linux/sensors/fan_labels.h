#pragma once

#include <string>
#include <string_view>
#include <vector>

// Names of fans that fit into the controller's description of a fan. Pure functions.

namespace tarvel {

struct FanLabel {
  std::string label;      // the driver's; empty: it has none
  std::string_view chip;  // the driver
  int header = 0;         // the fan's number on its chip
};

// A name for each of the fans, whether it turns or not, so that none depends on which do: the label
// without its blanks, else "Fan" and the header's number ("GPUFan" for a graphics card).
//
// No name is another's, and none stands in another one elsewhere than at its beginning: a stored
// record is found by a part of its name, the first in alphabetical order. Where that would be, the
// header's number is added, then a count.
std::vector<std::string> fanNames(const std::vector<FanLabel>& fans);

}  // namespace tarvel
