#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "platform/system_log.h"

// A user's home, made for one test and removed after it: the data, configuration and runtime
// folders of the environment lead into it.

namespace tarvel {

class TemporaryHome {
 public:
  TemporaryHome() {
    std::string name = (std::filesystem::temp_directory_path() / "tarvel-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
    std::filesystem::create_directory(path_ / "run");
    std::filesystem::permissions(path_ / "run", std::filesystem::perms::owner_all);
    ::setenv("XDG_DATA_HOME", (path_ / "data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (path_ / "config").c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", (path_ / "run").c_str(), 1);
  }
  ~TemporaryHome() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

inline std::string contentsOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::filesystem::path& path, std::string_view contents) {
  std::ofstream(path, std::ios::binary) << contents;
}

class KeptLog : public SystemLog {
 public:
  void NSLog(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

}  // namespace tarvel
