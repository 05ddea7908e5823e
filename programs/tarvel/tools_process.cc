#include "programs/tarvel/tools_process.h"

#include <unistd.h>

#include "programs/tarvel/commands.h"
#include "viewer/installed_programs.h"

namespace tarvel::viewer {

void becomeTools(const std::vector<std::string>& arguments) {
  const auto program = installedProgram("tarvel-tools");
  if (program) {
    std::vector<std::string> words = {*program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    ::execv(pointers.front(), pointers.data());
  }
  throw CommandError(kNothing, "tarvel-tools", "not found beside this program");
}

}  // namespace tarvel::viewer
