#include "programs/tarvel/replace_file.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include <unistd.h>

namespace tarvel::viewer {

bool replaceFile(const std::string& path, std::string_view contents) {
  const std::string temporary = path + "." + std::to_string(::getpid()) + ".tmp";
  std::ofstream file(temporary, std::ios::binary);
  file << contents;
  file.close();
  std::error_code error;
  if (file) std::filesystem::rename(temporary, path, error);
  if (file && !error) return true;
  std::filesystem::remove(temporary, error);
  return false;
}

}  // namespace tarvel::viewer
