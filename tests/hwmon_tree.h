#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "tests/temporary_tree.h"

namespace tarvel {

// Unpacks a machine of tests/fixtures/hwmon into the tree; the lines of what it is to show come
// back.
inline std::vector<std::string> unpackMachine(const std::string& path, const TemporaryTree& tree) {
  std::vector<std::string> expected;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const auto tab = line.find('\t');
    const auto content = line.substr(tab + 1);
    if (line.starts_with("=")) {
      expected.push_back(line);
    } else if (content.starts_with("-> ")) {
      tree.link(line.substr(0, tab), content.substr(3));
    } else {
      tree.write(line.substr(0, tab), content.empty() ? "" : content + "\n");
    }
  }
  return expected;
}

}  // namespace tarvel
