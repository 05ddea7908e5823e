#include "platform/host/files/files.h"

#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/files/atomic_file.h"

namespace tarvel {
namespace {

// A path that ends in "/" names what a link leads to; without it, the link itself.
std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

class HostFileManager : public FileManager {
 public:
  std::optional<std::string> containerURLForSecurityApplicationGroupIdentifier(
      std::string_view group) override {
    return groupContainer(group);
  }

  bool fileExistsAtPath(const std::string& path) override {
    return ::access(path.c_str(), F_OK) == 0;
  }

  void createDirectoryAtPath(const std::string& path) override { ::mkdir(path.c_str(), 0700); }

  void removeItemAtPath(const std::string& path) override {
    std::error_code ignored;
    std::filesystem::remove_all(withoutTrailingSlashes(path), ignored);
  }

  void writeToFile(const Data& data, const std::string& path) override {
    replaceFile(path, {reinterpret_cast<const char*>(data.data()), data.size()},
                FileReaders::owner);
  }
};

}  // namespace

std::unique_ptr<FileManager> makeFileManager() { return std::make_unique<HostFileManager>(); }

}  // namespace tarvel
