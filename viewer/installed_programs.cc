#include "viewer/installed_programs.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace tarvel::viewer {

std::optional<std::string> installedProgram(const std::string& name) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  const auto path = program.parent_path().parent_path() / "lib/tarvel" / name;
  return ::access(path.c_str(), X_OK) == 0 ? std::optional(path.string()) : std::nullopt;
}

}  // namespace tarvel::viewer
