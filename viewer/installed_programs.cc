#include "viewer/installed_programs.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace tarvel::viewer {

std::optional<std::string> installedProgram(const std::string& name) {
  std::error_code error;
  const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  for (const auto& path : {folder / name, folder.parent_path() / "lib/tarvel" / name}) {
    if (::access(path.c_str(), X_OK) == 0) return path.string();
  }
  return std::nullopt;
}

}  // namespace tarvel::viewer
