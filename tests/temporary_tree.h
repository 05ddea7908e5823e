#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

// A folder of the test's own, removed at its end.

namespace tarvel {

class TemporaryTree {
 public:
  TemporaryTree() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tarvel-XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
  }
  ~TemporaryTree() { std::filesystem::remove_all(root_); }
  TemporaryTree(const TemporaryTree&) = delete;
  TemporaryTree& operator=(const TemporaryTree&) = delete;

  std::string path(std::string_view relative = {}) const { return (root_ / relative).string(); }

  // The folders above a file or link are made. A file that is there gets its new content in place,
  // as attributes of sysfs do.
  void write(std::string_view relative, std::string_view content) const {
    std::filesystem::create_directories((root_ / relative).parent_path());
    std::ofstream(root_ / relative, std::ios::binary) << content;
  }
  void link(std::string_view relative, std::string_view target) const {
    std::filesystem::create_directories((root_ / relative).parent_path());
    std::filesystem::create_symlink(target, root_ / relative);
  }
  void remove(std::string_view relative) const { std::filesystem::remove_all(root_ / relative); }

 private:
  std::filesystem::path root_;
};

}  // namespace tarvel
