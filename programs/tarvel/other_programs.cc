#include "programs/tarvel/other_programs.h"

#include <unistd.h>

#include "programs/tarvel/commands.h"
#include "viewer/installed_programs.h"

namespace tarvel::viewer {
namespace {

[[noreturn]] void become(const std::string& name, const std::vector<std::string>& arguments,
                         const char* otherwise = "not found beside this program") {
  if (const auto program = installedProgram(name)) {
    std::vector<std::string> words = {*program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    ::execv(pointers.front(), pointers.data());
  }
  throw CommandError(kNothing, name, otherwise);
}

}  // namespace

void becomeTools(const std::vector<std::string>& arguments) { become("tarvel-tools", arguments); }

void becomeExport(const std::vector<std::string>& arguments) { become("tarvel-export", arguments); }

void becomeDashboard(bool noHelper) {
  become("tarvel-dashboard",
         noHelper ? std::vector<std::string>{"--no-helper"} : std::vector<std::string>{});
}

void becomeWindow(const std::vector<std::string>& arguments) {
  become("tarvel-window", arguments, "not installed (it is the package tarvel-window)");
}

}  // namespace tarvel::viewer
